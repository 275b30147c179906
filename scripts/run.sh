#!/usr/bin/env bash
# Builds the console and starts it. Arguments go to the console, e.g. --data-dir DIR.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup-deps.sh

build=${VELMORA_BUILD_ROOT:-build}/full
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target velmora velmoractl

console=("$build/src/app/velmora" "$@")
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "run.sh: no display; starting the console under Xvfb" >&2
    exec xvfb-run -a -s "-screen 0 1600x1000x24" "${console[@]}"
fi
exec "${console[@]}"
