#!/usr/bin/python3
"""Walk floor benchmark: a full walk of a table served by qossnmpd next to the same walk of the
floor, net-snmp's own table iterator with trivial callbacks (bench/walk_floor.cpp).

For each table and size it writes a state file, starts qossnmpd on it (and waits until its
table Sms are ready), then the floor on the same file, checks that a walk of each returns the
expected number of varbinds and the same OIDs (values may differ), and then alternates
--runs walks (qossnmpd, floor, qossnmpd, ...) of

    snmpbulkwalk -v2c -c public -On -Cr<reps> udp:127.0.0.1:<port> <table>

recording each walk's wall time and the CPU time the agent spent on it (utime + stime from
/proc/<pid>/stat, read before and after the walk; counted in 10 ms clock ticks). Prints a
markdown table: per table and size, the median wall time (of the walk with the median wall
time) and the median agent CPU time of each agent, qossnmpd's ratios of these medians to the
floor's, and the median of the wall ratios of each alternation's pair of walks (a slow spell of
a shared machine that spans a pair cancels out there). One walk runs at a time. Tables:

  veloraClassMapTable          N class maps (bench/walk_bench.py's state file), 2 columns
  veloraPolicingProfileTable   N policer profiles and N instances, 8 columns
  veloraIfPolicerInStatsTable  N interfaces with an ingress and an egress policer, a tenth of
                               them port channels of four members: N rows, 8 columns

Without --floor the floor is compiled into a temporary directory first:

    g++ -O2 -std=c++20 bench/walk_floor.cpp -o /tmp/walk_floor -lnetsnmpagent -lnetsnmp
    /usr/bin/python3 bench/walk_floor_bench.py --qossnmpd build-release/bin/qossnmpd \\
        --floor /tmp/walk_floor
    /usr/bin/python3 bench/walk_floor_bench.py --tables veloraClassMapTable --sizes 10000 100000

Build qossnmpd in Release first.
"""

from __future__ import annotations

import argparse
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path
from typing import Callable

from benchlib import (ENTERPRISE_ARC, Agent, WalkResult, enterprise_oid, free_udp_port,
                      median_by_wall, timed_walk)
from policing_bench import ifpolicer_state, policing_state, ready_times
from walk_bench import write_state

REPO = Path(__file__).resolve().parents[1]
FLOOR_SOURCE = REPO / "bench" / "walk_floor.cpp"
SMS = 4  # qossnmpd's table Sms, each logs "ready after" once its table is complete
SMS_TIMEOUT_S = 600
TARGET_RATIO = 1.1


@dataclass
class Table:
    oid: str
    columns: int
    write: Callable[[Path, int], None]  # writes a state file whose table has N rows


def write_json(make: Callable[[int], dict]) -> Callable[[Path, int], None]:
    return lambda path, rows: path.write_text(json.dumps(make(rows)))


TABLES = {
    "veloraClassMapTable": Table(enterprise_oid(3, 13, 1, 1), 2,
                                 lambda path, rows: write_state(path, rows, False)),
    "veloraPolicingProfileTable": Table(enterprise_oid(3, 42, 1, 1), 8,
                                        write_json(policing_state)),
    "veloraIfPolicerInStatsTable": Table(enterprise_oid(3, 43, 1, 1), 8,
                                         write_json(ifpolicer_state)),
}


class Floor(Agent):
    """The floor serving `table` of `state` on a free loopback port (benchlib's Agent starts,
    waits for and stops it; only its command line and ready line differ)."""

    def __init__(self, floor: Path, table: str, state: Path, workdir: Path):
        # Agent.__init__ builds qossnmpd's command line; set what __enter__/__exit__ use instead.
        self.wait_for = b"walk_floor: serving"
        self.port = free_udp_port()
        self.argv = [str(floor), "--table", table, "--state", str(state), "--listen",
                     f"udp:127.0.0.1:{self.port}", "--enterprise", str(ENTERPRISE_ARC)]
        self.log_path = workdir / "walk_floor.log"
        self.process = None


def compile_floor(workdir: Path) -> Path:
    binary = workdir / "walk_floor"
    command = ["nice", "-n", "10", "g++", "-O2", "-std=c++20", str(FLOOR_SOURCE), "-o",
               str(binary), "-lnetsnmpagent", "-lnetsnmp"]
    print(f"# {' '.join(command)}", file=sys.stderr, flush=True)
    subprocess.run(command, check=True)
    return binary


def wait_for_sms(agent: Agent) -> None:
    deadline = time.monotonic() + SMS_TIMEOUT_S
    while len(ready_times(agent.log_path)) < SMS:
        if agent.process.poll() is not None or time.monotonic() > deadline:
            sys.exit(f"qossnmpd's Sms did not get ready:\n{agent.log_path.read_text()}")
        time.sleep(0.05)


def walked_oids(workdir: Path) -> list[bytes]:
    """The OIDs of the varbinds of the last walk (timed_walk's output file)."""
    with open(workdir / "walk.out", "rb") as out:
        return [line.split(b" ", 1)[0] for line in out
                if line.startswith(b".1.3.6.") and b"No more variables" not in line]


def checked_walk(agent: Agent, name: str, oid: str, expected: int, reps: int, timeout: float,
                 workdir: Path) -> list[bytes]:
    result = timed_walk(agent, oid, reps, timeout, workdir)
    if result.cut or result.varbinds != expected:
        sys.exit(f"{name}: the walk of {oid} returned {result.varbinds} varbinds"
                 f"{' before the cut' if result.cut else ''}, expected {expected}")
    return walked_oids(workdir)


