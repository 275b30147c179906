#!/usr/bin/env bash
# A release check, run by hand as root with Debian's package archive reachable: installs the
# Debian package on a fresh Debian 12 made by debootstrap and uses it as a new administrator
# would. Without systemd in the chroot the server is started as its unit starts it (user
# velmora, CAP_NET_BIND_SERVICE only, no new privileges), on the system bus of the chroot.
# Then logger sends "hello" to 127.0.0.1, which must reach the day's log file and the table of
# a console run by a member of the group velmora, and velmoractl must see the server run.
#
#   tests/install/deb-in-chroot.sh build/deb/velmora_0.1.0_amd64.deb [CHROOT]
#
# CHROOT is made when it holds no system yet (debootstrap --variant=minbase bookworm).
set -euo pipefail
deb=$(realpath "$1")
root=${2:-/tmp/velmora-chroot}
if [ ! -x "$root/bin/sh" ]; then
    debootstrap --variant=minbase bookworm "$root" http://deb.debian.org/debian
fi
in_root() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 TZ=UTC "$@"; }
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cleanup() {
    in_root sh -c 'pkill -x VelmoraSrv; pkill -x velmora; pkill -x dbus-daemon' || true
    sleep 1
    umount "$root/dev" "$root/proc" || true
}
trap cleanup EXIT

cp "$deb" "$root/tmp/velmora.deb"
cp /etc/resolv.conf "$root/etc/resolv.conf"
in_root apt-get update -qq
# netbase (the "syslog" port name logger looks up) is on every Debian system but a minimal one.
in_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq /tmp/velmora.deb dbus procps \
    netbase >/dev/null

say() { printf 'deb-in-chroot: %s\n' "$*"; }
check() { "$@" || { say "FAILED: $*"; exit 1; }; }
check in_root getent passwd velmora
check test "$(in_root stat -c '%a %U %G' /var/lib/velmora)" = "2770 velmora velmora"
say "user, group and data directory made by the package"

rm -f "$root"/var/lib/velmora/*.log "$root/tmp/rows.tsv" # of an earlier run
in_root sh -c 'mkdir -p /run/dbus && rm -f /run/dbus/pid && dbus-daemon --system --fork'
# As the unit runs it.
in_root setpriv --reuid=velmora --regid=velmora --init-groups --no-new-privs \
    --inh-caps=+net_bind_service --ambient-caps=+net_bind_service \
    sh -c '/usr/sbin/velmora-server 2>/tmp/journal.txt &'
in_root sh -c 'id alice >/dev/null 2>&1 || useradd --create-home --groups velmora alice'
in_root runuser -u alice -- sh -c \
    'QT_QPA_PLATFORM=offscreen velmora --debug-dump /tmp/rows.tsv >/tmp/console.txt 2>&1 &'
for _ in $(seq 100); do
    [ -e "$root/tmp/rows.tsv" ] && grep -q 'started' "$root/tmp/journal.txt" && break
    sleep 0.2
done
check grep -q 'receiving on udp://\[::\]:514' "$root/tmp/journal.txt"
in_root logger -n 127.0.0.1 hello
log=$root/var/lib/velmora/$(date -u +%F).log
for _ in $(seq 50); do
    grep -q 'hello' "$log" 2>/dev/null && grep -q 'hello' "$root/tmp/rows.tsv" && break
    sleep 0.2
done
check grep -q ',User.Notice,127.0.0.1,root: hello' "$log"
say "the log file: $(cat "$log")"
check grep -q 'hello' "$root/tmp/rows.tsv"
say "the console's table: $(grep hello "$root/tmp/rows.tsv")"
check test "$(in_root stat -c '%a %U %G' "/var/lib/velmora/$(date -u +%F).log")" = "660 velmora velmora"
in_root runuser -u alice -- velmoractl status | grep -q '"running":true'
say "velmoractl status: the server runs"
say "passed"
