"""Helpers shared by the walk benchmarks: a qossnmpd on a free loopback port, the agent's CPU
time, and a timed snmpbulkwalk that can be cut after a time limit.

A benchmark writes its state file, then

    with Agent(qossnmpd, state, workdir, hint=False) as agent:
        result = timed_walk(agent, TABLE_OID, reps=50, timeout=600)

`TABLE_OID` is built with enterprise_oid(), from $VELORA_ENTERPRISE_ARC (default 32473).
`result` holds the varbinds the walk returned (all of them, or those returned before the cut),
its wall time and the CPU time (utime + stime) the agent spent meanwhile.
"""

from __future__ import annotations

import os
import shutil
import signal
import socket
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

CLK_TCK = os.sysconf("SC_CLK_TCK")
# The enterprise arc the agent was built with (CMake's VELORA_ENTERPRISE_ARC); a vendor build
# exports its own number.
ENTERPRISE_ARC = int(os.environ.get("VELORA_ENTERPRISE_ARC", "32473"))


def enterprise_oid(*arcs: int) -> str:
    """The numeric OID enterprises.E followed by `arcs`, as the net-snmp tools take it."""
    return ".1.3.6.1.4.1." + ".".join(str(arc) for arc in (ENTERPRISE_ARC, *arcs))
READY_TIMEOUT_S = 120


def free_udp_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def cpu_seconds(pid: int) -> float:
    """utime + stime of a process, in seconds."""
    # Fields after the parenthesised command name; utime and stime are fields 14 and 15.
    fields = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / CLK_TCK


class Agent:
    """qossnmpd serving `state` on a free loopback port, with or without iterator hints."""

    def __init__(self, qossnmpd: Path, state: Path, workdir: Path, hint: bool = True,
                 extra_args: tuple[str, ...] = (), wait_for: bytes = b"qossnmpd: ready"):
        """wait_for: the log text that tells the agent is up ("qossnmpd: ready": the state
        file is applied; "answering on": it listens, the file may still be loading)."""
        self.wait_for = wait_for
        self.port = free_udp_port()
        self.argv = [str(qossnmpd), "--state", str(state), "--listen",
                     f"udp:127.0.0.1:{self.port}", *extra_args]
        if not hint:
            self.argv.append("--no-hint")
        self.log_path = workdir / "qossnmpd.log"
        self.process: subprocess.Popen | None = None

    @property
    def endpoint(self) -> str:
        return f"udp:127.0.0.1:{self.port}"

    @property
    def pid(self) -> int:
        assert self.process is not None
        return self.process.pid

    def __enter__(self) -> "Agent":
        self._log = open(self.log_path, "wb")
        sys.stderr.write(f"# {' '.join(self.argv)}\n")
        self.process = subprocess.Popen(self.argv, stdout=self._log, stderr=subprocess.STDOUT,
                                        stdin=subprocess.DEVNULL)
        deadline = time.monotonic() + READY_TIMEOUT_S
        while self.wait_for not in self.log_path.read_bytes():
            if self.process.poll() is not None or time.monotonic() > deadline:
                self.__exit__(None, None, None)
                sys.exit(f"qossnmpd did not start:\n{self.log_path.read_text()}")
            time.sleep(0.05)
        return self

    def __exit__(self, *exc) -> None:
        assert self.process is not None
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(30)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self._log.close()


@dataclass
class WalkResult:
    varbinds: int      # returned by the agent; before the cut when `cut`
    wall_s: float
    cpu_s: float       # agent CPU time during the walk
    cut: bool


def timed_walk(agent: Agent, oid: str, reps: int, timeout: float | None,
               workdir: Path) -> WalkResult:
    """snmpbulkwalk -v2c -c public -On -Cr<reps> of `oid`, cut after `timeout` seconds.

    The walk's output goes to a file, line-buffered, so that a cut walk still tells how many
    varbinds it had received."""
    walk = ["snmpbulkwalk", "-m", "", "-M", "/nonexistent", "-v2c", "-c", "public", "-On",
            f"-Cr{reps}", "-t", "30", "-r", "0", agent.endpoint, oid]
    if shutil.which("stdbuf"):
        walk = ["stdbuf", "-oL", *walk]
    out_path = workdir / "walk.out"
    cpu_before = cpu_seconds(agent.pid)
    start = time.monotonic()
    cut = False
    with open(out_path, "wb") as out:
        client = subprocess.Popen(walk, stdout=out, stderr=subprocess.PIPE,
                                  stdin=subprocess.DEVNULL)
        try:
            _, stderr = client.communicate(timeout=timeout)
            if client.returncode != 0:
                sys.exit(f"{' '.join(walk)} exited {client.returncode}:\n{stderr.decode()}")
        except subprocess.TimeoutExpired:
            cut = True
            client.kill()
            client.communicate()
    wall = time.monotonic() - start
    cpu = cpu_seconds(agent.pid) - cpu_before
    with open(out_path, "rb") as out:
        varbinds = sum(1 for line in out
                       if line.startswith(b".1.3.6.") and b"No more variables" not in line)
    return WalkResult(varbinds, wall, cpu, cut)


@dataclass
class Result:
    """One benchmarked walk: table size, whether hints were used, and what it cost."""
    rows: int
    hint: bool
    varbinds: int
    wall_s: float
    cpu_s: float
    cut: bool


def median_by_wall(results: list) -> object:
    ordered = sorted(results, key=lambda r: r.wall_s)
    return ordered[len(ordered) // 2]
