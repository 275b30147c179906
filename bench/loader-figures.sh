#!/usr/bin/env bash
# The loader's figures, as README reports them: 1 GiB of generated logs in 8 files, warm page
# cache, one core. Prints the loader's MB/s and events/s, its time against `wc -l` on the same
# files in the same run, the peak resident memory of `velmoractl counts` against the log
# bytes, and the times of `velmoractl counts`, `events` and `report --by host` (output to
# /dev/null, time zone UTC). Each time is the best of RUNS runs (default 5); the machine is
# shared, and the best run is the one least disturbed.
#
#   bench/loader-figures.sh [BUILD_DIR]      (default build/full; needs the benchmarks built)
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

"$build/bench/loggen/velmora-loggen" --out "$data" --size 1G --files 8 --seed 1
bytes=$(cat "$data"/*.log | wc -c) # also warms the page cache

best_of() { # best wall-clock seconds of a command over $runs runs
    local best=""
    for _ in $(seq "$runs"); do
        local start end
        start=$(date +%s.%N)
        TZ=UTC "$@" >/dev/null
        end=$(date +%s.%N)
        best=$(python3 -c "print(min(x for x in [$end - $start, ${best:-1e9}]))")
    done
    echo "$best"
}

echo "load average when the runs began: $(cut -d' ' -f1-3 /proc/loadavg)"
wc_seconds=$(best_of taskset -c "$cpu" wc -l "$data"/events-*.log)
velmoractl=(taskset -c "$cpu" "$build/src/cli/velmoractl" --data-dir "$data")
counts_seconds=$(best_of "${velmoractl[@]}" counts)
events_seconds=$(best_of "${velmoractl[@]}" events)
report_seconds=$(best_of "${velmoractl[@]}" report --by host)
json=$(taskset -c "$cpu" "$build/bench/bench_log_loader" "$data" \
    --benchmark_filter=InitializeLog --benchmark_repetitions="$runs" \
    --benchmark_report_aggregates_only=false --benchmark_format=json 2>/dev/null)
# The peak resident memory of a child, as the kernel counts it for the parent.
peak_kib=$(python3 -c '
import resource, subprocess, sys
subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' \
    taskset -c "$cpu" "$build/src/cli/velmoractl" --data-dir "$data" counts)

python3 - "$bytes" "$wc_seconds" "$peak_kib" "$json" "$counts_seconds" "$events_seconds" \
    "$report_seconds" <<'PY'
import json, sys
log_bytes, wc_seconds, peak_kib = int(sys.argv[1]), float(sys.argv[2]), int(sys.argv[3])
counts, events_cli, report = map(float, sys.argv[5:8])
runs = [b for b in json.loads(sys.argv[4])["benchmarks"] if b.get("run_type") == "iteration"]
best = min(runs, key=lambda b: b["real_time"])
seconds = best["real_time"] / 1000.0
cpu_seconds = best["cpu_time"] / 1000.0
events = best["events"]
print(f"log bytes            {log_bytes} ({events:.0f} events)")
print(f"loader               {seconds:.2f} s wall, {cpu_seconds:.2f} s CPU (best of {len(runs)})")
print(f"loader MB/s          {log_bytes / seconds / 1e6:.0f}")
print(f"loader events/s      {events / seconds / 1e6:.2f} million")
print(f"wc -l                {wc_seconds:.2f} s")
print(f"loader / wc -l       {seconds / wc_seconds:.1f}")
print(f"list / log bytes     {best['list/log']:.2f}")
print(f"peak RSS / log bytes {peak_kib * 1024 / log_bytes:.2f} (velmoractl counts)")
print(f"velmoractl counts    {counts:.2f} s")
print(f"velmoractl events    {events_cli:.2f} s: {events_cli / counts:.1f} times counts")
print(f"velmoractl report --by host {report:.2f} s")
PY
