#!/usr/bin/env bash
# Installs the Debian 12 packages that building, running and testing QosSnmp need, and only
# those that are missing; safe to run again. Runs apt-get through sudo when not root.
# With --run, only those that building and running the agent need (scripts/run-example.sh).
#
# Installing snmpd starts Debian's system snmpd on UDP port 161. QosSnmp never uses that
# instance (qossnmpd listens on 1161; the tests start their own snmpd); stop it with
# `systemctl stop snmpd` if it is in the way. Likewise prometheus-snmp-exporter, installed for
# its generator and for the end-to-end test that scrapes qossnmpd with it, starts its service
# on TCP port 9116; the tests run their own on free ports.
set -euo pipefail

packages=(
    build-essential cmake g++ clang-format
    libsnmp-dev snmp snmpd
    libfmt-dev nlohmann-json3-dev libboost-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    smitools python3-pytest python3-pysnmp4
    clang-16 libclang-rt-16-dev llvm-14
    nodejs npm
    libsystemd-dev systemd lintian
    prometheus-snmp-exporter python3-prometheus-client python3-yaml
    prometheus iproute2
)
if [[ ${1:-} == --run ]]; then
    # CMake's configuration also looks for GoogleTest, so its headers come along.
    packages=(
        build-essential cmake g++ libsnmp-dev snmp
        libfmt-dev nlohmann-json3-dev libboost-dev libgtest-dev libgmock-dev libsystemd-dev
    )
fi

installed() {
    dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "ok installed"
}

missing=()
for p in "${packages[@]}"; do
    case $p in
        # A Node.js installed outside apt (nvm, NodeSource, an image's own) serves as well;
        # asking apt for its npm then would only conflict with it.
        nodejs) installed nodejs || command -v node >/dev/null 2>&1 || missing+=("$p") ;;
        npm) installed npm || command -v npm >/dev/null 2>&1 || missing+=("$p") ;;
        *) installed "$p" || missing+=("$p") ;;
    esac
done

if [[ ${#missing[@]} -eq 0 ]]; then
    echo "-- all ${#packages[@]} packages are installed" >&2
    exit 0
fi

sudo=()
if [[ $(id -u) -ne 0 ]]; then
    sudo=(sudo)
fi
echo "-- installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -q
"${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
