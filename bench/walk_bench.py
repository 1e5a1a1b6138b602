#!/usr/bin/python3
"""Walk benchmark: the cost of a full snmpbulkwalk of veloraClassMapTable.

For each table size N it writes a state file of N class maps, starts qossnmpd on a free
loopback port (with iterator hints, and with --no-hint), runs

    snmpbulkwalk -v2c -c public -On -Cr<reps> udp:127.0.0.1:<port> <veloraClassMapTable>

and records the walk's wall time and the CPU time the agent spent on it (utime + stime from
/proc/<pid>/stat, read before and after the walk). Build qossnmpd in Release first.

    /usr/bin/python3 bench/walk_bench.py --qossnmpd build-e2e/bin/qossnmpd
    /usr/bin/python3 bench/walk_bench.py --sizes 10000 100000 --no-hint-sizes 10000 \\
        --no-hint-timeout 600

A walk that ignores the hint is quadratic in N: without hints only the sizes in
--no-hint-sizes are walked (default 10000), each cut after --no-hint-timeout seconds; a cut
walk is reported as such, with the time it had run.
"""

from __future__ import annotations

import argparse
import json
import os
import sys
import tempfile
from pathlib import Path

from benchlib import Agent, Result, enterprise_oid, median_by_wall, timed_walk

REPO = Path(__file__).resolve().parents[1]
CLASS_MAP_TABLE = enterprise_oid(3, 13, 1, 1)


def write_state(path: Path, rows: int, static: bool) -> None:
    # Ids of different lengths; QoS and control-plane maps, and with `static` every third map a
    # qosStatic one (served as a QoS map).
    types = ("qos", "controlPlane", "qosStatic") if static else ("qos", "controlPlane", "qos")
    maps = [{"id": f"cm{i:x}" if i % 3 else f"class-map-{i}",
             "type": types[i % 3],
             "name": f"class map number {i}",
             "matchCondition": ("any", "all")[i % 2]} for i in range(rows)]
    path.write_text(json.dumps({"classMaps": maps}))


def run_once(qossnmpd: Path, workdir: Path, rows: int, hint: bool, reps: int,
             timeout: float | None, static: bool) -> Result:
    state = workdir / f"state-{rows}.json"
    if not state.exists():
        write_state(state, rows, static)
    with Agent(qossnmpd, state, workdir, hint=hint) as agent:
        walk = timed_walk(agent, CLASS_MAP_TABLE, reps, timeout, workdir)
    return Result(rows, hint, -1 if walk.cut else walk.varbinds, walk.wall_s, walk.cpu_s,
                  walk.cut)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--qossnmpd", type=Path,
                        default=Path(os.environ.get("QOSSNMPD", REPO / "build/bin/qossnmpd")))
    parser.add_argument("--sizes", type=int, nargs="+", default=[10_000, 100_000])
    parser.add_argument("--no-hint-sizes", type=int, nargs="*", default=[10_000],
                        help="sizes also walked with --no-hint (quadratic; default 10000)")
    parser.add_argument("--no-hint-timeout", type=float, default=600,
                        help="seconds after which a walk without hints is cut")
    parser.add_argument("--timeout", type=float, default=600,
                        help="seconds after which a walk with hints is cut")
    parser.add_argument("--reps", type=int, default=50, help="GETBULK max-repetitions")
    parser.add_argument("--runs", type=int, default=3, help="runs per case; the median is kept")
    parser.add_argument("--with-static", action="store_true",
                        help="make every third class map a qosStatic one")
    args = parser.parse_args()

    results: list[Result] = []
    with tempfile.TemporaryDirectory(prefix="qossnmp-bench-") as tmp:
        for rows in args.sizes:
            cases = [(True, args.timeout)]
            if rows in args.no_hint_sizes:
                cases.append((False, args.no_hint_timeout))
            for hint, timeout in cases:
                count = 1 if (not hint and rows > 10_000) else args.runs
                result = median_by_wall([run_once(args.qossnmpd, Path(tmp), rows, hint,
                                                  args.reps, timeout, args.with_static)
                                         for _ in range(count)])
                results.append(result)
                print(f"# {rows} rows, {'hint' if hint else 'no hint'}: "
                      f"{result.wall_s:.3f} s wall, {result.cpu_s:.2f} s agent CPU"
                      f"{' (cut)' if result.cut else ''}", file=sys.stderr, flush=True)

    print(f"snmpbulkwalk -Cr{args.reps} of veloraClassMapTable, "
          f"{'qos, controlPlane and qosStatic' if args.with_static else 'qos and controlPlane'}"
          f" class maps (median of {args.runs} runs; one run for walks without hints above "
          f"10000 rows)\n")
    print(f"| {'rows':>7} | {'iterator':<8} | {'varbinds':>8} | {'wall s':>8} | "
          f"{'agent CPU s':>11} |")
    print(f"|{'-' * 9}|{'-' * 10}|{'-' * 10}|{'-' * 10}|{'-' * 13}|")
    for r in results:
        varbinds = "cut" if r.cut else str(r.varbinds)
        wall = f">{r.wall_s:.1f}" if r.cut else f"{r.wall_s:.3f}"
        print(f"| {r.rows:>7} | {'hint' if r.hint else 'no hint':<8} | {varbinds:>8} | "
              f"{wall:>8} | {r.cpu_s:>11.2f} |")

    by_case = {(r.rows, r.hint): r for r in results}
    print()
    small, large, slow = (by_case.get((10_000, True)), by_case.get((100_000, True)),
                          by_case.get((10_000, False)))
    if small and slow:
        qualifier = "at least " if slow.cut else ""
        print(f"10000 rows: hints make the walk {qualifier}{slow.wall_s / small.wall_s:.1f}x "
              f"faster (wall), {qualifier}{slow.cpu_s / max(small.cpu_s, 0.01):.1f}x less "
              f"agent CPU")
    if small and large:
        qualifier = "at least " if large.cut else ""
        print(f"100000 rows with hints cost {qualifier}{large.wall_s / small.wall_s:.1f}x the "
              f"10000-row walk (wall), {qualifier}{large.cpu_s / max(small.cpu_s, 0.01):.1f}x "
              f"(agent CPU)")
    for r in results:
        if r.cut:
            limit = args.timeout if r.hint else args.no_hint_timeout
            print(f"the {r.rows}-row walk {'with' if r.hint else 'without'} hints was cut after "
                  f"{limit:.0f} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
