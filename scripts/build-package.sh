#!/usr/bin/env bash
# Builds the Debian package of qossnmpd and prints its path:
# build-deb/qossnmpd_<version>_<arch>.deb.
#
# build-deb/ is configured for the Debian layout (QOSSNMP_DEBIAN_LAYOUT: /usr/sbin/qossnmpd,
# /etc/qossnmpd/, /usr/share/snmp/mibs, systemd units) with Debian's build flags
# (dpkg-buildflags, all hardening on); only the agent and its libraries are compiled, not the
# tests, and CPack's DEB generator makes the package (packaging/CMakeLists.txt). Missing Debian
# packages are installed first. Environment: QOSSNMP_DEB_BUILD_DIR (default <repo>/build-deb),
# QOSSNMP_JOBS (default 2).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${QOSSNMP_DEB_BUILD_DIR:-$root/build-deb}
jobs=${QOSSNMP_JOBS:-2}

"$root/scripts/install-deps.sh"

cd "$root"
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
cppflags=$(dpkg-buildflags --get CPPFLAGS)
cflags="$(dpkg-buildflags --get CFLAGS) $cppflags"
cxxflags="$(dpkg-buildflags --get CXXFLAGS) $cppflags"
ldflags=$(dpkg-buildflags --get LDFLAGS)

# CMAKE_BUILD_TYPE=None: the optimisation and debug flags are Debian's; CPack strips the files.
# CMAKE_SKIP_INSTALL_ALL_DEPENDENCY: packaging needs only what the target below builds.
cmake -S "$root" -B "$build" \
    -DCMAKE_BUILD_TYPE=None \
    -DQOSSNMP_DEBIAN_LAYOUT=ON \
    -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON \
    "-DCMAKE_C_FLAGS=$cflags" \
    "-DCMAKE_CXX_FLAGS=$cxxflags" \
    "-DCMAKE_EXE_LINKER_FLAGS=$ldflags" \
    "-DCMAKE_SHARED_LINKER_FLAGS=$ldflags" >&2
cmake --build "$build" -j"$jobs" --target qossnmpd >&2
(cd "$build" && cpack -G DEB >&2)

deb=$(sed -n 's/^QOSSNMP_DEB_FILE:INTERNAL=//p' "$build/CMakeCache.txt")
echo "$deb"
