#!/usr/bin/env python3
"""Start-up of the policing tables on a large switch, and what SNMP clients see meanwhile.

Two scenarios, each on a Release build of qossnmpd started on a generated state file:

  policing   --profiles N policer profiles and as many policer instances (default 100,000)
  ifpolicer  --interfaces N interfaces (default 50,000) with an ingress and an egress policer
             each; a tenth of them are port channels of four members, which have policer
             status per member

For each it reports: the time from starting the agent until its "ready on" line and until each
table Sm has logged that it is ready (the tables are then complete); the latency of SNMP GETs
sent back to back while the Sms scan (median, p99, max, timeouts), next to the same GETs on the
idle agent afterwards; the number of rows of a full walk (which must equal the state file's);
and, for ifpolicer, the wall and agent CPU time of a full snmpbulkwalk -Cr50 of the ingress
table.

    cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release && cmake --build build-bench -j2 --target qossnmpd
    /usr/bin/python3 bench/policing_bench.py --qossnmpd build-bench/bin/qossnmpd
"""

from __future__ import annotations

import argparse
import json
import os
import socket
import statistics
import sys
import tempfile
import time
from pathlib import Path

from benchlib import Agent, timed_walk

ARC = int(os.environ.get("VELORA_ENTERPRISE_ARC", "32473"))
ENTERPRISE = (1, 3, 6, 1, 4, 1, ARC)
PROFILE_TABLE = (*ENTERPRISE, 3, 42, 1, 1)
INSTANCE_TABLE = (*ENTERPRISE, 3, 42, 1, 2)
IN_TABLE = (*ENTERPRISE, 3, 43, 1, 1)
OUT_TABLE = (*ENTERPRISE, 3, 43, 1, 2)
GET_TIMEOUT_S = 1.0
COUNTERS = ["pktsDropped", "pktsSent", "bytesDropped", "bytesSent", "yellowPktsSent",
            "yellowBytesSent"]


def counters(base: int) -> dict:
    """Consistent counts: yellow traffic is a share of what was sent."""
    scale = {"pktsDropped": 1, "pktsSent": 10, "bytesDropped": 100, "bytesSent": 1000,
             "yellowPktsSent": 2, "yellowBytesSent": 200}
    return {name: base * scale[name] for name in COUNTERS}


def policing_state(n: int) -> dict:
    units = [("kbps", "bytes"), ("mbps", "kbytes"), ("pps", "packets"), ("bps", "bytes")]
    profiles = []
    for i in range(n):
        rate, burst = units[i % len(units)]
        profiles.append({"name": f"prof-{i:06d}", "cir": 1000 + i, "cirUnit": rate,
                         "bc": 100 + i, "bcUnit": burst, "pir": 2000 + i, "pirUnit": rate,
                         "be": 200 + i, "beUnit": burst})
    instances = [{"name": f"pol-{i:06d}", "profile": f"prof-{i:06d}"} for i in range(n)]
    return {"policerProfiles": profiles, "policerInstances": instances}


# Port channels' ifIndexes start above every Ethernet port's (ports are numbered up to n * 1.3):
# a port channel must never share its ifIndex with a port, however large n is.
PORT_CHANNEL_IF_INDEX = 1_000_000_000


def ifpolicer_state(n: int) -> dict:
    """n interfaces with policers: n/10 port channels of four members, the rest Ethernet."""
    channels = n // 10
    plain = n - channels
    interfaces = [{"name": f"Ethernet{i}", "ifIndex": i} for i in range(1, plain + 1)]
    policers = []
    for i in range(1, plain + 1):
        for direction in ("input", "output"):
            policers.append({"interface": f"Ethernet{i}", "direction": direction,
                             "profile": f"prof-{i % 50}", "groupPolicer": "gp",
                             "counters": counters(i)})
    port = plain + 1
    for c in range(1, channels + 1):
        members = [f"Ethernet{port + k}" for k in range(4)]
        port += 4
        interfaces += [{"name": m, "ifIndex": int(m[len("Ethernet"):])} for m in members]
        interfaces.append({"name": f"Port-Channel{c}", "ifIndex": PORT_CHANNEL_IF_INDEX + c,
                           "members": members})
        for m in members:
            for direction in ("input", "output"):
                policers.append({"interface": f"Port-Channel{c}", "member": m,
                                 "direction": direction, "profile": "prof-lag",
                                 "counters": counters(c)})
    return {"hardware": {"interfacePolicingCountersPerLagMemberCounterInfo": True},
            "interfaces": interfaces, "interfacePolicers": policers}


def ber_oid(oid) -> bytes:
    body = bytes([40 * oid[0] + oid[1]])
    for arc in oid[2:]:
        chunk = [arc & 0x7F]
        arc >>= 7
        while arc:
            chunk.append(0x80 | (arc & 0x7F))
            arc >>= 7
        body += bytes(reversed(chunk))
    return b"\x06" + ber_len(len(body)) + body


