#!/usr/bin/env bash
# Start-up to a shown list of 300 stores against the reference service on loopback, and resident
# memory after start-up, each as a ratio to a minimal Qt window measured in the same run.
# Usage: bench/startup_ratio.sh BUILD_DIR [RUNS]
set -euo pipefail
build=${1:?build folder}
runs=${2:-10}
bin="$build/bin"
probe="$build/bin/startup_probe"
work=$(mktemp -d /tmp/vorne-bench.XXXXXX)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null && wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"$work/display" 2>/dev/null &
pids+=($!)
"$bin/devservice" seed --db "$work/service.db" --files "$work/files" --stores 300 >/dev/null
"$bin/devservice" serve --port 0 --db "$work/service.db" --files "$work/files" >"$work/service.log" 2>&1 &
pids+=($!)
for _ in $(seq 200); do
    [[ -s "$work/display" ]] && grep -q 'listening on' "$work/service.log" && break
    sleep 0.05
done
port=$(sed -n 's/.*listening on 127.0.0.1:\([0-9]*\).*/\1/p' "$work/service.log" | head -1)
export DISPLAY=":$(cat "$work/display")" QT_QPA_PLATFORM=xcb QT_LOGGING_RULES="qt.core.qobject.connect=false"
export STATION_SERVICE_URL="http://127.0.0.1:$port/terminal2secure.asp" STATION_SERVER_LIST=127.0.0.1
export XDG_RUNTIME_DIR="$work"

# One run: prints "<milliseconds> <rss_kb> <rows>".
run() {
    local start end out
    start=$(date +%s%N)
    out=$("$probe" "$1")
    end=$(date +%s%N)
    echo "$(((end - start) / 1000000)) $(sed -n 's/.*rss_kb=\([0-9]*\).*/\1/p' <<<"$out") $(sed -n 's/rows=\([0-9]*\).*/\1/p' <<<"$out")"
}
median() { sort -n | awk '{a[NR]=$1} END {print (NR%2 ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2)}'; }

run station >/dev/null # warm the caches once for both
: >"$work/station" && : >"$work/minimal"
for _ in $(seq "$runs"); do
    run minimal >>"$work/minimal"
    run station >>"$work/station"
done
rows=$(awk '{print $3}' "$work/station" | sort -u | tr '\n' ' ')
s_ms=$(awk '{print $1}' "$work/station" | median)
m_ms=$(awk '{print $1}' "$work/minimal" | median)
s_kb=$(awk '{print $2}' "$work/station" | median)
m_kb=$(awk '{print $2}' "$work/minimal" | median)
echo "rows shown by the station: $rows"
echo "start-up median over $runs runs: station ${s_ms} ms, minimal window ${m_ms} ms, ratio $(awk -v a="$s_ms" -v b="$m_ms" 'BEGIN{printf "%.2f", a/b}') (goal <= 1.5)"
echo "resident memory median: station ${s_kb} kB, minimal window ${m_kb} kB, ratio $(awk -v a="$s_kb" -v b="$m_kb" 'BEGIN{printf "%.2f", a/b}') (goal <= 1.5)"

# Where the station's own start-up goes: the program itself, with its start-up marks on, from the
# moment it is started to its first paint with the stores; the median time of each phase.
profile_run() {
    local start log
    log="$work/trace.$1"
    : >"$log"
    start=$(date +%s%N)
    STATION_STARTUP_TRACE=1 XDG_DATA_HOME="$work/data" "$bin/vorneterminal" 2>"$log" &
    local pid=$!
    for _ in $(seq 400); do
        grep -q 'first paint' "$log" && break
        sleep 0.025
    done
    kill -TERM "$pid" 2>/dev/null
    wait "$pid" 2>/dev/null || true
    awk -v t="$start" '/^startup-mark/ {
        phase = $3; for (i = 4; i <= NF; i++) phase = phase " " $i
        printf "%s\t%.1f\n", phase, ($2 - t) / 1e6; t = $2 }' "$log"
}
for i in $(seq "$runs"); do profile_run "$i"; done >"$work/phases"
echo "station start-up by phase (median of $runs runs, ms; each phase ends at its mark):"
first=$(head -1 "$work/phases" | cut -f1)
awk -F'\t' '{print $1}' "$work/phases" | awk '!seen[$0]++' | while read -r phase; do
    ms=$(awk -F'\t' -v p="$phase" '$1 == p {print $2}' "$work/phases" | median)
    [[ $phase == "$first" ]] && phase="$phase (process start and library loading)"
    printf '  %-45s %7.1f\n' "$phase" "$ms"
done
