"""The package installed, upgraded and purged by dpkg for real, in a throwaway copy of this
machine: a private mount namespace holding an overlay of / whose changes go to a temporary
directory, so that the machine itself is never touched. Needs root and the right to mount
(skipped otherwise).

The namespace has a network of its own too (loopback only), so that Debian's snmpd can listen on
port 161 as its own configuration says, whatever runs on the machine.

Installed, the postinst has created the system user and group qossnmpd and made the
configuration readable by that group only; the agent, started as that user with the packaged
defaults, reads the configuration and answers; and as a sub-agent of Debian's snmpd set up as
the README says (the machine's own /etc/snmp/snmpd.conf with the shipped drop-in linked into
/etc/snmp/snmpd.conf.d/, snmpd started as Debian's unit starts it, dropping to its own user), its
tables answer through snmpd to the community "public", while the rest of what snmpd's view
hides stays hidden. Installed again (an upgrade), nothing changes. Purged, the configuration and
its permission override are gone; the user stays.
"""

from __future__ import annotations

import os
import shutil
import socket
import subprocess
from pathlib import Path

import pytest

from conftest import CONFFILE

INSTALL_TIMEOUT_S = 600
DEBIAN_SNMPD_CONF = Path("/etc/snmp/snmpd.conf")
# A private mount namespace (the overlay) with a network of its own (port 161 is free there).
UNSHARE = ["unshare", "--mount", "--net", "--propagation", "private"]

# Runs inside the overlay, under chroot; prints one "key: value" line per fact to check.
SCRIPT = r"""
set -eu
deb=$1 port=$2
dpkg -i "$deb" >/dev/null 2>&1 || { dpkg -i "$deb"; exit 1; }
echo "passwd: $(getent passwd qossnmpd)"
echo "group: $(getent group qossnmpd | cut -d: -f1)"
echo "conffile: $(stat -c '%U %G %a' /CONFFILE)"
echo "override: $(dpkg-statoverride --list /CONFFILE)"
setpriv --reuid=qossnmpd --regid=qossnmpd --init-groups \
    /usr/sbin/qossnmpd --listen "udp:127.0.0.1:$port" >/tmp/qossnmpd.log 2>&1 &
agent=$!
for _ in $(seq 100); do grep -q 'ready on' /tmp/qossnmpd.log && break; sleep 0.1; done
echo "agent: $(grep -m1 "ready on" /tmp/qossnmpd.log)"
echo "answer: $(snmpget -v2c -c public -On -Oqv -t 2 -r 1 "127.0.0.1:$port" \
    .1.3.6.1.2.1.1.2.0 2>&1)"
kill "$agent"; wait "$agent" && echo "stopped: 0" || echo "stopped: $?"

# The sub-agent set-up the README gives: Debian's own snmpd.conf plus the shipped drop-in,
# snmpd started as Debian's unit starts it (dropping to its own user), on port 161.
ln -s /usr/share/qossnmp/snmpd.conf.d/qossnmpd.conf /etc/snmp/snmpd.conf.d/qossnmpd.conf
MIBS= snmpd -f -Lf /tmp/snmpd.log -u Debian-snmp -g Debian-snmp \
    -I -smux,mteTrigger,mteTriggerConf -p /run/snmpd.pid &
snmpd=$!
for _ in $(seq 100); do [ -S /var/agentx/master ] && break; sleep 0.1; done
setpriv --reuid=qossnmpd --regid=qossnmpd --init-groups \
    /usr/sbin/qossnmpd --agentx unix:/var/agentx/master >/tmp/subagent.log 2>&1 &
subagent=$!
mib=.1.3.6.1.4.1.32473.3.13.1.1
for _ in $(seq 100); do
    next=$(snmpgetnext -v2c -c public -On -t 1 -r 0 127.0.0.1 $mib 2>/dev/null || true)
    case $next in $mib.*) break ;; esac
    sleep 0.1
done
echo "through snmpd: ${next%% =*}"
policer=.1.3.6.1.4.1.32473.3.43.1.1
next=$(snmpgetnext -v2c -c public -On -t 1 -r 0 127.0.0.1 $policer 2>&1 || true)
echo "policers through snmpd: ${next%% =*}"
echo "interfaces through snmpd: $(snmpgetnext -v2c -c public -On -t 1 -r 0 127.0.0.1 \
    .1.3.6.1.2.1.2 2>&1 | cut -d' ' -f1)"
kill "$subagent" "$snmpd"; wait "$subagent" && echo "sub-agent stopped: 0" \
    || echo "sub-agent stopped: $? $(cat /tmp/subagent.log)"
wait "$snmpd" || true
dpkg -i "$deb" >/dev/null 2>&1 || { dpkg -i "$deb"; exit 1; }
echo "upgraded: $(stat -c '%U %G %a' /CONFFILE)"
dpkg --purge qossnmpd >/dev/null 2>&1 || { dpkg --purge qossnmpd; exit 1; }
echo "purged: $(ls /etc/qossnmpd 2>/dev/null | wc -l) $(dpkg-statoverride --list /CONFFILE || true)"
echo "user after purge: $(getent passwd qossnmpd | cut -d: -f1)"
""".replace("CONFFILE", CONFFILE)

