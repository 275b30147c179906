#!/usr/bin/env bash
# Builds the console and starts it.
#
#   scripts/run.sh                 a demonstration: makes a data directory with a week of logs
#                                  from several hosts, starts the server on it (UDP and TCP port
#                                  5514 of the loopback address, the session bus), feeds it syslog
#                                  messages with logger, and starts the console. Without a display
#                                  the console runs under Xvfb, saves a picture of each main page
#                                  and quits.
#   scripts/run.sh --data-dir DIR  the console on DIR, and nothing else (further arguments go to
#                                  the console too)
#
# The demonstration lives in $VELMORA_BUILD_ROOT/demo (default build/demo): data/ and
# screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup-deps.sh

root=${VELMORA_BUILD_ROOT:-build}
build=$root/full
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
say() { printf 'run.sh: %s\n' "$*" >&2; }
headless() { [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; }
xvfb=(xvfb-run -a -s "-screen 0 1600x1000x24")

if [ $# -gt 0 ]; then
    cmake --build "$build" --target velmora
    console=("$build/src/app/velmora" "$@")
    if headless; then
        say "no display; starting the console under Xvfb"
        exec "${xvfb[@]}" "${console[@]}"
    fi
    exec "${console[@]}"
fi

cmake --build "$build" --target velmora velmoractl velmora-server velmora-loggen
# The console and the server must share a session bus: without one, the demonstration runs on
# a private one.
if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ]; then
    exec dbus-run-session -- "$0"
fi

demo=$(realpath -m "$root/demo")
data=$demo/data
shots=$demo/screenshots
rm -rf "$data" "$shots" "$demo/config"
mkdir -p "$data" "$shots"

# A week of history from about forty hosts, in four files, then settings that turn popups on
# for the events that need a look.
now=$(date +%s)
"$build/bench/loggen/velmora-loggen" --out "$data" --size 3M --files 4 \
    --start $((now - 7 * 86400)) --span 7d
"$build/src/cli/velmoractl" --data-dir "$data" settings load - <<'JSON'
{
  "dateFormat": "",
  "severityEmergency": 2, "severityAlerting": 2, "severityCritical": 2,
  "severityError": 1, "severityWarning": 1, "severityNotice": 1,
  "severityInformation": 0, "severityDebug": 0, "severityUnknown": 0,
  "popupEvents": 4,
  "popupDisplayArray": ["Emergency", "Alert", "Critical"],
  "popupPlayArray": [],
  "actionsEmailPort": 25, "actionsEmailTimeout": 1
}
JSON
say "demo data directory: $data"

# The popups take their levels from the user's own settings, which the console never writes;
# the demonstration gives its console a settings folder of its own with the usual levels.
mkdir -p "$demo/config"
cat >"$demo/config/Velmora.conf" <<'INI'
[General]
severityEmergency=2
severityAlerting=2
severityCritical=2
severityError=1
severityWarning=1
severityNotice=1
severityInformation=0
severityDebug=0
severityUnknown=0
INI

# Everything started here stops with this script.
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true' EXIT

port=${VELMORA_DEMO_PORT:-5514}
"$build/src/server/velmora-server" --data-dir "$data" --config /dev/null --session \
    --listen "udp://127.0.0.1:$port" --listen "tcp://127.0.0.1:$port" &
pids+=($!)
say "velmora-server receives syslog on UDP and TCP port $port of 127.0.0.1"
console=(env XDG_CONFIG_HOME="$demo/config" "$build/src/app/velmora" --data-dir "$data")

# A small traffic generator: logger sends an event of a made-up service every `pause` seconds,
# over UDP and TCP in turn, with the priorities a busy network shows.
send() { logger "$1" -n 127.0.0.1 -P "$port" -p "$2" -t "$3" "$4"; }
feed() {
    local pause=$1 i=0
    local -a events=(
        "--udp|daemon.info|ntpd|clock synchronized to 192.168.1.1, stratum 2"
        "--tcp|auth.notice|sshd|Accepted publickey for admin from 10.0.0.12 port 52144"
        "--udp|local0.warning|haproxy|backend web has no server available"
        "--tcp|mail.err|postfix|connect to mx.example.net[203.0.113.9]:25: Connection timed out"
        "--udp|local7.debug|router|ifIndex 3 octets in 18236004"
        "--tcp|cron.info|CRON|(root) CMD (run-parts /etc/cron.hourly)"
    )
    while true; do
        IFS='|' read -r transport priority tag message <<<"${events[i % ${#events[@]}]}"
        send "$transport" "$priority" "$tag" "$message"
        i=$((i + 1))
        sleep "$pause"
    done
}

if headless; then
    say "no display; the console runs under Xvfb and takes pictures of its pages"
    rows=$demo/rows.tsv
    rm -f "$rows"
    "${xvfb[@]}" "${console[@]}" --screenshots "$shots" --debug-dump "$rows" &
    console_pid=$!
    pids+=("$console_pid")
    # The first dump says that the console listens; then live events, and one that pops up.
    for _ in $(seq 200); do
        [ -e "$rows" ] && break
        sleep 0.1
    done
    feed 0.5 &
    pids+=($!)
    send --tcp daemon.crit mdadm "md0: disk sdb failed, array degraded"
    wait "$console_pid"
    say "screenshots of the main pages: $shots"
    ls "$shots" >&2
else
    feed 2 &
    pids+=($!)
    say "console on the demo data; logger sends the server an event every two seconds"
    "${console[@]}"
fi
