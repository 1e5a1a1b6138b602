"""qossnmpd as the AgentX sub-agent of Debian's snmpd configured as Debian ships it: the
unmodified /etc/snmp/snmpd.conf (community "public" limited to the view "systemonly") plus the
packaged drop-in (packaging/snmpd-qossnmpd.conf.in), as /etc/snmp/snmpd.conf.d/ would add it.

Debian's file listens on 127.0.0.1:161 and [::1]:161, so snmpd and the clients that query it
run in a network namespace of their own (`ip netns`, root only): the machine's own snmpd, if any,
is not disturbed. The test only adds the socket's path and snmpd's persistent directory.

  - Every one of the fifteen tables answers through snmpd, row for row what the same agent
    serves as a master agent; the drop-in widens nothing else (the interfaces group stays hidden).
  - Started before the master, the sub-agent tells the service manager why it is not ready
    (no socket) and sends READY=1 only once registered; after the master restarts, the rows are
    back, the sub-agent retrying every second (net-snmp alone would wait 15 s).
"""

from __future__ import annotations

import itertools
import os
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

import pytest

from conftest import REPO, READY_TIMEOUT_S, Process
from snmpclient import ENTERPRISE, ENTERPRISE_ARC, IF_POLICER_MIB, POLICING_MIB, QOS_MIB, NetSnmp

DEBIAN_SNMPD_CONF = Path("/etc/snmp/snmpd.conf")
DROP_IN = REPO / "packaging" / "snmpd-qossnmpd.conf.in"
EXAMPLE = REPO / "examples" / "default.json"
# The fifteen tables: the QoS MIB's eleven, the policing MIB's two, the interface policer's two.
TABLES = ([QOS_MIB + (1, n) for n in range(1, 12)] + [POLICING_MIB + (1, n) for n in (1, 2)]
          + [IF_POLICER_MIB + (1, n) for n in (1, 2)])
INTERFACES_GROUP = (1, 3, 6, 1, 2, 1, 2)
# Longer than the sub-agent's 1 s retry, shorter than the 15 s net-snmp would wait by itself.
MASTER_BACK_S = 10
_names = itertools.count()

pytestmark = pytest.mark.skipif(
    os.geteuid() != 0 or shutil.which("ip") is None or not DEBIAN_SNMPD_CONF.exists(),
    reason="needs root, iproute2 and Debian's /etc/snmp/snmpd.conf (package snmpd)")


class DebianSnmpd:
    """Debian's snmpd with Debian's configuration and the drop-in, in a network namespace."""

    def __init__(self, workdir: Path):
        self.workdir = workdir
        workdir.mkdir()
        self.netns = f"qossnmp-{os.getpid()}-{next(_names)}"
        subprocess_run(["ip", "netns", "add", self.netns])
        subprocess_run(["ip", "netns", "exec", self.netns, "ip", "link", "set", "lo", "up"])
        self.socket = workdir / "agentx.sock"
        dropin = workdir / "qossnmpd.conf"
        dropin.write_text(DROP_IN.read_text().replace("@VELORA_ENTERPRISE_ARC@",
                                                      str(ENTERPRISE_ARC)))
        local = workdir / "test.conf"
        local.write_text(f"agentXSocket unix:{self.socket}\n[snmp] persistentDir {workdir}\n")
        self.conf = f"{DEBIAN_SNMPD_CONF},{dropin},{local}"
        self.starts = 0
        self.process: Process | None = None

    def start(self) -> None:
        self.starts += 1
        env = dict(os.environ, MIBS="", MIBDIRS="/nonexistent", SNMP_PERSISTENT_DIR=str(
            self.workdir))
        snmpd = shutil.which("snmpd") or "/usr/sbin/snmpd"
        self.process = Process(["ip", "netns", "exec", self.netns, snmpd, "-f", "-Lo", "-C",
                                "-c", self.conf], self.workdir / f"snmpd-{self.starts}.log",
                               env=env)
        self.process.wait_for_output("NET-SNMP version")

    def stop(self) -> None:
        if self.process is not None:
            self.process.popen.send_signal(signal.SIGTERM)
            self.process.popen.wait(10)
            self.process.kill()

    def tool(self) -> NetSnmp:
        """net-snmp's tools inside the namespace, at Debian's address."""
        return NetSnmp("udp:127.0.0.1:161", prefix=["ip", "netns", "exec", self.netns])

    def close(self) -> None:
        if self.process is not None:
            self.process.kill()
        subprocess_run(["ip", "netns", "delete", self.netns])


