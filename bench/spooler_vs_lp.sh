#!/bin/sh
# A 1 MB raw job through the station's spooler adapter against `lp -o raw` of the same file, on a
# private CUPS scheduler whose raw socket queue drains into a file. Prints ms per job and the ratio.
#   bench/spooler_vs_lp.sh BUILD_DIR [JOBS]
set -eu
build=${1:?build folder}
jobs=${2:-20}
probe="$build/bin/spooler_probe"
dir=$(mktemp -d)
chmod 755 "$dir"
mkdir -p "$dir/spool" "$dir/tmp" "$dir/cache" "$dir/state" "$dir/log"
cupsd_pid=
sink_pid=
cleanup() {
    [ -n "$sink_pid" ] && kill "$sink_pid" 2>/dev/null && wait "$sink_pid" 2>/dev/null || true
    [ -n "$cupsd_pid" ] && kill "$cupsd_pid" 2>/dev/null && wait "$cupsd_pid" 2>/dev/null || true
    rm -rf "$dir"
}
trap cleanup EXIT

cat >"$dir/cupsd.conf" <<CONF
Listen $dir/cups.sock
Browsing No
LogLevel warn
MaxJobs 0
PreserveJobHistory No
<Location />
  Order allow,deny
  Allow all
</Location>
<Policy default>
  <Limit All>
    Order deny,allow
  </Limit>
</Policy>
CONF
cat >"$dir/cups-files.conf" <<CONF
ServerRoot $dir
RequestRoot $dir/spool
TempDir $dir/tmp
CacheDir $dir/cache
StateDir $dir/state
AccessLog $dir/log/access_log
ErrorLog $dir/log/error_log
PageLog $dir/log/page_log
FileDevice Yes
SystemGroup root
CONF
cupsd -f -c "$dir/cupsd.conf" -s "$dir/cups-files.conf" &
cupsd_pid=$!
export CUPS_SERVER="$dir/cups.sock"
i=0
until lpstat -r >/dev/null 2>&1; do
    i=$((i + 1))
    [ $i -gt 200 ] && { echo "cupsd did not start" >&2; exit 1; }
    sleep 0.05
done
port=$((20000 + $$ % 20000))
socat -u TCP-LISTEN:$port,bind=127.0.0.1,reuseaddr,fork OPEN:/dev/null &
sink_pid=$!
lpadmin -p bench -E -v socket://127.0.0.1:$port -m raw 2>/dev/null
head -c 1048576 /dev/urandom >"$dir/job.bin"

now_ms() { date +%s%3N; }
# One job each way first, so neither side pays for a cold scheduler.
lp -d bench -o raw "$dir/job.bin" >/dev/null
"$probe" bench "$dir/job.bin" 1 >/dev/null

start=$(now_ms)
n=0
while [ $n -lt "$jobs" ]; do
    lp -d bench -o raw "$dir/job.bin" >/dev/null
    n=$((n + 1))
done
lp_ms=$(( $(now_ms) - start ))

start=$(now_ms)
n=0
while [ $n -lt "$jobs" ]; do
    "$probe" bench "$dir/job.bin" 1 >/dev/null
    n=$((n + 1))
done
probe_ms=$(( $(now_ms) - start ))

in_process=$("$probe" bench "$dir/job.bin" "$jobs")
echo "lp -o raw:            $(echo "scale=2; $lp_ms / $jobs" | bc) ms per job (one process per job)"
echo "spooler adapter:      $(echo "scale=2; $probe_ms / $jobs" | bc) ms per job (one process per job)"
echo "spooler adapter:      $in_process (jobs in one process)"
echo "ratio adapter / lp:   $(echo "scale=2; $probe_ms / $lp_ms" | bc)"
