#!/usr/bin/env bash
# run-fuzzer.sh FUZZER WORKDIR RUNS [libFuzzer options...]
#
# One bounded run of a fuzz target: RUNS executions (the run also stops after
# $QOSSNMP_FUZZ_MAX_SECONDS, default 900), starting from the checked-in seeds (read only) and a
# fresh working corpus in WORKDIR/corpus. Prints the figures (executions, seconds, coverage)
# and writes them to WORKDIR/figures.txt. The packet target's settings are the defaults; the
# state file's target sets QOSSNMP_FUZZ_SEEDS (seed directories, ':'-separated; default
# fuzz/seeds), QOSSNMP_FUZZ_DICT (default fuzz/snmp.dict), QOSSNMP_FUZZ_MAX_LEN (default 2048)
# and QOSSNMP_FUZZ_COVERAGE (the source folders whose coverage is reported, a regular
# expression; default the plug-in, the platform's SNMP codecs and the response builder).
#
# Exits non-zero when the target crashed, leaked, hung or stopped answering, or when the run
# ended before RUNS executions; the input that did it is kept under WORKDIR/artifacts and its
# path printed as "reproducer: PATH". Replay it with `FUZZER PATH`, or with
# qossnmp_agent_replay PATH in any build; a fixed fault's reproducer goes to fuzz/reproducers.
set -euo pipefail

if [[ $# -lt 3 ]]; then
    echo "usage: $0 FUZZER WORKDIR RUNS [libFuzzer options...]" >&2
    exit 2
fi
fuzzer=$1
work=$2
runs=$3
shift 3
here=$(cd "$(dirname "$0")" && pwd)
max_seconds=${QOSSNMP_FUZZ_MAX_SECONDS:-900}
IFS=: read -r -a seeds <<<"${QOSSNMP_FUZZ_SEEDS:-$here/seeds}"
dict=${QOSSNMP_FUZZ_DICT:-$here/snmp.dict}
max_len=${QOSSNMP_FUZZ_MAX_LEN:-2048}
coverage_dirs=${QOSSNMP_FUZZ_COVERAGE:-QosSnmp/|platform/Snmp/|agent/ResponseFit}

rm -rf "$work/corpus" "$work/artifacts"
mkdir -p "$work/corpus" "$work/artifacts"
log=$work/fuzzer.log

# Symbolized stacks in crash reports, and the per-function coverage at the end.
if [[ -z ${ASAN_SYMBOLIZER_PATH:-} ]]; then
    for symbolizer in llvm-symbolizer-16 llvm-symbolizer-14 llvm-symbolizer; do
        if command -v "$symbolizer" >/dev/null; then
            export ASAN_SYMBOLIZER_PATH=$(command -v "$symbolizer")
            break
        fi
    done
fi

status=0
ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1} \
UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1} \
    "$fuzzer" -runs="$runs" -max_total_time="$max_seconds" -max_len="$max_len" -timeout=10 \
    -rss_limit_mb=4096 -dict="$dict" -print_final_stats=1 \
    -print_coverage=1 -artifact_prefix="$work/artifacts/" "$@" "$work/corpus" "${seeds[@]}" >"$log" 2>&1 ||
    status=$?

stat() { sed -n "s/^stat::$1: *//p" "$log" | tail -1; }
executions=$(stat number_of_executed_units)
seconds=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log" | tail -1)
coverage=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -1 || true)
corpus=$(find "$work/corpus" -type f | wc -l)
{
    echo "executions: ${executions:-?}"
    echo "seconds: ${seconds:-?} (limit ${max_seconds})"
    echo "coverage: ${coverage:-?} (libFuzzer's edges and features, all instrumented code)"
    # Edges of the functions libFuzzer lists at exit: the plug-in, the platform's SNMP codecs
    # and the agent's response builder (the rest of agent/ and statesim/ is set-up and state
    # loading, which runs whatever the input).
    awk -v root="$(cd "$here/.." && pwd)/" -v dirs="^($coverage_dirs)" '
        /^(UN)?COVERED_FUNC: / {
            split($5, e, "/"); file = $NF; sub(/:[0-9]+$/, "", file)
            if (index(file, root) != 1) next
            part = substr(file, length(root) + 1)
            if (part !~ dirs) next
            sub(/\/[^\/]*$/, "/", part); sub(/^agent\/$/, "agent/ResponseFit.cpp", part)
            covered[part] += e[1]; total[part] += e[2]
        }
        END {
            for (part in total)
                printf "coverage of %s: %d of %d edges (%.1f%%)\n", part, covered[part],
                       total[part], 100 * covered[part] / total[part]
        }' "$log" | sort
    echo "corpus: $(find "${seeds[@]}" -type f | wc -l) seeds, ${corpus} new inputs"
    echo "peak rss: $(stat peak_rss_mb) MB"
} | tee "$work/figures.txt"

for reproducer in "$work"/artifacts/*; do
    [[ -e $reproducer ]] || continue
    echo "reproducer: $reproducer"
    [[ $status -ne 0 ]] || status=1
done
if [[ $status -ne 0 ]]; then
    # The report, from the sanitizer's, libFuzzer's or the harness's first word to the
    # reproducer (the coverage listing that follows it is long and of no help here).
    echo "the fuzz target failed (exit $status); from $log:" >&2
    sed -n '/==[0-9]*==ERROR\|ERROR: libFuzzer\|fuzz harness:\|runtime error:\|==[0-9]*== ERROR/,/Test unit written to/p' \
        "$log" | head -300 >&2
    exit 1
fi
if [[ -z $executions || $executions -lt $runs ]]; then
    echo "the run stopped after ${executions:-no} executions, short of $runs" >&2
    tail -20 "$log" >&2
    exit 1
fi
