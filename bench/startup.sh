#!/usr/bin/env bash
# Start to window shown on an empty data directory: RUNS starts of the real console, each
# leaving as soon as its window is shown; prints the median and the slowest wall time of a start
# (process start to exit, so it includes loading the libraries and leaving again).
#
#   dbus-run-session -- bench/startup.sh [BUILD_DIR] [RUNS]
#
# On the display of the session when there is one, else offscreen.
set -euo pipefail
build=${1:-build/full}
runs=${2:-20}
velmora=$build/src/app/velmora
data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
platform=()
[ -z "${DISPLAY:-}" ] && platform=(-platform offscreen)

"$velmora" "${platform[@]}" --data-dir "$data" --quit-after-start 2>/dev/null # warm the cache
times=()
for _ in $(seq "$runs"); do
    start=$(date +%s%N)
    "$velmora" "${platform[@]}" --data-dir "$data" --quit-after-start 2>/dev/null
    times+=($((($(date +%s%N) - start) / 1000000)))
done
sorted=($(printf '%s\n' "${times[@]}" | sort -n))
echo "start to window shown and quit, $runs runs: median ${sorted[$((runs / 2))]} ms," \
    "slowest ${sorted[$((runs - 1))]} ms"