def ber_len(n: int) -> bytes:
    if n < 0x80:
        return bytes([n])
    raw = n.to_bytes((n.bit_length() + 7) // 8, "big")
    return bytes([0x80 | len(raw)]) + raw


def tlv(tag: int, body: bytes) -> bytes:
    return bytes([tag]) + ber_len(len(body)) + body


def get_request(request_id: int, oid) -> bytes:
    """A v2c GET of one OID, community public."""
    varbind = tlv(0x30, ber_oid(oid) + b"\x05\x00")
    pdu = tlv(0xA0, tlv(0x02, request_id.to_bytes(4, "big")) + b"\x02\x01\x00\x02\x01\x00"
              + tlv(0x30, varbind))
    return tlv(0x30, b"\x02\x01\x01" + tlv(0x04, b"public") + pdu)


class Getter:
    """Back-to-back GETs of one OID over UDP, each waited for (or timed out)."""

    def __init__(self, port: int, oid):
        self.sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.sock.connect(("127.0.0.1", port))
        self.sock.settimeout(GET_TIMEOUT_S)
        self.oid = oid
        self.request_id = 1

    def one(self) -> float | None:
        self.request_id = (self.request_id + 1) & 0x7FFFFFFF
        start = time.perf_counter()
        self.sock.send(get_request(self.request_id, self.oid))
        try:
            self.sock.recv(65535)
        except socket.timeout:
            return None
        return time.perf_counter() - start


def summary(latencies: list[float | None]) -> str:
    done = sorted(x for x in latencies if x is not None)
    timeouts = len(latencies) - len(done)
    if not done:
        return f"{len(latencies)} GETs, all timed out"
    p99 = done[min(len(done) - 1, int(len(done) * 0.99))]
    return (f"{len(latencies)} GETs: median {statistics.median(done) * 1000:.2f} ms, "
            f"p99 {p99 * 1000:.2f} ms, max {done[-1] * 1000:.2f} ms, {timeouts} timeouts")


def ready_times(log: Path) -> dict[str, float]:
    times = {}
    for line in log.read_text(errors="replace").splitlines():
        if "Sm ready after" in line:
            name = line.split("qossnmpd: ")[1].split()[0]
            times[name] = float(line.split("ready after ")[1].split()[0])
    return times


def run(qossnmpd: Path, state: dict, sms: list[str], get_oid, walks, workdir: Path) -> None:
    path = workdir / "state.json"
    path.write_text(json.dumps(state))
    print(f"# state file {path.stat().st_size / 1e6:.1f} MB", flush=True)
    start = time.monotonic()
    with Agent(qossnmpd, path, workdir) as agent:
        up = time.monotonic() - start
        getter = Getter(agent.port, get_oid)
        during = []
        while len(ready_times(agent.log_path)) < len(sms):
            during.append(getter.one())
            if time.monotonic() - start > 600:
                sys.exit(f"Sms not ready after 600 s:\n{agent.log_path.read_text()}")
        complete = time.monotonic() - start
        idle = [getter.one() for _ in range(max(len(during), 1000))]
        print(f"agent answering after {up:.2f} s (ready line); tables complete after "
              f"{complete:.2f} s")
        for name, seconds in ready_times(agent.log_path).items():
            print(f"  {name} ready {seconds:.2f} s after the Sms started")
        print(f"GET during the scan: {summary(during)}")
        print(f"GET on the idle agent: {summary(idle)}")
        for name, oid, expected in walks:
            result = timed_walk(agent, ".".join(map(str, oid)), 50, None, workdir)
            rows = result.varbinds // 8 if name.startswith("profile") or "stats" in name \
                else result.varbinds
            print(f"walk {name}: {result.varbinds} varbinds ({rows} rows, expected {expected}) "
                  f"in {result.wall_s:.2f} s wall, {result.cpu_s:.2f} s agent CPU")
            if rows != expected:
                sys.exit(f"walk of {name} is incomplete")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--qossnmpd", type=Path, required=True)
    parser.add_argument("--profiles", type=int, default=100000)
    parser.add_argument("--interfaces", type=int, default=50000)
    parser.add_argument("--only", choices=["policing", "ifpolicer"])
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="policing-bench-") as tmp:
        workdir = Path(tmp)
        if args.only in (None, "policing"):
            n = args.profiles
            print(f"== policing: {n} profiles, {n} instances", flush=True)
            run(args.qossnmpd, policing_state(n),
                ["PolicingProfileTableSm", "PolicerInstanceTableSm", "IfPolicerInStatsTableSm",
                 "IfPolicerOutStatsTableSm"],
                (*PROFILE_TABLE, 1, 2, 11, *b"prof-000000"),
                [("profile table", PROFILE_TABLE, n), ("instance table", INSTANCE_TABLE, n)],
                workdir)
        if args.only in (None, "ifpolicer"):
            n = args.interfaces
            channels = n // 10
            print(f"== ifpolicer: {n} interfaces ({channels} port channels of 4), in and out",
                  flush=True)
            run(args.qossnmpd, ifpolicer_state(n),
                ["PolicingProfileTableSm", "PolicerInstanceTableSm", "IfPolicerInStatsTableSm",
                 "IfPolicerOutStatsTableSm"],
                (*IN_TABLE, 1, 4, 1), [("ingress stats table", IN_TABLE, n)], workdir)


if __name__ == "__main__":
    main()
