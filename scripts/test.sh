#!/usr/bin/env bash
# Installs what is missing, builds every configuration and runs every test.
# Exits non-zero on the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup-deps.sh

build=${VELMORA_BUILD_ROOT:-build}
jobs=$(nproc)
step() { printf '\n== %s\n' "$*"; }

# The engine, velmoractl and the server with the GUI switched off prove that they need no Qt;
# the same build runs their tests, the server's end-to-end tests on a private bus among them,
# under AddressSanitizer and UndefinedBehaviorSanitizer.
step "engine, velmoractl and server without the GUI, with ASan and UBSan"
cmake -S . -B "$build/core-asan" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DVELMORA_BUILD_GUI=OFF -DVELMORA_BUILD_BENCH=OFF -DVELMORA_SANITIZE=address,undefined
cmake --build "$build/core-asan"
ASAN_OPTIONS=detect_leaks=1 ctest --test-dir "$build/core-asan" --output-on-failure -j"$jobs"

# The popup queue is the one piece shared between two threads: its tests under ThreadSanitizer.
step "popup queue with TSan"
cmake -S . -B "$build/core-tsan" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DVELMORA_BUILD_GUI=OFF -DVELMORA_BUILD_BENCH=OFF -DVELMORA_SANITIZE=thread
cmake --build "$build/core-tsan" --target test_popup_queue
TSAN_OPTIONS=halt_on_error=1 ctest --test-dir "$build/core-tsan" -R '^Popup' --output-on-failure

# Everything else, the GUI tests offscreen on a private D-Bus session. The engine's and
# velmoractl's tests ran above under the sanitizers; building them again here would only
# lengthen the run.
step "full build"
cmake -S . -B "$build/full" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELMORA_BUILD_ENGINE_TESTS=OFF
cmake --build "$build/full"
dbus-run-session -- env QT_QPA_PLATFORM=offscreen \
    ctest --test-dir "$build/full" --output-on-failure -j"$jobs"
