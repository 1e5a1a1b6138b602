#!/usr/bin/python3
"""Records the seed corpus of the agent's fuzz target (fuzz/seeds): valid SNMP messages as
net-snmp's own tools send them.

It starts qossnmpd with the fuzz harness's configuration (fuzz/qossnmpd-fuzz.conf: its fixed
engine ID, communities and USM users) on examples/default.json, puts a UDP relay in front of it
and runs snmpget, snmpgetnext, snmpbulkget and snmpset through the relay on every table of the
QoS MIB (enterprises.E.3.13.1.1 to .11; E from $VELORA_ENTERPRISE_ARC, default 32473), as SNMPv1,
SNMPv2c and SNMPv3 without authentication, with SHA and with SHA and AES, and a GETBULK whose
response exceeds the 484 octets its manager accepts. Each request the
relay passes on is written to a file named after the table, the client and the operation; the
SNMPv3 discovery probe the tools send first is kept once per security level.

    /usr/bin/python3 fuzz/make_seeds.py [--qossnmpd build/bin/qossnmpd] [--out fuzz/seeds]
"""

from __future__ import annotations

import argparse
import os
import select
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
REPO = HERE.parent
ARC = int(os.environ.get("VELORA_ENTERPRISE_ARC", "32473"))
QOS_TABLES = [(1, 3, 6, 1, 4, 1, ARC, 3, 13, 1, table) for table in range(1, 12)]
SYS_UPTIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)
NO_MIBS = ["-m", "", "-M", "/nonexistent"]

CLIENTS = {
    "v1": ["-v1", "-c", "public"],
    "v1rw": ["-v1", "-c", "private"],
    "v2c": ["-v2c", "-c", "public"],
    "v2crw": ["-v2c", "-c", "private"],
    "v3noauth": ["-v3", "-l", "noAuthNoPriv", "-u", "fuzznoauth"],
    "v3auth": ["-v3", "-l", "authNoPriv", "-u", "fuzzauth", "-a", "SHA",
               "-A", "fuzzauth-auth-pass"],
    "v3priv": ["-v3", "-l", "authPriv", "-u", "fuzzpriv", "-a", "SHA",
               "-A", "fuzzpriv-auth-pass", "-x", "AES", "-X", "fuzzpriv-priv-pass"],
}


def dotted(oid) -> str:
    return "." + ".".join(map(str, oid))


def free_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class Relay(threading.Thread):
    """Passes datagrams between one client at a time and the agent, keeping the client's."""

    def __init__(self, agent_port: int):
        super().__init__(daemon=True)
        self.agent = ("127.0.0.1", agent_port)
        self.front = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.front.bind(("127.0.0.1", 0))
        self.back = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.back.bind(("127.0.0.1", 0))
        self.port = self.front.getsockname()[1]
        self.requests: list[bytes] = []
        self.client = None
        self.stopping = False

    def run(self):
        while not self.stopping:
            ready, _, _ = select.select([self.front, self.back], [], [], 0.1)
            if self.front in ready:
                data, self.client = self.front.recvfrom(65535)
                self.requests.append(data)
                self.back.sendto(data, self.agent)
            if self.back in ready:
                data, _ = self.back.recvfrom(65535)
                if self.client:
                    self.front.sendto(data, self.client)

    def take(self) -> list[bytes]:
        taken, self.requests = self.requests, []
        return taken


def run_tool(tool: str, client: str, port: int, *args: str) -> subprocess.CompletedProcess:
    options = [a for a in args if a.startswith("-")]
    operands = [a for a in args if not a.startswith("-")]
    argv = [tool, *NO_MIBS, *CLIENTS[client], "-t", "5", "-r", "0", "-On", *options,
            f"udp:127.0.0.1:{port}", *operands]
    return subprocess.run(argv, capture_output=True, text=True, timeout=60)


