#!/usr/bin/env python3
"""What SNMP clients see while the switch's state changes: reloads, bursts of reloads and the
start on a large state file, on a Release build of qossnmpd.

  reload   --profiles N policing profiles and as many policer instances (default 100,000): a
           SIGHUP after 0, 1, 1,000 and all N of the profiles changed, GETs of a QoS class map
           row sent back to back all the while (from a process of their own); then one profile
           changed after the state reader was killed (the new reader's whole file is compared
           with the state in force). Reported per reload: the time from SIGHUP to "reloaded"
           (read, compare and apply), the CPU time of the agent's thread spent on it (the loader
           thread's apart), the time from SIGHUP until a GET sees the change, and the GETs'
           latency meanwhile.
  burst    --class-maps N class maps (default 5,000): 20 SIGHUPs a second for 10 s, each after
           renaming one class map; the GET rate and latency during the burst beside the idle
           agent's, and how many reloads were applied.
  start    the agent started on the reload scenario's file: when it first answers a GET, when
           the state file is applied ("ready on"), when the tables are complete, and the GETs'
           latency during the scans beside the idle agent's.

    cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release
    cmake --build build-release -j2 --target qossnmpd
    /usr/bin/python3 bench/reload_bench.py --qossnmpd build-release/bin/qossnmpd --profiles 1000000
"""

from __future__ import annotations

import argparse
import json
import os
import signal
import sys
import tempfile
import multiprocessing
import struct
import time
from pathlib import Path

from benchlib import Agent
from policing_bench import (PROFILE_TABLE, Getter, get_request, policing_state, ready_times,
                            summary)

ARC = int(os.environ.get("VELORA_ENTERPRISE_ARC", "32473"))
CLASS_MAP_NAME = (1, 3, 6, 1, 4, 1, ARC, 3, 13, 1, 1, 1, 3)
SYS_UP_TIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)
TABLE_SMS = 4


def profile_cir_oid(name: str):
    return (*PROFILE_TABLE, 1, 2, len(name), *name.encode())


# The row the latency probes GET: a QoS class map row that exists from the moment the state file
# is applied. (A GET of a row that does not exist walks the table from its first row, by design
# of the table layer: it would measure the table's size, not the agent's responsiveness.)
PROBE_CLASS_MAP = {"id": "cm-probe", "type": "qos", "name": "probe"}
PROBE_OID = (*CLASS_MAP_NAME, len(PROBE_CLASS_MAP["id"]), *PROBE_CLASS_MAP["id"].encode(), 2)


def probed_policing_state(n: int) -> dict:
    """policing_state(n) with the probe's class map."""
    return {**policing_state(n), "classMaps": [PROBE_CLASS_MAP]}


def thread_cpu_ns(pid: int, tid: int) -> int:
    """Time the thread has run on a CPU, in nanoseconds (schedstat's first field)."""
    return int(Path(f"/proc/{pid}/task/{tid}/schedstat").read_text().split()[0])


def probe(port: int, oid, samples_path: str, paused, stopping) -> None:
    """GETs back to back until `stopping` (none while `paused`), each appended to the samples
    file as (send time, latency; -1 for a timeout)."""
    getter = Getter(port, oid)
    with open(samples_path, "ab", buffering=0) as out:
        while not stopping.is_set():
            if paused.is_set():
                time.sleep(0.001)
                continue
            sent = time.monotonic()
            latency = getter.one()
            out.write(struct.pack("dd", sent, -1.0 if latency is None else latency))


class Prober:
    """probe() in a process of its own: the benchmark's own work (writing a 20 MB state file
    holds Python's interpreter lock for a second) must not delay the GETs or their timing."""

    def __init__(self, port: int, oid, workdir: Path):
        self.path = workdir / f"samples-{port}-{time.monotonic_ns()}.bin"
        self.paused = multiprocessing.Event()
        self.stopping = multiprocessing.Event()
        self.process = multiprocessing.Process(
            target=probe, args=(port, oid, str(self.path), self.paused, self.stopping),
            daemon=True)

    def start(self) -> None:
        self.process.start()

    def stop(self) -> None:
        self.stopping.set()
        self.process.join()

    def between(self, start: float, end: float) -> list[float | None]:
        data = self.path.read_bytes() if self.path.exists() else b""
        samples = struct.iter_unpack("dd", data[:len(data) - len(data) % 16])
        return [None if latency < 0 else latency for sent, latency in samples
                if start <= sent < end]


