#!/usr/bin/env bash
# Builds and tests QosSnmp:
#   0. clang-format --dry-run over every C++ source;
#   1. build/ (Debug): every test — unit, MIB checks and end-to-end — with ctest;
#   2. build-asan/ (-DQOSSNMP_SANITIZE=ON): the unit tests under AddressSanitizer and
#      UndefinedBehaviorSanitizer, and the agent built with them against hostile requests.
# Installs missing Debian packages first. Both stages run even if the first fails; the exit
# status is non-zero if any build or test failed.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
jobs=2

"$root/scripts/install-deps.sh"

echo "== clang-format: every C++ source is formatted" >&2
status=0
(cd "$root" && git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror) || status=1

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
exit "$status"
