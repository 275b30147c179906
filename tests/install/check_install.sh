#!/usr/bin/env bash
# Installs the build into a scratch root and checks that every file lands in its standard place
# and that the installed programs answer.
set -euo pipefail
build=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

DESTDIR=$root cmake --install "$build" --prefix /usr >/dev/null
expected=(
    usr/bin/velmora
    usr/bin/velmoractl
    usr/share/applications/com.kestrix.Velmora.desktop
    usr/share/metainfo/com.kestrix.Velmora.metainfo.xml
    usr/share/icons/hicolor/scalable/apps/com.kestrix.Velmora.svg
    usr/share/velmora/help/index.html
    usr/share/man/man1/velmora.1
    usr/share/man/man1/velmoractl.1
    usr/sbin/velmora-server
    usr/share/man/man8/velmora-server.8
    usr/lib/systemd/system/velmora-server.service
    usr/share/dbus-1/system.d/com.kestrix.Velmora.conf
    etc/velmora/server.conf
)
for file in "${expected[@]}"; do
    [ -f "$root/$file" ] || { echo "missing: /$file" >&2; exit 1; }
done
"$root/usr/bin/velmoractl" --version | grep -q '^velmoractl '
"$root/usr/sbin/velmora-server" --version | grep -q '^velmora-server '
python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' \
    "$root/usr/share/dbus-1/system.d/com.kestrix.Velmora.conf"
env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$root/usr/bin/velmora" --version | grep -q '^velmora '
desktop-file-validate "$root/usr/share/applications/com.kestrix.Velmora.desktop"
appstreamcli validate --no-net "$root/usr/share/metainfo/com.kestrix.Velmora.metainfo.xml" >/dev/null
echo "installed ${#expected[@]} files"
