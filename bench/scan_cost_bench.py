#!/usr/bin/python3
"""The table state machines' cost per key at growing sizes, with no requests to answer.

For each size it writes a state file (scenario policing: N policer profiles and N policer
instances; ifpolicer: N interfaces with an ingress and an egress policer, a tenth of them port
channels of four members), starts each given qossnmpd on it in turn (--runs times, alternating)
and waits, sending no request, until all four table Sms have logged "ready after": the time the
Sms took from their start to ready is their whole cost, since the agent does nothing else
meanwhile. Prints the median per size and binary, and that time per key in microseconds (per
profile + instance, or per interface with both directions). Build qossnmpd in Release first;
give two binaries to compare two builds side by side.

    /usr/bin/python3 bench/scan_cost_bench.py --qossnmpd build-release/bin/qossnmpd \\
        --sizes 10000 100000 1000000
"""

from __future__ import annotations

import argparse
import json
import statistics
import sys
import tempfile
import time
from pathlib import Path

from benchlib import Agent
from policing_bench import ifpolicer_state, policing_state, ready_times

SMS = 4
TIMEOUT_S = 900


def sms_seconds(qossnmpd: Path, state: Path, workdir: Path) -> float:
    """Seconds from the Sms' start until the last of them is ready."""
    with Agent(qossnmpd, state, workdir, wait_for=b"answering on") as agent:
        deadline = time.monotonic() + TIMEOUT_S
        while len(times := ready_times(agent.log_path)) < SMS:
            if agent.process.poll() is not None or time.monotonic() > deadline:
                sys.exit(f"{qossnmpd}: the Sms did not get ready:\n{agent.log_path.read_text()}")
            time.sleep(0.02)
        return max(times.values())


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--qossnmpd", type=Path, nargs="+", required=True)
    parser.add_argument("--sizes", type=int, nargs="+", default=[10000, 100000])
    parser.add_argument("--scenario", choices=["policing", "ifpolicer"], default="policing")
    parser.add_argument("--runs", type=int, default=3)
    args = parser.parse_args()
    make = policing_state if args.scenario == "policing" else ifpolicer_state
    print("| size | qossnmpd | Sms ready after (median) | µs per key |")
    print("|---:|---|---:|---:|")
    with tempfile.TemporaryDirectory(prefix="scan-cost-") as tmp:
        workdir = Path(tmp)
        for size in args.sizes:
            state = workdir / f"state-{size}.json"
            state.write_text(json.dumps(make(size)))
            seconds: dict[Path, list[float]] = {b: [] for b in args.qossnmpd}
            for _ in range(args.runs):
                for binary in args.qossnmpd:
                    seconds[binary].append(sms_seconds(binary, state, workdir))
            for binary, runs in seconds.items():
                median = statistics.median(runs)
                print(f"| {size:,} | {binary} | {median:.3f} s | {median / size * 1e6:.2f} |",
                      flush=True)
            state.unlink()
    return 0


if __name__ == "__main__":
    sys.exit(main())