@dataclass
class Row:
    table: str
    rows: int
    qossnmpd: list[WalkResult]
    floor: list[WalkResult]


def alternate(name: str, rows: int, agents: dict[str, Agent], runs: int, reps: int,
              timeout: float, workdir: Path, swap: bool = False) -> dict[str, list[WalkResult]]:
    """Checks that a walk of table `name` of each of `agents` (by label) returns the expected
    varbinds and the same OIDs, then walks them in turn `runs` times, in reverse order every
    other round when `swap`; each agent's walks by label."""
    table = TABLES[name]
    expected = rows * table.columns
    labels = list(agents)
    served = [checked_walk(agents[label], label, table.oid, expected, reps, timeout, workdir)
              for label in labels]
    for label, oids in zip(labels[1:], served[1:]):
        if oids != served[0]:
            sys.exit(f"{name}: the {label}'s walk returned other OIDs than {labels[0]}'s")
    print(f"# {name}, {rows} rows: all return the same {expected} OIDs",
          file=sys.stderr, flush=True)
    results: dict[str, list[WalkResult]] = {label: [] for label in labels}
    for run_number in range(runs):
        for label in (labels[::-1] if swap and run_number % 2 else labels):
            walk = timed_walk(agents[label], table.oid, reps, timeout, workdir)
            if walk.cut or walk.varbinds != expected:
                sys.exit(f"{name}: a walk of {label} returned {walk.varbinds} varbinds, "
                         f"expected {expected}")
            results[label].append(walk)
            print(f"# {name}, {rows} rows, run {run_number + 1}, {label}: "
                  f"{walk.wall_s:.3f} s wall, {walk.cpu_s:.2f} s agent CPU",
                  file=sys.stderr, flush=True)
    return results


def run(qossnmpd: Path, floor: Path, name: str, rows: int, runs: int, reps: int,
        timeout: float, workdir: Path) -> Row:
    state = workdir / f"{name}-{rows}.json"
    TABLES[name].write(state, rows)
    with Agent(qossnmpd, state, workdir) as agent:
        wait_for_sms(agent)
        with Floor(floor, name, state, workdir) as base:
            results = alternate(name, rows, {"qossnmpd": agent, "floor": base}, runs, reps,
                                timeout, workdir)
    state.unlink()
    return Row(name, rows, results["qossnmpd"], results["floor"])


def medians(walks: list[WalkResult]) -> tuple[float, float]:
    """The wall time of the walk with the median wall time, and the median agent CPU time."""
    return median_by_wall(walks).wall_s, statistics.median(w.cpu_s for w in walks)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--qossnmpd", type=Path,
                        default=Path(os.environ.get("QOSSNMPD",
                                                    REPO / "build-release/bin/qossnmpd")))
    parser.add_argument("--floor", type=Path,
                        help="the compiled bench/walk_floor.cpp (default: compile it)")
    parser.add_argument("--tables", nargs="+", choices=list(TABLES), default=list(TABLES))
    parser.add_argument("--sizes", type=int, nargs="+", default=[100_000])
    parser.add_argument("--runs", type=int, default=5,
                        help="walks of each agent, alternating; the median is kept")
    parser.add_argument("--reps", type=int, default=50, help="GETBULK max-repetitions")
    parser.add_argument("--timeout", type=float, default=600,
                        help="seconds after which a walk is cut (and the benchmark fails)")
    args = parser.parse_args()
    if not args.qossnmpd.exists():
        sys.exit(f"{args.qossnmpd} does not exist: build qossnmpd in Release first")

    results: list[Row] = []
    with tempfile.TemporaryDirectory(prefix="walk-floor-bench-") as tmp:
        workdir = Path(tmp)
        floor = args.floor if args.floor else compile_floor(workdir)
        if not floor.exists():
            sys.exit(f"{floor} does not exist (compile bench/walk_floor.cpp, see its header)")
        for name in args.tables:
            for rows in args.sizes:
                results.append(run(args.qossnmpd, floor, name, rows, args.runs, args.reps,
                                   args.timeout, workdir))

    print(f"snmpbulkwalk -v2c -On -Cr{args.reps} of a whole table, qossnmpd and the floor "
          f"(net-snmp's table iterator with trivial callbacks) alternating; median of "
          f"{args.runs} walks each\n")
    print("| table | rows | qossnmpd wall s | qossnmpd CPU s | floor wall s | floor CPU s "
          "| wall ratio | CPU ratio | paired wall ratio |")
    print("|---|---:|---:|---:|---:|---:|---:|---:|---:|")
    for r in results:
        q_wall, q_cpu = medians(r.qossnmpd)
        f_wall, f_cpu = medians(r.floor)
        cpu_ratio = f"{q_cpu / f_cpu:.2f}" if f_cpu > 0 else "-"
        paired = statistics.median(q.wall_s / f.wall_s for q, f in zip(r.qossnmpd, r.floor))
        print(f"| {r.table} | {r.rows} | {q_wall:.3f} | {q_cpu:.2f} | {f_wall:.3f} | "
              f"{f_cpu:.2f} | {q_wall / f_wall:.2f} | {cpu_ratio} | {paired:.2f} |")
    print()
    for r in results:
        ratio = medians(r.qossnmpd)[0] / medians(r.floor)[0]
        verdict = "within" if ratio <= TARGET_RATIO else "above"
        print(f"{r.table}, {r.rows} rows: qossnmpd's walk costs {ratio:.2f}x the floor's "
              f"(wall), {verdict} {TARGET_RATIO}x")
    return 0


if __name__ == "__main__":
    sys.exit(main())
