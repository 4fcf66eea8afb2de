#!/usr/bin/env bash
# Runs every benchmark headless and prints one Markdown table (also written to BUILD/bench-report.md).
#
#   bench/run.sh BUILD_DIR [--tick-seconds N] [--memory-minutes N] [--startup-runs N] [--size-seconds N]
#                [--display :N] [--quick]
#
# --display picks the display number of the 3840x2160 server that bench/counting_sizes.sh starts.
#
# --quick is for checking the harness itself (short runs); its numbers mean little.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
build=$(cd "${1:?usage: bench/run.sh BUILD_DIR [options]}" && pwd)
shift
tick_seconds=120 memory_minutes=10 startup_runs=15 size_seconds=30 display=()
while [ $# -gt 0 ]; do
    case "$1" in
    --tick-seconds) tick_seconds=$2; shift ;;
    --memory-minutes) memory_minutes=$2; shift ;;
    --startup-runs) startup_runs=$2; shift ;;
    --size-seconds) size_seconds=$2; shift ;;
    --display) display=(--display "$2"); shift ;;
    --quick) tick_seconds=10 memory_minutes=1 startup_runs=3 size_seconds=10 ;;
    *) echo "bench/run.sh: unknown option $1" >&2; exit 2 ;;
    esac
    shift
done

results="$build/bench-results.jsonl"
: >"$results"
isolated="$root/tests/support/isolated-run.sh"
echo "Benchmarks: layout and tick cost, tick accuracy ${tick_seconds}s idle and loaded, processes (memory ${memory_minutes} min)" >&2

for size in "200 60" "800 300" "4000 2000"; do
    # shellcheck disable=SC2086
    "$isolated" --x11 -- "$build/bench/bench_layout" $size 2>/dev/null >>"$results"
done

# What each opening of the preferences window leaves on the heap.
"$isolated" --x11 -- "$build/bench/bench_prefsopenings" 2000 100 2>/dev/null >>"$results"

# What a key costs in a field that holds a long text.
"$isolated" --x11 -- "$build/bench/bench_typing" 2>/dev/null >>"$results"

"$isolated" --x11 -- "$build/bench/bench_tickaccuracy" "$tick_seconds" idle 2>/dev/null >>"$results"

# Both cores busy with other work for the whole loaded run.
busy=()
for _ in 1 2; do
    sh -c 'while :; do :; done' &
    busy+=($!)
done
trap 'kill "${busy[@]}" 2>/dev/null || true' EXIT
"$isolated" --x11 -- "$build/bench/bench_tickaccuracy" "$tick_seconds" loaded 2>/dev/null >>"$results"
kill "${busy[@]}" 2>/dev/null || true
wait "${busy[@]}" 2>/dev/null || true

"$here/process_metrics.sh" "$build" "$results" --memory-minutes "$memory_minutes" --startup-runs "$startup_runs"

# CPU, wake-ups, frames at the X server and drag cost at three panel sizes, on a 4K server.
echo "uptime before the panel sizes: $(uptime)" >&2
"$here/counting_sizes.sh" "$build" "$results" --seconds "$size_seconds" "${display[@]}"

# What the signals near and past the end cost at 4K: a last minute crossing both warning thresholds,
# and a minute of overtime flashing at zero and at each reminder, beside the same minute without them.
signal_seconds=60
[ "$size_seconds" -lt 30 ] && signal_seconds=$size_seconds
"$here/counting_sizes.sh" "$build" "$results" --seconds "$signal_seconds" --from 0:1:0 --signals plain "${display[@]}"
"$here/counting_sizes.sh" "$build" "$results" --seconds "$signal_seconds" --from 0:1:0 --signals warnings "${display[@]}"
"$here/counting_sizes.sh" "$build" "$results" --seconds "$signal_seconds" --from 0:0:2 --signals flash "${display[@]}"

python3 "$here/report.py" "$results" | tee "$build/bench-report.md"
