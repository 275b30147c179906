#!/usr/bin/env bash
# Builds the console and starts it.
#
#   scripts/run.sh                 a demonstration: makes a data directory with a week of logs
#                                  from several hosts, starts velmora-sim (a stand-in for the
#                                  server) on it, and the console. Without a display the console
#                                  runs under Xvfb, saves a picture of each main page and quits.
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

cmake --build "$build" --target velmora velmoractl velmora-sim velmora-loggen
# The console and the stand-in must share a session bus: without one, the demonstration runs
# on a private one.
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

sim=("$build/tools/velmora-sim/velmora-sim" --data-dir "$data")
console=(env XDG_CONFIG_HOME="$demo/config" "$build/src/app/velmora" --data-dir "$data")

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
    "${sim[@]}" --rate 2 >/dev/null &
    pids+=($!)
    "${sim[@]}" log "$(date +%s),Kern.Critical,db-primary,md0: disk sdb failed, array degraded"
    wait "$console_pid"
    say "screenshots of the main pages: $shots"
    ls "$shots" >&2
else
    "${sim[@]}" --rate 0.5 &
    pids+=($!)
    say "console on the demo data; velmora-sim adds an event every two seconds"
    "${console[@]}"
fi
