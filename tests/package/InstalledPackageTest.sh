#!/usr/bin/env bash
# The Debian package as a till PC gets it: unpacked into a scratch root, started from there
# against the reference service under Xvfb, with only the libraries the package depends on.
#   InstalledPackageTest.sh PACKAGE_DIR BUILD_BIN_DIR VERSION
# Checks what the package holds and needs, that the main window appears, that the station
# fetched its store list from the service, and that it takes a published release although
# /usr/bin cannot be written: the installer lands in the user's own folder and runs from there.
# Leaves a screenshot of the screen in PACKAGE_DIR.
set -euo pipefail
package_dir=$1
bin=$2
version=$3

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

shopt -s nullglob
debs=("$package_dir"/vorneterminal_"$version"_*.deb)
((${#debs[@]} == 1)) || fail "expected one vorneterminal $version package in $package_dir, found ${#debs[@]}"
deb=${debs[0]}

work=$(mktemp -d /tmp/vorne-package.XXXXXX)
chmod 755 "$work"
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null && wait "$pid" 2>/dev/null || true; done
    chmod -R u+w "$work" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

# What the package holds: the station, its desktop entry and icon, and none of the stand-ins.
contents=$(dpkg-deb -c "$deb" | awk '{print $6}')
for file in ./usr/bin/vorneterminal ./usr/share/applications/vorneterminal.desktop \
    ./usr/share/icons/hicolor/scalable/apps/vorneterminal.svg; do
    grep -qxF "$file" <<<"$contents" || fail "$file is not in the package"
done
if grep -E 'devservice|hostsim|fakeclient|gs_clnt' <<<"$contents"; then
    fail "a stand-in tool is in the package"
fi

# What it needs: the Debian packages of the libraries it links, and Qt's platform plug-ins.
depends=$(dpkg-deb -f "$deb" Depends)
for needed in libqt6widgets6 libqt6network6 libqt6printsupport6 libcurl4 libcups2 libx11-6 qt6-qpa-plugins; do
    grep -qE "(^|, )$needed( |,|$)" <<<"$depends" || fail "Depends lacks $needed: $depends"
done

dpkg-deb -x "$deb" "$work/root"
station=$work/root/usr/bin/vorneterminal
# As installed: the program's folder is not the user's to write. Root writes anywhere, so the
# station then runs as an ordinary user of its own.
chmod a-w "$work/root/usr/bin"
home=$work/home
mkdir -p "$home/run"
chmod 700 "$home/run"
as_user=()
if [[ $(id -u) -eq 0 ]]; then
    chown -R nobody: "$home"
    as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups --)
fi
if readelf -d "$station" | grep -qE 'RPATH|RUNPATH'; then
    fail "the installed binary still searches the build folder: $(readelf -d "$station" | grep -E 'RPATH|RUNPATH')"
fi
if ldd "$station" | grep 'not found'; then
    fail "the installed binary misses libraries"
fi

# The reference service with demo stores, as the demo starts it.
"$bin/devservice" seed --db "$work/service.db" --files "$work/files" >/dev/null
"$bin/devservice" serve --port 0 --db "$work/service.db" --files "$work/files" >"$work/service.log" 2>&1 &
pids+=($!)
for _ in $(seq 100); do
    grep -q 'listening on' "$work/service.log" && break
    sleep 0.05
done
port=$(sed -n 's/.*listening on 127.0.0.1:\([0-9]*\).*/\1/p' "$work/service.log" | head -1)
[[ -n "$port" ]] || fail "devservice did not start: $(cat "$work/service.log")"

Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"$work/display" >"$work/xvfb.log" 2>&1 &
pids+=($!)
for _ in $(seq 100); do
    [[ -s $work/display ]] && break
    sleep 0.05
done
[[ -s $work/display ]] || fail "Xvfb did not start: $(cat "$work/xvfb.log")"
export DISPLAY=":$(tr -d '\n' <"$work/display")"

# Started from the scratch root, with no path into the build folder.
(
    cd "$work"
    exec "${as_user[@]}" env -i PATH=/usr/bin:/bin HOME="$home" DISPLAY="$DISPLAY" QT_QPA_PLATFORM=xcb \
        XDG_RUNTIME_DIR="$home/run" QT_LOGGING_RULES="qt.core.qobject.connect=false" STATION_TICK_MS=200 \
        STATION_SERVICE_URL="http://127.0.0.1:$port/terminal2secure.asp" \
        STATION_REPORTS_URL="http://127.0.0.1:$port/Reports/" STATION_UPDATE_URL="http://127.0.0.1:$port/rdp" \
        STATION_SERVER_LIST=127.0.0.1 "$station"
) >"$work/station.log" 2>&1 &
station_pid=$!
pids+=("$station_pid")

title="VORNE Terminal Version $version"
shown=
for _ in $(seq 200); do
    if xwininfo -root -tree 2>/dev/null | grep -qF "\"$title\""; then
        shown=yes
        break
    fi
    kill -0 "$station_pid" 2>/dev/null || fail "the station ended: $(cat "$work/station.log")"
    sleep 0.1
done
[[ -n $shown ]] || fail "no window titled \"$title\": $(cat "$work/station.log")"

# The store list: the station asked for it and the service answered with the demo stores.
stores=
for _ in $(seq 100); do
    stores=$("$bin/devservice" requests --db "$work/service.db" --key mac= | awk -F'\t' '$4 == 200 && $7 ~ /\|/')
    [[ -n $stores ]] && break
    sleep 0.1
done
[[ -n $stores ]] || fail "the station fetched no store list: $("$bin/devservice" requests --db "$work/service.db")"
sleep 1 # the list is drawn after the reply; the picture is for people, the checks are done
kill -0 "$station_pid" 2>/dev/null || fail "the station ended after loading: $(cat "$work/station.log")"
if command -v xwd >/dev/null && [[ -x /usr/bin/convert ]]; then
    xwd -root -silent | /usr/bin/convert xwd:- "$package_dir/installed-station.png" || true
fi

# A newer release published: the next check downloads it into the user's folder, the operator
# confirms the hand-over, the installer runs from there and the station ends.
"$bin/devservice" set-update --db "$work/service.db" "http://127.0.0.1:$port/rdp"
"$bin/devservice" publish --db "$work/service.db" --files "$work/files" --version 99.99 \
    --installer "$work/files/rdp/setup.exe" >/dev/null
box=$(timeout 30 xdotool search --sync --name '^New Update to Install$' | head -1) ||
    fail "no hand-over message: $(cat "$work/station.log")"
xdotool windowfocus --sync "$box" key Return
install=$home/.local/share/vorne-terminal/_Install
for _ in $(seq 100); do
    [[ -s $install/installer-ran.txt ]] && break
    sleep 0.1
done
[[ -s $install/installer-ran.txt ]] || fail "the installer did not run from $install: $(ls -la "$install" 2>&1)"
[[ ! -e $work/root/usr/bin/_Install ]] || fail "an install folder appeared in /usr/bin"
for _ in $(seq 100); do
    kill -0 "$station_pid" 2>/dev/null || break
    sleep 0.1
done
kill -0 "$station_pid" 2>/dev/null && fail "the station still runs after the hand-over"
echo "installed package shows \"$title\" with the store list from the service, and updated itself from $install"