# Mounts the overlay in the namespace that unshare made, then runs SCRIPT in it.
WRAPPER = r"""
set -eu
top=$1; shift
mkdir -p "$top/upper" "$top/work" "$top/merged"
mount -t overlay overlay -o "lowerdir=/,upperdir=$top/upper,workdir=$top/work" "$top/merged"
ip link set lo up
for d in proc dev sys; do mount --rbind "/$d" "$top/merged/$d"; done
mount -t tmpfs tmpfs "$top/merged/tmp"
mount -t tmpfs tmpfs "$top/merged/run"
cp "$top/package.deb" "$top/merged/tmp/"
exec chroot "$top/merged" /bin/sh -c "$1" sh /tmp/package.deb "$2"
"""


def free_udp_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


@pytest.fixture
def sandbox(tmp_path):
    if os.geteuid() != 0 or shutil.which("unshare") is None or shutil.which("ip") is None:
        pytest.skip("needs root, unshare and ip (iproute2)")
    if not DEBIAN_SNMPD_CONF.exists():
        pytest.skip(f"no {DEBIAN_SNMPD_CONF} (package snmpd)")
    probe = subprocess.run(UNSHARE + ["true"], capture_output=True)
    if probe.returncode != 0:
        pytest.skip(f"no mount and network namespace here: {probe.stderr.decode().strip()}")
    return tmp_path / "overlay"


def test_install_run_upgrade_and_purge(deb, sandbox):
    sandbox.mkdir()
    shutil.copy(deb, sandbox / "package.deb")
    result = subprocess.run(
        UNSHARE + ["sh", "-c", WRAPPER, "sh", str(sandbox), SCRIPT, str(free_udp_port())],
        capture_output=True, text=True, timeout=INSTALL_TIMEOUT_S)
    assert result.returncode == 0, result.stdout + result.stderr
    facts = dict(line.split(": ", 1) for line in result.stdout.splitlines() if ": " in line)

    user = facts["passwd"].split(":")
    assert user[0] == "qossnmpd" and 0 < int(user[2]) < 1000, facts["passwd"]
    assert user[6] in ("/usr/sbin/nologin", "/sbin/nologin")
    assert facts["group"] == "qossnmpd"
    assert facts["conffile"] == "root qossnmpd 640"
    assert facts["override"] == f"root qossnmpd 640 /{CONFFILE}"
    # The agent, as qossnmpd, read the configuration only its group may read, and answered
    # the community it grants (sysObjectID of the agent).
    assert facts["agent"].startswith("qossnmpd: ready on udp:127.0.0.1:"), result.stdout
    assert facts["answer"].startswith(".1.3.6.1."), result.stdout
    assert facts["stopped"] == "0"
    # As a sub-agent of Debian's snmpd, through the socket the drop-in gives the group
    # qossnmpd; the drop-in adds the arc to the view of "public", and nothing else.
    assert facts["through snmpd"].startswith(".1.3.6.1.4.1.32473.3.13.1.1.1."), result.stdout
    assert facts["policers through snmpd"].startswith(".1.3.6.1.4.1.32473.3.43.1.1.1."), (
        result.stdout)
    assert not facts["interfaces through snmpd"].startswith(".1.3.6.1.2.1.2."), result.stdout
    assert facts["sub-agent stopped"] == "0"
    assert facts["upgraded"] == "root qossnmpd 640"
    assert facts["purged"].strip() == "0"
    assert facts["user after purge"] == "qossnmpd"
