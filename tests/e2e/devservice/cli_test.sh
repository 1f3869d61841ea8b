#!/usr/bin/env bash
# The real executable: readiness line, a request with exact body bytes, admin commands beside the
# running server, and a clean end on SIGTERM.
set -euo pipefail
exe=$1
work=$(mktemp -d)
pid=
cleanup() {
    [[ -n "$pid" ]] && kill -TERM "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

"$exe" seed --db "$work/s.db" --files "$work/files" >/dev/null
"$exe" serve --port 0 --db "$work/s.db" --files "$work/files" >"$work/out" 2>"$work/err" &
pid=$!
for _ in $(seq 200); do
    grep -q '^listening on ' "$work/out" && break
    sleep 0.025
done
port=$(sed -n 's/^listening on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$work/out")
[[ -n "$port" ]] || fail "no listening line: $(cat "$work/out" "$work/err")"
url="http://127.0.0.1:$port"

# HTTP through Debian's own python3 (always there beside pyftpdlib): no curl needed.
http() {
    /usr/bin/python3 - "$@" <<'PY'
import base64, sys, urllib.error, urllib.request
method, url, body, user, out = sys.argv[1:6]
req = urllib.request.Request(url, data=body.encode('latin-1') if method == 'POST' else None, method=method)
req.add_header('Content-Type', 'application/x-www-form-urlencoded')
if user:
    req.add_header('Authorization', 'Basic ' + base64.b64encode(user.encode()).decode())
try:
    with urllib.request.urlopen(req) as res:
        status, data = res.status, res.read()
except urllib.error.HTTPError as e:
    status, data = e.code, e.read()
if out:
    open(out, 'wb').write(data)
    print(status)
else:
    sys.stdout.buffer.write(data)
PY
}
post() { http POST "$url/terminal2secure.asp" "$1" "" ""; }

[[ "$(post 'store=1')" == "" ]] || fail "store= not empty at start"
"$exe" shutdown --db "$work/s.db" STORE02 >/dev/null 2>&1
[[ "$(post 'store=1')" == "STORE02|" ]] || fail "shutdown not seen by the running server"
"$exe" reopen --db "$work/s.db" STORE02 >/dev/null
[[ "$(post 'store=1')" == "" ]] || fail "reopen not seen"

post 'prtupt=A&amp;B+%41|||||X|AABB|' >/dev/null
[[ "$("$exe" settings --db "$work/s.db" --station AABB)" == $'AABB\tA&amp;B+%41|||||X|' ]] || fail "prtupt stored wrong"
"$exe" requests --db "$work/s.db" --key prtupt= | grep -qF $'prtupt=\tA&amp;B+%41|||||X|AABB|' || fail "request not logged raw"

code=$(http GET "$url/Reports/12345/1234500001/daily.txt" "" "" "$work/got")
[[ "$code" == 401 ]] || fail "reports without password gave $code"
code=$(http GET "$url/Reports/12345/1234500001/label.prn" "" administrator:lantern "$work/got")
[[ "$code" == 200 ]] || fail "reports with password gave $code"
cmp -s "$work/got" "$work/files/Reports/12345/1234500001/label.prn" || fail "label bytes differ"

kill -TERM "$pid"
status=0
wait "$pid" || status=$?
pid=
[[ $status == 0 ]] || fail "exit status $status after SIGTERM"
echo "ok"
