#!/usr/bin/env bash
# Builds and tests QosSnmp:
#   0. clang-format --dry-run over every C++ source;
#   1. build/ (Debug): every test — unit, MIB checks and end-to-end — with ctest;
#   2. build-asan/ (-DQOSSNMP_SANITIZE=ON): the unit tests under AddressSanitizer and
#      UndefinedBehaviorSanitizer, and the agent built with them against hostile requests,
#      churn and AgentX faults (ctest label hostile);
#   3. build-fuzz/ (clang 16, -DQOSSNMP_FUZZ=ON): the libFuzzer targets of the agent's packet
#      path and of the state file's reader, for a bounded number of executions each (ctest label
#      fuzz; QOSSNMP_FUZZ_RUNS, default 120000, and QOSSNMP_STATE_FUZZ_RUNS, default 50000). A
#      crash prints "reproducer: PATH".
#   4. build-deb/: the Debian package (scripts/build-package.sh) and its checks: contents,
#      the agent run from the extracted package, lintian, systemd-analyze.
# Installs missing Debian packages first. Every stage runs even if an earlier one fails; the
# exit status is non-zero if any build or test failed.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
jobs=2

"$root/scripts/install-deps.sh"

echo "== clang-format: every C++ source is formatted" >&2
status=0
(cd "$root" && git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror) || status=1

echo "== promtool: the Prometheus alerting rules fire as their tests say" >&2
(cd "$root/contrib/prometheus" && promtool test rules alerts_test.yml) || status=1

echo "== build/ (Debug): unit, MIB and end-to-end tests" >&2
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Debug
cmake --build "$root/build" -j"$jobs"
(cd "$root/build" && ctest --output-on-failure -j1) || status=1

echo "== build-asan/: unit and hostile-request tests under ASan and UBSan" >&2
cmake -S "$root" -B "$root/build-asan" -DCMAKE_BUILD_TYPE=Debug -DQOSSNMP_SANITIZE=ON
cmake --build "$root/build-asan" -j"$jobs"
(cd "$root/build-asan" &&
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --output-on-failure -L 'unit|hostile' -j1) || status=1

echo "== build-fuzz/ (clang 16, libFuzzer): the agent's packet path and the state file fuzzed" >&2
cmake -S "$root" -B "$root/build-fuzz" -DQOSSNMP_FUZZ=ON \
    -DCMAKE_C_COMPILER=clang-16 -DCMAKE_CXX_COMPILER=clang++-16 \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -g" \
    -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g" \
    -DQOSSNMP_FUZZ_RUNS="${QOSSNMP_FUZZ_RUNS:-120000}" \
    -DQOSSNMP_STATE_FUZZ_RUNS="${QOSSNMP_STATE_FUZZ_RUNS:-50000}"
cmake --build "$root/build-fuzz" -j"$jobs" --target qossnmp_agent_fuzzer qossnmp_state_fuzzer
(cd "$root/build-fuzz" && ctest --output-on-failure -V -L fuzz -j1) || status=1

echo "== build-deb/: the Debian package, its contents, lintian and systemd-analyze" >&2
if QOSSNMP_JOBS=$jobs "$root/scripts/build-package.sh" >/dev/null; then
    (cd "$root/build-deb" && ctest --output-on-failure -L package -j1) || status=1
else
    status=1
fi
exit "$status"
