#!/usr/bin/env bash
# Soak run: the real console under Xvfb for SECONDS seconds while velmora-sim logs and announces
# RATE events a second, with popups on for every severity. The console logs its statistics once
# a second (the velmora.stats category); from them this prints the peak memory, the memory
# growth per hour, the longest time the event loop went without turning, and whether every
# posted event reached the event list.
#
#   dbus-run-session -- bench/soak.sh [BUILD_DIR] [SECONDS] [RATE]
#
# Defaults: build/full, 1800 s, 1,000 events a second. Needs Xvfb (package xvfb).
set -euo pipefail
build=${1:-build/full}
seconds=${2:-1800}
rate=${3:-1000}
events=$((seconds * rate))

work=$(mktemp -d)
data=$work/data
mkdir "$data"
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

# Popups on: one second open for each of the nine severities.
cat >"$work/settings.json" <<'JSON'
{"popupEvents": 1,
 "popupDisplayArray": ["Emergency", "Alert", "Critical", "Error", "Warning", "Notice",
                       "Information", "Debug", "Unknown"]}
JSON
"$build/src/cli/velmoractl" --data-dir "$data" settings load "$work/settings.json"

display=99
while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do
    display=$((display + 1))
done
Xvfb ":$display" -screen 0 1600x1000x24 -nolisten tcp 2>/dev/null &
pids+=($!)
for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$display" ] && break; sleep 0.1; done

DISPLAY=":$display" QT_LOGGING_RULES="velmora.stats.info=true" \
    "$build/src/app/velmora" --data-dir "$data" 2>"$work/console.log" &
console=$!
pids+=("$console")
# The first statistics line: the window is up and the console listens for notifications.
for _ in $(seq 300); do grep -q 'velmora.stats' "$work/console.log" && break; sleep 0.1; done

echo "soak: $seconds s at $rate events a second ($events events), popups on"
start=$(date +%s)
"$build/tools/velmora-sim/velmora-sim" --data-dir "$data" --rate "$rate" --count "$events" \
    --no-udp >/dev/null
posted_in=$(($(date +%s) - start))
sleep 5
kill -0 "$console" 2>/dev/null || { echo "soak: the console ended early" >&2; exit 1; }

awk -v posted="$events" -v posting="$posted_in" '
    /velmora\.stats:/ {
        for (i = 1; i <= NF; ++i) {
            split($i, kv, "=")
            if (kv[1] == "events") count = kv[2]
            if (kv[1] == "longest-gap-ms" && kv[2] > gap) gap = kv[2]
            if (kv[1] == "rss-kib") rss = kv[2]
        }
        ++n; t[n] = n; m[n] = rss
        if (rss > peak) peak = rss
    }
    END {
        # Growth: a least-squares line through the memory samples of the second half of the
        # posting, once the start-up allocations are behind (the last five seconds are after it).
        from = int((n - 5) / 2) + 1
        for (i = from; i <= n - 5; ++i) { k++; sx += t[i]; sy += m[i]; sxx += t[i] * t[i]; sxy += t[i] * m[i] }
        slope = (k * sxy - sx * sy) / (k * sxx - sx * sx)
        printf "posted %d events in %d s; the event list holds %d: %s\n", posted, posting, count,
               (count == posted ? "every posted event arrived" : "EVENTS MISSING")
        printf "peak resident memory %.1f MiB; growth %.1f MiB an hour (%.0f bytes an event)\n",
               peak / 1024, slope * 3600 / 1024, slope * 1024 / (posted / posting)
        printf "longest event-loop gap %d ms (sampled every 10 ms)\n", gap
        exit (count == posted ? 0 : 1)
    }' "$work/console.log"