def kill_state_reader(agent_pid: int) -> None:
    """Kills the agent's state reader and waits until it has ended."""
    for entry in Path("/proc").iterdir():
        try:
            if (entry.name.isdigit() and
                    int((entry / "stat").read_text().rsplit(")", 1)[1].split()[1]) == agent_pid and
                    b"--state-reader" in (entry / "cmdline").read_bytes()):
                os.kill(int(entry.name), signal.SIGKILL)
                while (entry / "stat").exists() and \
                        (entry / "stat").read_text().rsplit(")", 1)[1].split()[0] != "Z":
                    time.sleep(0.001)
                return
        except (OSError, IndexError, ValueError):
            continue
    sys.exit("the agent has no state reader")


def wait_log(agent: Agent, text: str, count: int, timeout: float = 600) -> float:
    deadline = time.monotonic() + timeout
    while agent.log_path.read_text(errors="replace").count(text) < count:
        if time.monotonic() > deadline:
            sys.exit(f"no {text!r} #{count}:\n{agent.log_path.read_text()[-3000:]}")
        time.sleep(0.001)
    return time.monotonic()


def cir_of(getter: Getter) -> int | None:
    """The number a GET answers, or None."""
    getter.request_id = (getter.request_id + 1) & 0x7FFFFFFF
    getter.sock.send(get_request(getter.request_id, getter.oid))
    try:
        data = getter.sock.recv(65535)
    except OSError:
        return None
    # The varbind's value ends the message: Counter64 (0x46), Gauge32 (0x42) or INTEGER (0x02),
    # its length, its bytes.
    for tag in (0x46, 0x42, 0x02):
        for length in range(1, 10):
            if len(data) > length + 1 and data[-length - 2] == tag and data[-length - 1] == length:
                return int.from_bytes(data[-length:], "big")
    return None


def reload_scenario(qossnmpd: Path, n: int, workdir: Path) -> None:
    state = probed_policing_state(n)
    path = workdir / "state.json"
    path.write_text(json.dumps(state))
    print(f"== reload: {n} profiles, {n} instances ({path.stat().st_size / 1e6:.1f} MB)",
          flush=True)
    # StateSim/1 traces "Applying N key edits" when a read's result reaches the agent's thread.
    with Agent(qossnmpd, path, workdir, extra_args=("--trace", "StateSim/1")) as agent:
        wait_log(agent, "Sm ready after", TABLE_SMS)
        prober = Prober(agent.port, PROBE_OID, workdir)
        prober.start()
        time.sleep(1.0)
        idle = prober.between(time.monotonic() - 1.0, time.monotonic())
        print(f"  idle agent: {summary(idle)}")
        watcher = Getter(agent.port, profile_cir_oid(f"prof-{n - 1:06d}"))
        reloads = 0

        def reload(changed: int) -> tuple[float, float, float, float | None, float]:
            """Changes `changed` profiles and reloads: (the SIGHUP's time, seconds to
            "reloaded", seconds to the result reaching the agent's thread, seconds to the change
            in a GET, agent thread CPU ms)."""
            nonlocal reloads
            for i in range(n - changed, n):
                state["policerProfiles"][i]["cir"] += 1
            expected_cir = state["policerProfiles"][n - 1]["cir"]
            path.write_text(json.dumps(state))
            cpu_before = thread_cpu_ns(agent.pid, agent.pid)
            applying = agent.log_path.read_text(errors="replace").count("Applying")
            start = time.monotonic()
            agent.process.send_signal(signal.SIGHUP)
            arrived = wait_log(agent, "Applying", applying + 1) - start
            visible = None
            if changed:
                while cir_of(watcher) != expected_cir:
                    if time.monotonic() - start > 600:
                        sys.exit("the change never became visible")
                visible = time.monotonic() - start
            reloads += 1
            applied = wait_log(agent, "qossnmpd: reloaded", reloads) - start
            cpu_ms = (thread_cpu_ns(agent.pid, agent.pid) - cpu_before) / 1e6
            return start, applied, arrived, visible, cpu_ms

        def report(label: str, unprobed, probed) -> None:
            _, applied, arrived, _, cpu_ms = unprobed
            sighup, applied2, arrived2, visible, _ = probed
            # From the SIGHUP: writing a large file takes the benchmark seconds before it.
            during = prober.between(sighup, sighup + applied2 + 0.2)
            shown = (f"visible in a GET {visible:.3f} s after the SIGHUP "
                     f"({(visible - arrived2) * 1000:.1f} ms after the read), "
                     if visible is not None else "")
            print(f"  {label}: read and compared in {arrived:.3f} s, applied after "
                  f"{applied:.3f} s, agent thread CPU {cpu_ms:.1f} ms (no GETs); under GETs: "
                  f"{shown}{summary(during)}", flush=True)

        for changed in (0, 1, 1000, n):
            # The agent thread's CPU with nothing else to do; then the same change under GETs.
            prober.paused.set()
            time.sleep(0.1)
            unprobed = reload(changed)
            prober.paused.clear()
            probed = reload(changed)
            time.sleep(0.2)
            report(f"{changed} changed", unprobed, probed)

        # The same for a reader started afresh, whose first read is the whole file.
        prober.paused.set()
        time.sleep(0.1)
        kill_state_reader(agent.pid)
        unprobed = reload(1)
        prober.paused.clear()
        kill_state_reader(agent.pid)
        probed = reload(1)
        time.sleep(0.2)
        report("1 changed, the state reader killed before", unprobed, probed)
        prober.stop()


