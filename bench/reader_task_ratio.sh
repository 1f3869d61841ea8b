#!/usr/bin/env bash
# A whole check task (task 4: start, reader set-up, a check with a 10 KB image that micrsim
# answers at once, the result file written, exit) against the start-up of a minimal Qt window,
# both timed from outside the process, side by side in one run.
# Usage: bench/reader_task_ratio.sh BUILD_DIR [RUNS]
set -euo pipefail
build=${1:?build folder}
runs=${2:-10}
bin="$build/bin"
work=$(mktemp -d /tmp/vorne-reader-bench.XXXXXX)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null && wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"$work/display" 2>/dev/null &
pids+=($!)
"$bin/devservice" seed --db "$work/service.db" --files "$work/files" >/dev/null
"$bin/devservice" serve --port 0 --db "$work/service.db" --files "$work/files" >"$work/service.log" 2>&1 &
pids+=($!)
# One check per task run, and one for the warm-up.
for _ in $(seq $((runs + 1))); do printf 'armed 60000\ncheck T123456789T0012345O 10240\n'; done >"$work/reader.script"
mkdir "$work/serial"
"$bin/micrsim" --link "$work/serial/COM3" --script "$work/reader.script" --log "$work/reader.log" >"$work/reader.out" &
pids+=($!)
for _ in $(seq 200); do
    [[ -s "$work/display" ]] && grep -q 'listening on' "$work/service.log" && grep -q '^pty' "$work/reader.out" && break
    sleep 0.05
done
port=$(sed -n 's/.*listening on 127.0.0.1:\([0-9]*\).*/\1/p' "$work/service.log" | head -1)
export DISPLAY=":$(cat "$work/display")" QT_QPA_PLATFORM=xcb QT_LOGGING_RULES="qt.core.qobject.connect=false"
export STATION_SERVICE_URL="http://127.0.0.1:$port/terminal2secure.asp" STATION_SERIAL_DIR="$work/serial"
export XDG_RUNTIME_DIR="$work"
identity=$("$build/bin/startup_probe" identity)
curl -s -d "prtupt=r|l|rep|MICRImage|COM3|pre|$identity|" "$STATION_SERVICE_URL" >/dev/null

# One run: prints its milliseconds.
timed() {
    local start end
    start=$(date +%s%N)
    "$@" >/dev/null 2>&1
    end=$(date +%s%N)
    echo $(((end - start) / 1000000))
}
median() { sort -n | awk '{a[NR]=$1} END {print (NR%2 ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2)}'; }

task() { "$bin/vorneterminal" "4,$work/result.txt"; }
timed task >/dev/null # warm the caches once
: >"$work/task" && : >"$work/minimal"
bad=0
for _ in $(seq "$runs"); do
    timed "$build/bin/startup_probe" minimal >>"$work/minimal"
    timed task >>"$work/task"
    [[ "$(sed -n 3p "$work/result.txt" | tr -d '\r')" == 10240 ]] || bad=$((bad + 1))
done
t_ms=$(median <"$work/task")
m_ms=$(median <"$work/minimal")
echo "checks read with their 10240-byte image: $((runs - bad)) of $runs"
echo "check task median over $runs runs: task ${t_ms} ms, minimal window ${m_ms} ms, ratio $(awk -v a="$t_ms" -v b="$m_ms" 'BEGIN{printf "%.2f", a/b}') (goal <= 1.5)"