def first_instance(agent_port: int, table) -> tuple[str, str]:
    """The OID of the first cell of `table` and the snmpset type letter for its value."""
    result = run_tool("snmpgetnext", "v2c", agent_port, dotted(table))
    oid, _, value = result.stdout.partition(" = ")
    if not oid.startswith(dotted(table) + "."):
        sys.exit(f"{dotted(table)} has no rows in examples/default.json: {result.stdout}")
    return oid, "s" if value.startswith(("STRING", "Hex-STRING", '""')) else "i"


def requests_of(table, inst: str, kind: str):
    """(client, tool, name, arguments) of every seed of one table."""
    value = ["s", "fuzz"] if kind == "s" else ["i", "1"]
    table_oid = dotted(table)
    return [
        ("v1", "snmpget", "get", [inst]),
        ("v1", "snmpgetnext", "getnext", [table_oid]),
        ("v1rw", "snmpset", "set", [inst, *value]),
        ("v2c", "snmpget", "get", [inst]),
        ("v2c", "snmpgetnext", "getnext", [inst]),
        ("v2c", "snmpbulkget", "getbulk", ["-Cn0", "-Cr10", table_oid]),
        ("v2crw", "snmpset", "set", [inst, *value]),
        ("v3noauth", "snmpget", "get", [inst]),
        ("v3auth", "snmpbulkget", "getbulk", ["-Cn1", "-Cr5", dotted(SYS_UPTIME), table_oid]),
        # A response larger than the manager's message size: the agent cuts it to fit.
        ("v3noauth", "snmpbulkget", "getbulk-484", ["--sendMessageMaxSize=484", "-Cn0",
                                                    "-Cr100", table_oid]),
        ("v3priv", "snmpgetnext", "getnext", [table_oid]),
        ("v3auth", "snmpset", "set", [inst, *value]),
    ]


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--qossnmpd", default=str(REPO / "build" / "bin" / "qossnmpd"))
    parser.add_argument("--out", default=str(HERE / "seeds"))
    args = parser.parse_args()

    out = Path(args.out)
    agent_port = free_port()
    with tempfile.TemporaryDirectory() as tmp:
        log = open(Path(tmp) / "qossnmpd.log", "w+")
        agent = subprocess.Popen(
            [args.qossnmpd, "--config", str(HERE / "qossnmpd-fuzz.conf"),
             "--state", str(REPO / "examples" / "default.json"),
             "--listen", f"udp:127.0.0.1:{agent_port}"],
            stdout=log, stderr=subprocess.STDOUT)
        relay = Relay(agent_port)
        try:
            deadline = time.monotonic() + 20
            while "qossnmpd: ready" not in Path(log.name).read_text():
                if agent.poll() is not None or time.monotonic() > deadline:
                    sys.exit(f"qossnmpd did not start:\n{Path(log.name).read_text()}")
                time.sleep(0.05)
            relay.start()
            if out.exists():
                shutil.rmtree(out)
            out.mkdir(parents=True)
            probes_kept = set()
            count = 0
            for number, table in enumerate(QOS_TABLES, start=1):
                inst, kind = first_instance(agent_port, table)
                for client, tool, name, tool_args in requests_of(table, inst, kind):
                    result = run_tool(tool, client, relay.port, *tool_args)
                    # An error answer (notWritable, noSuchName for a Counter64 in SNMPv1) is
                    # fine; the request is valid all the same. No answer is not.
                    if "Timeout" in result.stderr:
                        sys.exit(f"{tool} {client} {tool_args}: no answer\n{result.stderr}")
                    sent = relay.take()
                    if client.startswith("v3"):
                        probe, *sent = sent
                        if client not in probes_kept:
                            probes_kept.add(client)
                            (out / f"{client}-discovery.ber").write_bytes(probe)
                            count += 1
                    for i, message in enumerate(sent):
                        suffix = f"-{i}" if i else ""
                        (out / f"t{number:02d}-{client}-{name}{suffix}.ber").write_bytes(message)
                        count += 1
        finally:
            relay.stopping = True
            agent.terminate()
            agent.wait(10)
    print(f"{count} seeds in {out}")


if __name__ == "__main__":
    main()
