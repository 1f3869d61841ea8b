#!/bin/sh
# A 100 MB upload through the station's FTP adapter against `curl -T` of the same file to the same
# ProFTPD on loopback, taken in turns. Prints the median time of each and the adapter's throughput
# as a share of curl's (goal >= 0.8).
#   bench/ftp_vs_curl.sh BUILD_DIR [RUNS]
set -eu
build=${1:?build folder}
runs=${2:-5}
here=$(cd "$(dirname "$0")/.." && pwd)
probe="$build/bin/ftp_upload_probe"
dir=$(mktemp -d)
chmod 755 "$dir"
server_pid=
cleanup() {
    [ -n "$server_pid" ] && kill "$server_pid" 2>/dev/null && wait "$server_pid" 2>/dev/null || true
    rm -rf "$dir"
}
trap cleanup EXIT

port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
# Passive ports of this bench's own, apart from the end-to-end tests' range.
"$here/tests/e2e/support/proftpd-peer" "$dir/server" "$port" 47660 47679 >"$dir/server.out" 2>&1 &
server_pid=$!
i=0
until curl -s "ftp://127.0.0.1:$port/" -u administrator:lantern >/dev/null 2>&1; do
    i=$((i + 1))
    [ "$i" -lt 100 ] || { cat "$dir/server.out" >&2; exit 1; }
    sleep 0.05
done
mkdir -p "$dir/server/root/bench" && chmod 777 "$dir/server/root/bench"
head -c $((100 * 1024 * 1024)) /dev/urandom >"$dir/upload.bin"

median() { sort -n | awk '{a[NR]=$1} END {print (NR%2 ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2)}'; }
: >"$dir/adapter" && : >"$dir/curl"
for _ in $(seq "$runs"); do
    # Both timed the same way, as whole programs: start, log in, send, end.
    start=$(date +%s%N)
    "$probe" "127.0.0.1:$port" "$dir/upload.bin" bench >/dev/null
    end=$(date +%s%N)
    echo "$(((end - start) / 1000000))" >>"$dir/adapter"
    cmp "$dir/upload.bin" "$dir/server/root/bench/probe.bin"
    start=$(date +%s%N)
    curl -sS -T "$dir/upload.bin" -u administrator:lantern "ftp://127.0.0.1:$port/bench/curl.bin"
    end=$(date +%s%N)
    echo "$(((end - start) / 1000000))" >>"$dir/curl"
    rm -f "$dir/server/root/bench/"*.bin
done
a=$(median <"$dir/adapter")
c=$(median <"$dir/curl")
echo "100 MB upload, median of $runs: adapter ${a} ms, curl -T ${c} ms, throughput ratio $(awk -v a="$a" -v c="$c" 'BEGIN{printf "%.2f", c/a}') (goal >= 0.8)"
