#!/usr/bin/env bash
# velmoractl's bulk figures, as README reports them: `events` against `counts` in the same run,
# and `report --by host`, on 1 GiB of generated logs (4 files), warm page cache, one core,
# output to /dev/null, time zone UTC. Each time is the best wall-clock time of RUNS runs
# (default 5), with the load average when the runs began.
#
#   bench/velmoractl-figures.sh [BUILD_DIR]     (default build/full)
#
# The logs go to a temporary directory under /tmp, removed at the end. VELMORA_BENCH_CPU
# chooses the core (default 1).
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/full}
cpu=${VELMORA_BENCH_CPU:-1}
runs=${RUNS:-5}
data=$(mktemp -d /tmp/velmora-bench.XXXXXX)
trap 'rm -rf "$data"' EXIT

"$build/bench/loggen/velmora-loggen" --out "$data" --size 1G --files 4 >/dev/null
cat "$data"/*.log >/dev/null # warms the page cache

best_of() { # best wall-clock seconds of a velmoractl command over $runs runs
    local best=1e9
    for _ in $(seq "$runs"); do
        local start end
        start=$(date +%s.%N)
        TZ=UTC taskset -c "$cpu" "$build/src/cli/velmoractl" --data-dir "$data" "$@" >/dev/null
        end=$(date +%s.%N)
        best=$(python3 -c "print(min($end - $start, $best))")
    done
    echo "$best"
}

echo "load average: $(cut -d' ' -f1-3 /proc/loadavg)"
counts=$(best_of counts)
events=$(best_of events)
report=$(best_of report --by host)
python3 - "$counts" "$events" "$report" <<'PY'
import sys
counts, events, report = map(float, sys.argv[1:])
print(f"velmoractl counts            {counts:.2f} s")
print(f"velmoractl events            {events:.2f} s: {events / counts:.1f} times counts")
print(f"velmoractl report --by host  {report:.2f} s")
PY