def subprocess_run(argv: list[str]) -> None:
    subprocess.run(argv, check=True, capture_output=True, timeout=30)


@pytest.fixture
def debian_snmpd(tmp_path):
    master = DebianSnmpd(tmp_path / "snmpd")
    yield master
    master.close()


def walk_until_complete(tool: NetSnmp, expected: list, within: float, sub) -> float:
    start = time.monotonic()
    while (walk := tool.bulkwalk(ENTERPRISE, "-Cr20")) != expected:
        assert time.monotonic() - start < within, (
            f"rows incomplete through snmpd after {within} s ({len(walk)} of {len(expected)});"
            f" qossnmpd said:\n{sub.output()}")
        time.sleep(0.05)
    return time.monotonic() - start


def test_every_table_answers_through_debian_snmpd_with_the_drop_in(start_agent, debian_snmpd):
    state = EXAMPLE.read_text()
    direct = start_agent(state_text=state).wait_tables_ready().netsnmp().bulkwalk(ENTERPRISE)
    for table in TABLES:
        assert any(v.oid[:len(table)] == table for v in direct), f"no rows in {table}"

    debian_snmpd.start()
    sub = start_agent(state_text=state, agentx=f"unix:{debian_snmpd.socket}")
    sub.wait_tables_ready()
    tool = debian_snmpd.tool()
    walk_until_complete(tool, direct, READY_TIMEOUT_S, sub)
    assert tool.walk(ENTERPRISE) == direct
    # The system group as Debian grants it, the interfaces group still outside the view.
    assert tool.get((1, 3, 6, 1, 2, 1, 1, 5, 0))[0].type == "STRING"
    assert tool.walk(INTERFACES_GROUP) == []


def test_ready_only_once_registered_and_back_soon_after_the_master_restarts(
        start_agent, debian_snmpd, tmp_path):
    manager_path = tmp_path / "notify.sock"
    manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    manager.bind(str(manager_path))
    manager.settimeout(READY_TIMEOUT_S)
    env = dict(os.environ, NOTIFY_SOCKET=str(manager_path))
    agentx = f"unix:{debian_snmpd.socket}"

    sub = start_agent(state_text=EXAMPLE.read_text(), agentx=agentx, env=env, wait=False)
    waiting = dict(line.split("=", 1) for line in manager.recv(4096).decode().splitlines())
    assert "READY" not in waiting
    assert waiting["STATUS"].startswith(f"waiting for AgentX master {agentx}: No such file or "
                                        "directory: is snmpd running"), waiting
    assert "qossnmpd: ready" not in sub.output()

    debian_snmpd.start()
    ready = dict(line.split("=", 1) for line in manager.recv(4096).decode().splitlines())
    assert ready == {"READY": "1", "STATUS": f"ready on AgentX master {agentx}"}
    sub.wait_tables_ready()
    tool = debian_snmpd.tool()
    expected = tool.bulkwalk(ENTERPRISE, "-Cr20")
    assert len(expected) > 1000

    debian_snmpd.stop()
    lost = dict(line.split("=", 1) for line in manager.recv(4096).decode().splitlines())
    assert lost["STATUS"].startswith(f"waiting for AgentX master {agentx}"), lost
    debian_snmpd.start()
    back_after = walk_until_complete(tool, expected, MASTER_BACK_S, sub)
    print(f"rows back {back_after:.2f} s after the master's restart")
    assert sub.output().count(f"qossnmpd: ready on AgentX master {agentx}") == 2
    manager.close()