def burst_scenario(qossnmpd: Path, class_maps: int, workdir: Path) -> None:
    maps = [{"id": f"cm-{i:05d}", "type": "qos", "name": f"class map {i}"}
            for i in range(class_maps)]
    path = workdir / "burst.json"
    path.write_text(json.dumps({"classMaps": maps}))
    print(f"== burst: {class_maps} class maps, 20 SIGHUPs a second for 10 s", flush=True)
    first = maps[0]["id"].encode()
    with Agent(qossnmpd, path, workdir) as agent:
        prober = Prober(agent.port, (*CLASS_MAP_NAME, len(first), *first, 2), workdir)
        prober.start()
        time.sleep(2.0)
        now = time.monotonic()
        idle = prober.between(now - 2.0, now)
        start = time.monotonic()
        sent = 0
        while time.monotonic() - start < 10.0:
            maps[1 + sent % (class_maps - 1)]["name"] = f"renamed {sent}"
            tmp = path.with_suffix(".next")
            tmp.write_text(json.dumps({"classMaps": maps}))
            os.replace(tmp, path)
            agent.process.send_signal(signal.SIGHUP)
            sent += 1
            time.sleep(max(0.0, start + sent / 20 - time.monotonic()))
        end = time.monotonic()
        time.sleep(1.0)
        during = prober.between(start, end)
        prober.stop()
        applied = agent.log_path.read_text().count("qossnmpd: reloaded")
        print(f"  idle: {len(idle) / 2.0:.0f} GETs/s, {summary(idle)}")
        print(f"  burst: {len(during) / (end - start):.0f} GETs/s, {summary(during)}")
        print(f"  {sent} SIGHUPs, {applied} reloads applied")


def start_scenario(qossnmpd: Path, n: int, workdir: Path) -> None:
    path = workdir / "state.json"
    path.write_text(json.dumps(probed_policing_state(n)))
    print(f"== start: {n} profiles, {n} instances", flush=True)
    start = time.monotonic()
    with Agent(qossnmpd, path, workdir, wait_for=b"answering on") as agent:
        getter = Getter(agent.port, SYS_UP_TIME)
        while getter.one() is None:
            pass
        first_answer = time.monotonic() - start
        prober = Prober(agent.port, PROBE_OID, workdir)
        prober.start()
        ready = wait_log(agent, "qossnmpd: ready on", 1) - start
        complete = wait_log(agent, "Sm ready after", TABLE_SMS) - start
        time.sleep(1.0)
        now = time.monotonic()
        prober.stop()
        print(f"  first answer after {first_answer:.2f} s; state file applied after {ready:.2f} s;"
              f" tables complete after {complete:.2f} s")
        for name, seconds in ready_times(agent.log_path).items():
            print(f"    {name} ready {seconds:.2f} s after the Sms started")
        print(f"  GET while the file loads: {summary(prober.between(start, start + ready))}")
        print(f"  GET during the scans: {summary(prober.between(start + ready, start + complete))}")
        print(f"  GET on the idle agent: {summary(prober.between(start + complete, now))}")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--qossnmpd", type=Path, required=True)
    parser.add_argument("--profiles", type=int, default=100000)
    parser.add_argument("--class-maps", type=int, default=5000)
    parser.add_argument("--only", choices=["reload", "burst", "start"])
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="reload-bench-") as tmp:
        workdir = Path(tmp)
        if args.only in (None, "start"):
            start_scenario(args.qossnmpd, args.profiles, workdir)
        if args.only in (None, "reload"):
            reload_scenario(args.qossnmpd, args.profiles, workdir)
        if args.only in (None, "burst"):
            burst_scenario(args.qossnmpd, args.class_maps, workdir)


if __name__ == "__main__":
    main()
