#!/usr/bin/env python3
"""Memory per row: the agent's resident memory once a table of N rows is complete, less that of
the agent on an empty state, divided by N; with the agent's peak (VmHWM) and the state reader's
resident memory and peak beside it (the reader keeps the last file it read, parsed).

  profile    N policer profiles, with rates and bursts (the policing profile table)
  instance   N policer instances, each naming a profile (the policer instance table)
  classmap   N QoS class maps without match rules (the class map table)
  ifpolicer  N interfaces with an ingress and an egress policer, a tenth of them port channels
             of four members (rows: interface policer entries, ingress and egress)

    cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release && cmake --build build-release -j2 --target qossnmpd
    /usr/bin/python3 bench/memory_bench.py --qossnmpd build-release/bin/qossnmpd --rows 1000000
"""

from __future__ import annotations

import argparse
import json
import os
import sys
import tempfile
import time
from pathlib import Path

from benchlib import Agent
from policing_bench import ifpolicer_state, policing_state

TABLE_SMS = 4


def status_mb(pid: int) -> dict[str, float]:
    """VmRSS and VmHWM of a process, in MB."""
    values = {}
    for line in Path(f"/proc/{pid}/status").read_text().splitlines():
        key, _, value = line.partition(":")
        if key in ("VmRSS", "VmHWM"):
            values[key] = int(value.split()[0]) / 1024
    return values


def reader_of(pid: int) -> int | None:
    """The agent's child process: its state reader."""
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                fields = Path(f"/proc/{entry}/stat").read_text().rsplit(")", 1)[1].split()
            except OSError:
                continue
            if int(fields[1]) == pid:
                return int(entry)
    return None


def settled(qossnmpd: Path, state: dict, workdir: Path, sms: int) -> tuple[dict, dict]:
    """The agent's and the reader's memory once `state` is applied and `sms` table Sms are
    ready."""
    path = workdir / "state.json"
    path.write_text(json.dumps(state))
    with Agent(qossnmpd, path, workdir) as agent:
        deadline = time.monotonic() + 1200
        while agent.log_path.read_text(errors="replace").count("Sm ready after") < sms:
            if time.monotonic() > deadline:
                sys.exit(agent.log_path.read_text()[-2000:])
            time.sleep(0.1)
        time.sleep(2.0)  # the last reload's edits are freed on the loader's thread
        return status_mb(agent.pid), status_mb(reader_of(agent.pid))


def scenario(name: str, n: int) -> tuple[dict, int]:
    if name == "profile":
        return {"policerProfiles": policing_state(n)["policerProfiles"]}, n
    if name == "instance":
        return {"policerInstances": [{"name": f"pol-{i:07d}", "profile": f"prof-{i % 64}"}
                                     for i in range(n)]}, n
    if name == "classmap":
        return {"classMaps": [{"id": f"cm-{i:07d}", "type": "qos", "name": f"class map {i}"}
                              for i in range(n)]}, n
    state = ifpolicer_state(n)
    return state, len(state["interfacePolicers"])


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--qossnmpd", type=Path, required=True)
    parser.add_argument("--rows", type=int, default=100000,
                        help="rows of each table (interfaces for ifpolicer)")
    parser.add_argument("--only", choices=["profile", "instance", "classmap", "ifpolicer"])
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="memory-bench-") as tmp:
        workdir = Path(tmp)
        empty, _ = settled(args.qossnmpd, {}, workdir, TABLE_SMS)
        print(f"empty state: agent {empty['VmRSS']:.0f} MB", flush=True)
        for name in ("profile", "instance", "classmap", "ifpolicer"):
            if args.only and name != args.only:
                continue
            state, rows = scenario(name, args.rows)
            agent, reader = settled(args.qossnmpd, state, workdir, TABLE_SMS)
            per_row = (agent["VmRSS"] - empty["VmRSS"]) * 1024 * 1024 / rows
            print(f"{name}: {rows} rows: agent {agent['VmRSS']:.0f} MB (peak "
                  f"{agent['VmHWM']:.0f} MB), {per_row:.0f} B per row; state reader "
                  f"{reader['VmRSS']:.0f} MB (peak {reader['VmHWM']:.0f} MB)", flush=True)
            del state


if __name__ == "__main__":
    main()
