#!/usr/bin/python3
"""Two builds of qossnmpd walked side by side: a change's effect on a walk, measured.

For each table it writes one state file (the tables of bench/walk_floor_bench.py), starts both
builds on it (each waits until its table Sms are ready), checks that a walk of each returns the
same OIDs, then alternates --runs pairs of walks (the first build first in odd pairs, the
second first in even ones) of

    snmpbulkwalk -v2c -c public -On -Cr<reps> udp:127.0.0.1:<port> <table>

recording wall time and the agent's CPU time as walk_floor_bench.py does. Prints per table the
median wall and CPU time of each build, their ratios (second / first), and in how many pairs the
second build's walk was the faster. Each build is a whole build tree (its qossnmpd finds its own
plug-in), for instance the commit before a change in a worktree of its own:

    git worktree add /tmp/before HEAD~1
    cmake -S /tmp/before -B /tmp/before/build-release -DCMAKE_BUILD_TYPE=Release
    cmake --build /tmp/before/build-release -j2 --target qossnmpd
    /usr/bin/python3 bench/walk_builds_bench.py /tmp/before/build-release/bin/qossnmpd \\
        build-release/bin/qossnmpd --tables veloraIfPolicerInStatsTable --runs 8
"""

from __future__ import annotations

import argparse
import contextlib
import sys
import tempfile
from pathlib import Path

from benchlib import Agent, WalkResult
from walk_floor_bench import TABLES, alternate, medians, wait_for_sms


def run(builds: list[Path], name: str, rows: int, runs: int, reps: int, timeout: float,
        workdir: Path) -> list[list[WalkResult]]:
    state = workdir / f"{name}-{rows}.json"
    TABLES[name].write(state, rows)
    with contextlib.ExitStack() as stack:
        agents = {}
        for number, build in enumerate(builds, 1):
            logs = workdir / f"build{number}"
            logs.mkdir(exist_ok=True)
            agents[f"build {number}"] = stack.enter_context(Agent(build, state, logs))
        for agent in agents.values():
            wait_for_sms(agent)
        walks = alternate(name, rows, agents, runs, reps, timeout, workdir, swap=True)
    state.unlink()
    return list(walks.values())


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("first", type=Path, help="qossnmpd of the first build (the baseline)")
    parser.add_argument("second", type=Path, help="qossnmpd of the second build")
    parser.add_argument("--tables", nargs="+", choices=list(TABLES),
                        default=["veloraIfPolicerInStatsTable"])
    parser.add_argument("--rows", type=int, default=100_000)
    parser.add_argument("--runs", type=int, default=8, help="pairs of walks")
    parser.add_argument("--reps", type=int, default=50, help="GETBULK max-repetitions")
    parser.add_argument("--timeout", type=float, default=600)
    args = parser.parse_args()
    builds = [args.first, args.second]
    for build in builds:
        if not build.exists():
            sys.exit(f"{build} does not exist: build qossnmpd in Release first")

    print(f"snmpbulkwalk -v2c -On -Cr{args.reps}, {args.rows} rows, {args.runs} alternating "
          f"pairs; medians\n")
    print("| table | first wall / CPU s | second wall / CPU s | wall ratio | CPU ratio "
          "| pairs the second won |")
    print("|---|---:|---:|---:|---:|---:|")
    with tempfile.TemporaryDirectory(prefix="walk-builds-bench-") as tmp:
        for name in args.tables:
            first, second = run(builds, name, args.rows, args.runs, args.reps, args.timeout,
                                Path(tmp))
            (w1, c1), (w2, c2) = medians(first), medians(second)
            won = sum(b.wall_s < a.wall_s for a, b in zip(first, second))
            cpu_ratio = f"{c2 / c1:.2f}" if c1 > 0 else "-"
            print(f"| {name} | {w1:.2f} / {c1:.2f} | {w2:.2f} / {c2:.2f} | {w2 / w1:.2f} | "
                  f"{cpu_ratio} | {won} of {len(first)} |", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
