#!/usr/bin/env bash
# The console's cost when nothing happens: starts it on an empty data directory, lets it settle
# for five seconds, then reads its CPU time from /proc over SECONDS seconds (default 30) and
# prints it as a share of one core.
#
#   dbus-run-session -- bench/idle.sh [BUILD_DIR] [SECONDS]
#
# On the display of the session when there is one, else offscreen.
set -euo pipefail
build=${1:-build/full}
seconds=${2:-30}
data=$(mktemp -d)
platform=()
[ -z "${DISPLAY:-}" ] && platform=(-platform offscreen)
"$build/src/app/velmora" "${platform[@]}" --data-dir "$data" 2>/dev/null &
pid=$!
trap 'kill "$pid" 2>/dev/null; rm -rf "$data"' EXIT

# Fields 14 and 15 of /proc/PID/stat: user and system time in clock ticks.
cpu_ticks() { awk '{print $14 + $15}' "/proc/$pid/stat"; }
sleep 5
before=$(cpu_ticks)
sleep "$seconds"
after=$(cpu_ticks)
hz=$(getconf CLK_TCK)
awk -v t=$((after - before)) -v hz="$hz" -v s="$seconds" \
    'BEGIN { printf "idle for %d s: %.2f s of CPU, %.2f %% of one core\n", s, t / hz, 100 * t / hz / s }'
