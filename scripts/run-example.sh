#!/usr/bin/env bash
# Builds qossnmpd in build/ and runs it on the bundled example state, as a master agent on
# udp:127.0.0.1:1161 with read-only community "public". Extra arguments go to qossnmpd
# (e.g. --trace 'QosSnmp/0-2' or --live). Stop it with Ctrl-C.
#
#   snmpwalk -v2c -c public -On udp:127.0.0.1:1161 1.3.6.1.4.1.32473.3.13
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" --run

# Only the agent and what it loads (the plug-in, the platform, the status source); the MIB
# modules and the bundled configuration and state file are made with it. No test is built.
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Debug
cmake --build "$root/build" -j2 --target qossnmpd

exec "$root/build/bin/qossnmpd" \
    --listen udp:127.0.0.1:1161 \
    --config "$root/build/etc/qossnmpd.conf" \
    --state "$root/build/share/qossnmp/examples/default.json" \
    "$@"
