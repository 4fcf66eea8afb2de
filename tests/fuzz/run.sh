#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, AddressSanitizer, LeakSanitizer, UBSan) and runs each from
# its committed seed corpus for a bounded time: FUZZ_SECONDS each (30 unless set). New inputs found go to a
# scratch folder, never into the committed corpora. Fails on any crash, sanitizer report, leak or failed
# property, and keeps the input that caused it in build/fuzz/artifacts/.
#   tests/fuzz/run.sh [target...]        e.g. tests/fuzz/run.sh settingsfile colorarchive
set -euo pipefail
cd "$(dirname "$0")/../.."

targets=(typedtime reminderinterval threshold intvalue soundlist colorarchive settingsfile sound)
[ $# -gt 0 ] && targets=("$@")
seconds=${FUZZ_SECONDS:-30}
build=build/fuzz

if [ ! -f $build/build.ninja ]; then
    CXX=clang++-14 cmake -S tests/fuzz -B $build -G Ninja -DCMAKE_BUILD_TYPE=Debug >/dev/null
fi
cmake --build $build

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p $build/artifacts
status=0
for target in "${targets[@]}"; do
    mkdir -p "$work/$target"
    log="$work/$target.log"
    if ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        LSAN_OPTIONS=suppressions=tests/fuzz/lsan.supp:print_suppressions=0 \
        QT_QPA_PLATFORM=offscreen \
        "$build/fuzz_$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
        -print_final_stats=1 -artifact_prefix="$build/artifacts/$target-" \
        "$work/$target" "tests/fuzz/corpus/$target" >"$log" 2>&1; then
        runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
        echo "fuzz_$target: $runs inputs in ${seconds} s, no finding"
    else
        echo "fuzz_$target: FAILED" >&2
        grep -v '^#' "$log" | tail -40 >&2
        status=1
    fi
done
exit $status
