#!/usr/bin/python3
"""Start-up against its floor: from starting qossnmpd until all four policing table Sms are
ready, beside bench/floor_ingest.cpp (read the file, one DOM parse, the four tables as
std::maps) on the same file, alternating, in one run.

For each scenario and size it writes a state file (policing: N policer profiles and N policer
instances; ifpolicer: N interfaces with an ingress and an egress policer, a tenth of them port
channels of four members), then runs the floor program and the agent --runs times each, in
turn. The agent's time is wall time from its start until its log holds the four "Sm ready after"
lines (the tables are complete then; no request is sent); the floor's is its own wall time
from start to exit. Prints the medians and their ratio. Build qossnmpd in Release first; the
floor program is compiled into a temporary directory unless --floor names a binary.

    cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release && cmake --build build-release -j2 --target qossnmpd
    /usr/bin/python3 bench/start_floor_bench.py --qossnmpd build-release/bin/qossnmpd \\
        --sizes 100000 1000000 --scenarios policing ifpolicer
"""

from __future__ import annotations

import argparse
import json
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from benchlib import Agent
from policing_bench import ifpolicer_state, policing_state, ready_times

REPO = Path(__file__).resolve().parents[1]
SMS = 4
TIMEOUT_S = 1800


def agent_seconds(qossnmpd: Path, state: Path, workdir: Path) -> float:
    """Wall seconds from the agent's start until its four table Sms are ready."""
    start = time.monotonic()
    with Agent(qossnmpd, state, workdir, wait_for=b"answering on") as agent:
        while len(ready_times(agent.log_path)) < SMS:
            if agent.process.poll() is not None or time.monotonic() - start > TIMEOUT_S:
                sys.exit(f"{qossnmpd}: the Sms did not get ready:\n{agent.log_path.read_text()}")
            time.sleep(0.02)
        return time.monotonic() - start


def floor_seconds(floor: Path, state: Path) -> float:
    start = time.monotonic()
    subprocess.run([str(floor), str(state)], check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - start


def compile_floor(workdir: Path) -> Path:
    binary = workdir / "floor_ingest"
    subprocess.run(["g++", "-O2", "-std=c++20", str(REPO / "bench" / "floor_ingest.cpp"), "-o",
                    str(binary)], check=True)
    return binary


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--qossnmpd", type=Path, required=True)
    parser.add_argument("--floor", type=Path, help="a compiled bench/floor_ingest.cpp")
    parser.add_argument("--sizes", type=int, nargs="+", default=[100000])
    parser.add_argument("--scenarios", nargs="+", choices=["policing", "ifpolicer"],
                        default=["policing", "ifpolicer"])
    parser.add_argument("--runs", type=int, default=3)
    args = parser.parse_args()
    print("| scenario | size | file | qossnmpd: start → 4 Sms ready | floor | ratio |")
    print("|---|---:|---:|---:|---:|---:|")
    with tempfile.TemporaryDirectory(prefix="start-floor-") as tmp:
        workdir = Path(tmp)
        floor = args.floor or compile_floor(workdir)
        for scenario in args.scenarios:
            make = policing_state if scenario == "policing" else ifpolicer_state
            for size in args.sizes:
                state = workdir / f"{scenario}-{size}.json"
                state.write_text(json.dumps(make(size)))
                agent_runs, floor_runs = [], []
                for _ in range(args.runs):
                    floor_runs.append(floor_seconds(floor, state))
                    agent_runs.append(agent_seconds(args.qossnmpd, state, workdir))
                agent, base = statistics.median(agent_runs), statistics.median(floor_runs)
                print(f"| {scenario} | {size:,} | {state.stat().st_size / 1e6:.0f} MB | "
                      f"{agent:.2f} s | {base:.2f} s | {agent / base:.2f}× |", flush=True)
                print(f"#   agent runs {', '.join(f'{s:.2f}' for s in agent_runs)}; floor runs "
                      f"{', '.join(f'{s:.2f}' for s in floor_runs)}", file=sys.stderr,
                      flush=True)
                state.unlink()
    return 0


if __name__ == "__main__":
    sys.exit(main())
