#!/usr/bin/python3
"""Per-interface statistics benchmark: the cost of a full snmpbulkwalk of
veloraQosPerIntfStatsTable (six Counter64 columns per row, five index components).

For each table size N it writes a state file whose per-interface statistics table has N rows:
one QoS policy map of --classes classes applied in both directions on N / (2 x classes)
Ethernet interfaces (one row per class, direction and interface). It starts qossnmpd on a
free loopback port, with iterator hints and with --no-hint, runs

    snmpbulkwalk -v2c -c public -On -Cr<reps> udp:127.0.0.1:<port> <veloraQosPerIntfStatsTable>

and records the walk's wall time and the agent's CPU time (utime + stime, before and after).
Build qossnmpd in Release first.

    /usr/bin/python3 bench/perintf_bench.py --qossnmpd build-bench/bin/qossnmpd

Without hints a walk is quadratic in N: the sizes in --no-hint-sizes (default 10000) are
walked in full, the sizes in --no-hint-cut-sizes (default 100000) are cut after
--no-hint-timeout seconds (default 120) and reported with the varbinds returned before the cut.
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
PER_INTF_STATS_TABLE = enterprise_oid(3, 13, 1, 11)
COLUMNS = 6


def write_state(path: Path, rows: int, classes: int) -> None:
    interfaces = rows // (2 * classes)
    if interfaces * 2 * classes != rows:
        sys.exit(f"{rows} rows are not a multiple of 2 x {classes} classes")
    names = [f"Ethernet{n}" for n in range(1, interfaces + 1)]
    class_maps = [{"id": f"class-{c:02d}", "type": "qos",
                   "matches": [{"type": "dscpEcn", "dscp": c % 64}]} for c in range(classes)]
    policy = {"id": "PM-BENCH", "type": "qos", "classes": [
        {"classMap": cm["id"], "actions": [{"type": "setDscp", "value": 0}]}
        for cm in class_maps]}
    state = {
        "interfaces": [{"name": name} for name in names],
        "classMaps": class_maps,
        "policyMaps": [policy],
        "servicePolicies": [{"interface": name, "direction": direction, "policyMap": "PM-BENCH"}
                            for name in names for direction in ("input", "output")],
    }
    path.write_text(json.dumps(state))


def run_once(qossnmpd: Path, workdir: Path, rows: int, classes: int, hint: bool, reps: int,
             timeout: float | None) -> Result:
    state = workdir / f"state-{rows}.json"
    if not state.exists():
        write_state(state, rows, classes)
    with Agent(qossnmpd, state, workdir, hint=hint) as agent:
        walk = timed_walk(agent, PER_INTF_STATS_TABLE, reps, timeout, workdir)
    result = Result(rows, hint, walk.varbinds, walk.wall_s, walk.cpu_s, walk.cut)
    print(f"# {rows} rows, {'hint' if hint else 'no hint'}: {result.varbinds} varbinds, "
          f"{result.wall_s:.3f} s wall, {result.cpu_s:.2f} s agent CPU"
          f"{' (cut)' if result.cut else ''}", file=sys.stderr, flush=True)
    return result


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--qossnmpd", type=Path,
                        default=Path(os.environ.get("QOSSNMPD", REPO / "build/bin/qossnmpd")))
    parser.add_argument("--sizes", type=int, nargs="+", default=[10_000, 100_000])
    parser.add_argument("--classes", type=int, default=50, help="classes of the policy map")
    parser.add_argument("--no-hint-sizes", type=int, nargs="*", default=[10_000],
                        help="sizes also walked in full with --no-hint")
    parser.add_argument("--no-hint-cut-sizes", type=int, nargs="*", default=[100_000],
                        help="sizes also walked with --no-hint, cut after --no-hint-timeout")
    parser.add_argument("--no-hint-timeout", type=float, default=120)
    parser.add_argument("--timeout", type=float, default=600,
                        help="seconds after which any other walk is cut")
    parser.add_argument("--reps", type=int, default=50, help="GETBULK max-repetitions")
    parser.add_argument("--runs", type=int, default=3,
                        help="runs per walk with hints; the median is kept (one run without)")
    args = parser.parse_args()

    results: list[Result] = []
    with tempfile.TemporaryDirectory(prefix="qossnmp-bench-") as tmp:
        for rows in args.sizes:
            results.append(median_by_wall([
                run_once(args.qossnmpd, Path(tmp), rows, args.classes, True, args.reps,
                         args.timeout) for _ in range(args.runs)]))
            if rows in args.no_hint_sizes:
                results.append(run_once(args.qossnmpd, Path(tmp), rows, args.classes, False,
                                        args.reps, args.timeout))
            if rows in args.no_hint_cut_sizes:
                results.append(run_once(args.qossnmpd, Path(tmp), rows, args.classes, False,
                                        args.reps, args.no_hint_timeout))

    print(f"snmpbulkwalk -Cr{args.reps} of veloraQosPerIntfStatsTable, one policy map of "
          f"{args.classes} classes on both directions of N / {2 * args.classes} interfaces "
          f"(median of {args.runs} runs with hints, one run without)\n")
    print(f"| {'rows':>7} | {'iterator':<8} | {'varbinds':>14} | {'wall s':>8} | "
          f"{'agent CPU s':>11} |")
    print(f"|{'-' * 8}:|{'-' * 10}|{'-' * 15}:|{'-' * 9}:|{'-' * 12}:|")
    for r in results:
        varbinds = f"{r.varbinds} (cut)" if r.cut else str(r.varbinds)
        wall = f">{r.wall_s:.1f}" if r.cut else f"{r.wall_s:.3f}"
        print(f"| {r.rows:>7} | {'hint' if r.hint else 'no hint':<8} | {varbinds:>14} | "
              f"{wall:>8} | {r.cpu_s:>11.2f} |")

    full = {(r.rows, r.hint): r for r in results if not r.cut}
    print()
    for rows in args.sizes:
        hinted, unhinted = full.get((rows, True)), full.get((rows, False))
        if hinted and unhinted:
            print(f"{rows} rows: hints make the walk {unhinted.wall_s / hinted.wall_s:.1f}x "
                  f"faster (wall), {unhinted.cpu_s / max(hinted.cpu_s, 0.01):.1f}x less agent "
                  f"CPU")
    small, large = full.get((min(args.sizes), True)), full.get((max(args.sizes), True))
    if small and large and small is not large:
        print(f"{large.rows} rows with hints cost {large.wall_s / small.wall_s:.1f}x the "
              f"{small.rows}-row walk (wall), {large.cpu_s / max(small.cpu_s, 0.01):.1f}x "
              f"(agent CPU)")
    for r in results:
        if r.cut:
            print(f"the {r.rows}-row walk without hints was cut after {r.wall_s:.0f} s with "
                  f"{r.varbinds} of {r.rows * COLUMNS} varbinds "
                  f"({100 * r.varbinds / (r.rows * COLUMNS):.1f}%)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
