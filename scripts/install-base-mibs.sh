#!/usr/bin/env bash
# Installs the IETF base MIB modules that the VELORA modules import
# (SNMPv2-SMI, SNMPv2-TC, SNMPv2-CONF), and the modules of the interface names
# that qossnmpd serves beside them (IF-MIB, with SNMPv2-MIB and IANAifType-MIB
# that it imports: ifName for the exporter's lookups and the net-snmp tools),
# into DEST_DIR.
#
# Debian ships no IETF MIB modules, so they are taken from the npm package
# `net-snmp`, which carries them in lib/mibs/ as <MODULE>.mib. The package is
# installed once into a cache directory and reused on later runs; the modules
# are copied as <MODULE>.txt, a name that both smilint (libsmi) and the
# net-snmp tools look for.
#
# Usage: scripts/install-base-mibs.sh DEST_DIR
# Environment:
#   QOSSNMP_NPM_CACHE  npm prefix for the cached package
#                      (default: $HOME/.cache/qossnmp/npm)
set -euo pipefail

usage() {
    echo "usage: $(basename "$0") DEST_DIR" >&2
    exit 2
}

[[ $# -eq 1 && -n "$1" ]] || usage
dest=$1

cache=${QOSSNMP_NPM_CACHE:-${HOME:-/root}/.cache/qossnmp/npm}
pkg_mibs="$cache/node_modules/net-snmp/lib/mibs"

required=(SNMPv2-SMI SNMPv2-TC SNMPv2-CONF SNMPv2-MIB IANAifType-MIB IF-MIB)

have_required() {
    local m
    for m in "${required[@]}"; do
        [[ -s "$pkg_mibs/$m.mib" ]] || return 1
    done
}

if ! have_required; then
    if ! command -v npm >/dev/null 2>&1; then
        echo "$(basename "$0"): npm not found; install it (apt-get install npm)" >&2
        exit 1
    fi
    mkdir -p "$cache"
    echo "-- installing npm package net-snmp into $cache" >&2
    npm install --prefix "$cache" --no-audit --no-fund net-snmp >&2
    if ! have_required; then
        echo "$(basename "$0"): net-snmp package in $cache lacks lib/mibs/{${required[*]}}.mib" >&2
        exit 1
    fi
fi

mkdir -p "$dest"

# Copy through a temporary name and rename, so that a reader never sees a
# half-written module, and leave files that are already identical untouched.
install_module() {
    local src=$1 name=$2
    local dst="$dest/$name.txt"
    if [[ -f "$dst" ]] && cmp -s "$src" "$dst"; then
        return 0
    fi
    cp "$src" "$dst.tmp.$$"
    mv -f "$dst.tmp.$$" "$dst"
}

for m in "${required[@]}"; do
    install_module "$pkg_mibs/$m.mib" "$m"
done
