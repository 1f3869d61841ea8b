#!/usr/bin/env bash
# A 200 MB installer over loopback: the station's update check (download to disk, off the UI
# thread) against `curl -o` of the same file, run alternately in one session. Prints the
# throughput ratio (station / curl, goal at least 0.8) and how far the station's resident memory
# rose during the check (goal below 20 MB).
# With "signed" the release is signed with minisign and the station given its key: the check then
# also takes the installer's BLAKE2b-512 digest as the bytes arrive and verifies the signature.
# Usage: bench/update_vs_curl.sh BUILD_DIR [RUNS] [MEGABYTES] [signed]
set -euo pipefail
build=${1:?build folder}
runs=${2:-5}
megabytes=${3:-200}
signed=${4:-}
bin="$build/bin"
work=$(mktemp -d /tmp/vorne-update-bench.XXXXXX)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null && wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

head -c "$((megabytes << 20))" /dev/urandom >"$work/installer.bin"
"$bin/devservice" seed --db "$work/service.db" --files "$work/files" >/dev/null
public_key=
if [[ "$signed" == signed ]]; then
    minisign -G -W -p "$work/release.pub" -s "$work/release.sec" >/dev/null
    public_key=$(cat "$work/release.pub")
fi
"$bin/devservice" publish --db "$work/service.db" --files "$work/files" --version 99.99 \
    --installer "$work/installer.bin" >/dev/null
rm "$work/installer.bin"
if [[ "$signed" == signed ]]; then
    minisign -S -s "$work/release.sec" -m "$work/files/rdp/setup.exe" -t "version=99.99" >/dev/null
fi
"$bin/devservice" serve --port 0 --db "$work/service.db" --files "$work/files" >"$work/service.log" 2>&1 &
pids+=($!)
for _ in $(seq 200); do
    grep -q 'listening on' "$work/service.log" && break
    sleep 0.05
done
port=$(sed -n 's/.*listening on 127.0.0.1:\([0-9]*\).*/\1/p' "$work/service.log" | head -1)
base="http://127.0.0.1:$port"
"$bin/devservice" set-update --db "$work/service.db" "$base/rdp"
export STATION_SERVICE_URL="$base/terminal2secure.asp" STATION_SERVER_LIST=127.0.0.1 STATION_UPDATE_PUBLIC_KEY="$public_key"
export QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES="qt.core.qobject.connect=false" XDG_RUNTIME_DIR="$work"

station() {
    rm -rf "$work/program" && mkdir -p "$work/program"
    "$bin/update_download_probe" "$work/program" >"$work/probe.out"
    read -r ms bytes before peak anon < <(sed -n 's/ms=\([0-9.]*\) bytes=\([0-9]*\) rss_before_kb=\([0-9]*\) rss_peak_kb=\([0-9]*\) anon_growth_kb=\([0-9-]*\).*/\1 \2 \3 \4 \5/p' "$work/probe.out")
    [[ "$bytes" == "$((megabytes << 20))" ]] || { echo "station wrote $bytes bytes" >&2; exit 1; }
    echo "$ms $(((peak - before) / 1024)) $((anon / 1024))"
}
curl_run() {
    rm -f "$work/curl.bin"
    local seconds
    seconds=$(curl -s -o "$work/curl.bin" -w '%{time_total}' "$base/rdp/setup.exe")
    awk -v s="$seconds" 'BEGIN {printf "%.1f\n", s * 1000}'
}
median() { sort -n | awk '{a[NR]=$1} END {print (NR%2 ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2)}'; }

curl_run >/dev/null # warm the page cache for both
: >"$work/station" && : >"$work/curl"
for i in $(seq "$runs"); do
    if ((i % 2)); then
        station >>"$work/station"; curl_run >>"$work/curl"
    else
        curl_run >>"$work/curl"; station >>"$work/station"
    fi
    rm -rf "$work/program" "$work/curl.bin"
done
s_ms=$(awk '{print $1}' "$work/station" | median)
c_ms=$(awk '{print $1}' "$work/curl" | median)
growth=$(awk '{print $2}' "$work/station" | sort -n | tail -1)
anon=$(awk '{print $3}' "$work/station" | sort -n | tail -1)
echo "update download of $megabytes MB over loopback${signed:+, signed and verified}, median of $runs runs each (station check includes its service request and description reads)"
echo "  station: $s_ms ms   curl -o: $c_ms ms"
awk -v s="$s_ms" -v c="$c_ms" 'BEGIN {printf "  throughput ratio station/curl: %.2f (goal >= 0.80)\n", c / s}'
echo "  station resident memory growth during the check (largest of the runs): $growth MB (goal < 20 MB)"
echo "    of it anonymous memory (heap, buffers; the rest is file pages mapped into the process): $anon MB"
