#!/usr/bin/env bash
# Makes snmp.yml, the Prometheus SNMP exporter's configuration for qossnmpd, from generator.yml
# beside this script with Debian's generator (prometheus-snmp-generator, in the package
# prometheus-snmp-exporter). It runs offline: the VELORA MIB modules come from mibs/ with the
# enterprise arc filled in (32473 by default, the arc the checked-in snmp.yml is for), the IETF
# base modules they import from scripts/install-base-mibs.sh (or --base-mibs).
#
# usage: contrib/prometheus/generate.sh [--check] [--arc N] [--base-mibs DIR] [--output FILE]
#   --output FILE    where to write (default: snmp.yml beside this script)
#   --check          write nothing: exit 1, showing the difference, unless FILE is what the
#                    generator makes
#   --arc N          the enterprise arc of a vendor build
#   --base-mibs DIR  a directory holding SNMPv2-SMI, SNMPv2-TC and SNMPv2-CONF already
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
output=$here/snmp.yml
check=0
arc=32473
base=

usage() {
    sed -n '/^# usage:/,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
    exit 2
}

while [[ $# -gt 0 ]]; do
    case $1 in
        --check) check=1; shift ;;
        --output) [[ $# -ge 2 ]] || usage; output=$2; shift 2 ;;
        --arc) [[ $# -ge 2 && $2 =~ ^[1-9][0-9]*$ ]] || usage; arc=$2; shift 2 ;;
        --base-mibs) [[ $# -ge 2 ]] || usage; base=$2; shift 2 ;;
        *) usage ;;
    esac
done

generator=$(command -v prometheus-snmp-generator || true)
if [[ -z $generator ]]; then
    echo "$(basename "$0"): prometheus-snmp-generator not found" \
        "(apt-get install prometheus-snmp-exporter)" >&2
    exit 1
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/mibs"
for module in "$root"/mibs/*.txt.in; do
    name=$(basename "$module" .txt.in)
    sed "s/@VELORA_ENTERPRISE_ARC@/$arc/g" "$module" >"$work/mibs/$name.txt"
done
if [[ -z $base ]]; then
    base=$work/base
    "$root/scripts/install-base-mibs.sh" "$base"
fi
base=$(cd "$base" && pwd)

# The generator reads generator.yml from its working directory and loads every module found in
# MIBDIRS; a module that does not parse fails the run.
cp "$here/generator.yml" "$work/"
(cd "$work" && MIBDIRS="$work/mibs:$base" "$generator" --fail-on-parse-errors \
    --log.level=warn generate --output-path="$work/snmp.yml")

if [[ $check -eq 1 ]]; then
    if ! diff -u "$output" "$work/snmp.yml"; then
        echo "$(basename "$0"): $output is not what generator.yml makes; run $0" >&2
        exit 1
    fi
    echo "-- $output is up to date" >&2
else
    cp "$work/snmp.yml" "$output"
    echo "-- wrote $output" >&2
fi
