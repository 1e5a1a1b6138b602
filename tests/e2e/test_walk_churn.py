"""Walks under churn: while the state file is edited and reloaded several times a second, full
snmpbulkwalks with 1, 10 and 50 repetitions run side by side, and every walk returns each OID
once, in increasing order, with every cell of the rows that never changed and nothing that
was never a row.

What is walked and how it churns is a ChurnTarget: the class map table now (a thousand class
maps never touched among two thousand that come, go and are renamed); the same check can be
pointed at another subtree by describing its states and its stable cells.

Marked `hostile`: ctest runs it against the sanitizer build (label hostile, build-asan).
"""

from __future__ import annotations

import json
import os
import signal
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path
from typing import Callable, Sequence

import pytest

from conftest import MIB_MAP_TYPE, MIB_MATCH_CONDITION
from snmpclient import COL_MATCH_CONDITION, COL_NAME, NetSnmp, Varbind, class_map_instance
from wire import QOS_TABLES_ROOT

pytestmark = pytest.mark.hostile

RELOADS_PER_SECOND = 3
WALK_OPTIONS = (("-Cr1",), ("-Cr10",), ("-Cr50",))
# Each walk runs again until this long has passed and the agent has applied MIN_RELOADS
# reloads (at most MAX_CHURN_SECONDS: a slow build, a sanitizer's, takes longer per reload), so
# that even the quick walks meet reloads.
CHURN_SECONDS = 4.0
MIN_RELOADS = 8
MAX_CHURN_SECONDS = 30.0


@dataclass
class ChurnTarget:
    """A subtree walked while its rows change.

    state(step): the state file's content after `step` edits (step 0 is the first);
    stable: the cells every walk must return, OID to (type, value), whatever the step;
    plausible(varbind): whether any other cell could have been served at some step.
    """
    name: str
    subtree: tuple[int, ...]
    state: Callable[[int], dict]
    stable: dict[tuple[int, ...], tuple[str, object]]
    plausible: Callable[[Varbind], bool]


# --- the class map table ---

CLASS_MAPS = 3000


def class_map_id(i: int) -> str:
    # Ids of two lengths, so that rows of both interleave in OID order.
    return f"cm{i:04d}" if i % 4 else f"classmap-{i:04d}"


def class_map_type(i: int) -> str:
    return "controlPlane" if i % 5 == 0 else "qosStatic" if i % 10 == 7 else "qos"


def is_stable(i: int) -> bool:
    return i % 3 == 0


def churned_class_map(i: int, step: int) -> dict | None:
    """Class map i at `step`: present two steps in three, renamed and its condition changed
    at every step."""
    if (i + step) % 3 == 0:
        return None
    return {"id": class_map_id(i), "type": class_map_type(i), "name": f"churn {i} v{step}",
            "matchCondition": ("any", "all")[(i + step) % 2]}


def stable_class_map(i: int) -> dict:
    return {"id": class_map_id(i), "type": class_map_type(i), "name": f"stable {i}",
            "matchCondition": ("any", "all")[i % 2]}


def class_map_state(step: int) -> dict:
    maps = []
    for i in range(CLASS_MAPS):
        cm = stable_class_map(i) if is_stable(i) else churned_class_map(i, step)
        if cm is not None:
            maps.append(cm)
    return {"classMaps": maps}


def class_map_cells(cm: dict) -> dict[tuple[int, ...], tuple[str, object]]:
    key = (cm["id"].encode(), MIB_MAP_TYPE[cm["type"]])
    return {
        class_map_instance(COL_NAME, *key): ("STRING", cm["name"].encode()),
        class_map_instance(COL_MATCH_CONDITION, *key):
            ("INTEGER", MIB_MATCH_CONDITION[cm["matchCondition"]]),
    }


def class_map_target() -> ChurnTarget:
    stable: dict[tuple[int, ...], tuple[str, object]] = {}
    churned: dict[tuple[int, ...], int] = {}
    for i in range(CLASS_MAPS):
        if is_stable(i):
            stable.update(class_map_cells(stable_class_map(i)))
        else:
            for step in (0, 1):  # present in one of them at least; same OIDs at every step
                cm = churned_class_map(i, step)
                if cm is not None:
                    churned.update({oid: i for oid in class_map_cells(cm)})

    def plausible(vb: Varbind) -> bool:
        i = churned.get(vb.oid)
        if i is None:
            return False
        column = vb.oid[len(QOS_TABLES_ROOT) + 2]
        if column == COL_NAME:
            return vb.type == "STRING" and vb.value.decode().startswith(f"churn {i} v")
        return vb.type == "INTEGER" and vb.value in MIB_MATCH_CONDITION.values()

    return ChurnTarget("veloraClassMapTable", QOS_TABLES_ROOT + (1,), class_map_state, stable,
                       plausible)


# --- the policing tables, while their state machines apply the edits ---

POLICING_ROOT = QOS_TABLES_ROOT[:-3] + (3, 42)
IF_POLICER_ROOT = QOS_TABLES_ROOT[:-3] + (3, 43)
PROFILES = 1500
RATE_UNITS = {"kbps": 2, "mbps": 3}
BURST_UNITS = {"bytes": 2, "kbytes": 3}


def profile(i: int, version: int) -> dict:
    rate, burst = (("kbps", "bytes"), ("mbps", "kbytes"))[version % 2]
    return {"name": f"prof-{i:04d}" if i % 4 else f"profile-{i:04d}", "cir": 1000 + version,
            "cirUnit": rate, "bc": 100 + version, "bcUnit": burst, "pir": 2000 + version,
            "pirUnit": rate, "be": 200 + version, "beUnit": burst}


def policing_state(step: int) -> dict:
    """Stable profiles and instances (one in three) keep their values; the others come and go
    and are re-created with other rates at every step."""
    profiles, instances = [], []
    for i in range(PROFILES):
        version = 0 if is_stable(i) else step
        if not is_stable(i) and (i + step) % 3 == 0:
            continue
        profiles.append(profile(i, version))
        instances.append({"name": f"pol-{i:04d}", "profile": f"v{version}"})
    return {"policerProfiles": profiles, "policerInstances": instances}


def name_index(name: str) -> tuple[int, ...]:
    return (len(name), *name.encode())


def policing_cells(i: int, version: int) -> dict[tuple[int, ...], tuple[str, object]]:
    p = profile(i, version)
    entry = POLICING_ROOT + (1, 1, 1)
    index = name_index(p["name"])
    cells = {entry + (column,) + index: ("Counter64", p[key])
             for column, key in ((2, "cir"), (3, "bc"), (4, "pir"), (5, "be"))}
    cells.update({entry + (column,) + index: ("INTEGER", units[p[key]])
                  for column, key, units in ((6, "cirUnit", RATE_UNITS), (7, "bcUnit", BURST_UNITS),
                                             (8, "pirUnit", RATE_UNITS), (9, "beUnit", BURST_UNITS))})
    cells[POLICING_ROOT + (1, 2, 1, 2) + name_index(f"pol-{i:04d}")] = (
        "STRING", f"v{version}".encode())
    return cells


def policing_target() -> ChurnTarget:
    stable: dict[tuple[int, ...], tuple[str, object]] = {}
    churned: dict[tuple[int, ...], int] = {}
    for i in range(PROFILES):
        if is_stable(i):
            stable.update(policing_cells(i, 0))
        else:
            churned.update({oid: i for oid in policing_cells(i, 0)})

    def plausible(vb: Varbind) -> bool:
        # A churned row, with the values of some version of it.
        i = churned.get(vb.oid)
        if i is None:
            return False
        if vb.type == "STRING":
            return vb.value.decode().startswith("v")
        return vb.type in ("Counter64", "INTEGER")

    return ChurnTarget("policing tables", POLICING_ROOT, policing_state, stable, plausible)


IF_POLICER_PORTS = 1200


def if_policer_state(step: int) -> dict:
    """Ethernet ports with an ingress and an egress policer: stable ones (one in three) keep
    theirs; the others lose and regain them and change their counts and names at every step.
    Port channel 1 has stable members; port channel 2 gains and loses a second member."""
    interfaces = [{"name": f"Ethernet{n}", "ifIndex": n} for n in range(1, IF_POLICER_PORTS + 5)]
    e = IF_POLICER_PORTS
    interfaces.append({"name": "Port-Channel1", "ifIndex": 1000001,
                       "members": [f"Ethernet{e + 1}", f"Ethernet{e + 2}"]})
    interfaces.append({"name": "Port-Channel2", "ifIndex": 1000002,
                       "members": [f"Ethernet{e + 3}", f"Ethernet{e + 4}"]})
    policers = []
    for n in range(1, IF_POLICER_PORTS + 1):
        stable = is_stable(n)
        if not stable and (n + step) % 3 == 0:
            continue
        version = 0 if stable else step
        for direction in ("input", "output"):
            policers.append({"interface": f"Ethernet{n}", "direction": direction,
                             "profile": f"stable-{n}" if stable else f"churn-{n}-v{version}",
                             "counters": {"pktsSent": 10 * n + version, "bytesSent": 1000 * n}})
    members = [(1, e + 1), (1, e + 2), (2, e + 3)] + ([(2, e + 4)] if step % 2 else [])
    for channel, port in members:
        policers.append({"interface": f"Port-Channel{channel}", "member": f"Ethernet{port}",
                         "direction": "input", "profile": f"lag-{channel}",
                         "counters": {"pktsSent": port, "bytesSent": 100 * port}})
    return {"hardware": {"interfacePolicingCountersPerLagMemberCounterInfo": True},
            "interfaces": interfaces, "interfacePolicers": policers}


def if_policer_cells(table: int, if_index: int, name: str, sent: int, byte_count: int):
    entry = IF_POLICER_ROOT + (1, table, 1)
    values = {2: ("STRING", name.encode()), 3: ("STRING", b""), 4: ("Counter64", 0),
              5: ("Counter64", sent), 6: ("Counter64", 0), 7: ("Counter64", byte_count),
              8: ("Counter64", 0), 9: ("Counter64", 0)}
    return {entry + (column,) + (if_index,): value for column, value in values.items()}


def if_policer_target() -> ChurnTarget:
    stable: dict[tuple[int, ...], tuple[str, object]] = {}
    churned: set[tuple[int, ...]] = set()
    for n in range(1, IF_POLICER_PORTS + 1):
        for table in (1, 2):
            cells = if_policer_cells(table, n, f"stable-{n}" if is_stable(n) else "", 10 * n,
                                     1000 * n)
            (stable.update(cells) if is_stable(n) else churned.update(cells))
    e = IF_POLICER_PORTS
    stable.update(if_policer_cells(1, 1000001, "lag-1", 2 * e + 3, 100 * (2 * e + 3)))
    churned.update(if_policer_cells(1, 1000002, "lag-2", 0, 0))
    lag2_sums = {e + 3, 2 * e + 7}  # one member, or both

    def plausible(vb: Varbind) -> bool:
        if vb.oid not in churned:
            return False
        column, if_index = vb.oid[len(IF_POLICER_ROOT) + 3], vb.oid[-1]
        if if_index == 1000002:
            return {2: vb.value == b"lag-2", 3: vb.value == b"", 5: vb.value in lag2_sums,
                    7: vb.value in {100 * s for s in lag2_sums}}.get(column, vb.value == 0)
        if column == 2:
            return vb.value.decode().startswith(f"churn-{if_index}-v")
        if column == 5:
            return vb.value >= 10 * if_index
        return column in (3, 4, 6, 7, 8, 9)

    return ChurnTarget("interface policer tables", IF_POLICER_ROOT, if_policer_state, stable,
                       plausible)


# --- the churn and the walks ---

class Churner(threading.Thread):
    """Writes the target's next state (a whole file, renamed into place) and sends SIGHUP,
    RELOADS_PER_SECOND times a second, until stopped. Each edit waits for the agent to have
    logged the previous reload, so that reloads never queue up behind each other (a reload of
    thousands of class maps takes a quarter of a second in the sanitizer build)."""

    def __init__(self, agent, target: ChurnTarget):
        super().__init__(daemon=True)
        self.agent = agent
        self.target = target
        self.steps = 0
        self.stopping = threading.Event()
        self.error: BaseException | None = None

    def run(self) -> None:
        try:
            next_edit = time.monotonic()
            while not self.stopping.wait(max(0.0, next_edit - time.monotonic())):
                next_edit += 1.0 / RELOADS_PER_SECOND
                self.steps += 1
                done = reloads(self.agent)
                write_atomically(self.agent.state_path, self.target.state(self.steps))
                os.kill(self.agent.process.pid, signal.SIGHUP)
                while reloads(self.agent) == done and not self.stopping.wait(0.01):
                    pass
        except BaseException as e:  # reported by the test
            self.error = e


def write_atomically(path: Path, state: dict) -> None:
    temporary = path.with_suffix(".next")
    temporary.write_text(json.dumps(state), encoding="utf-8")
    os.replace(temporary, path)


def reloads(agent) -> int:
    return agent.output().count("qossnmpd: reloaded")


def walks_during(seconds: float, walk: Callable[[], list[Varbind]],
                 more: Callable[[], bool] = lambda: False,
                 max_seconds: float = MAX_CHURN_SECONDS) -> list[list[Varbind]]:
    """Walks again and again until `seconds` have passed (at least once), and on while `more()`
    says so, until `max_seconds`."""
    done = []
    start = time.monotonic()
    while (not done or time.monotonic() - start < seconds
           or (more() and time.monotonic() - start < max_seconds)):
        done.append(walk())
    return done


def assert_walk_consistent(target: ChurnTarget, walk: Sequence[Varbind], label: str) -> None:
    oids = [vb.oid for vb in walk]
    assert len(set(oids)) == len(oids), f"{label}: an OID twice"
    for before, after in zip(oids, oids[1:]):
        assert before < after, f"{label}: {before} then {after}"
    got = {vb.oid: vb for vb in walk}
    missing = [oid for oid in target.stable if oid not in got]
    assert not missing, f"{label}: {len(missing)} stable cells missing, first {missing[0]}"
    for oid, (kind, value) in target.stable.items():
        assert (got[oid].type, got[oid].value) == (kind, value), f"{label}: {got[oid]}"
    strange = [vb for vb in walk if vb.oid not in target.stable and not target.plausible(vb)]
    assert not strange, f"{label}: cells that were never served: {strange[:3]}"


@pytest.mark.parametrize("target_factory", [class_map_target, policing_target, if_policer_target],
                         ids=["class-maps", "policing", "if-policer"])
def test_walks_under_churn_return_every_stable_row_once_and_in_order(start_agent,
                                                                     target_factory):
    target = target_factory()
    agent = start_agent(state_text=json.dumps(target.state(0))).wait_tables_ready()
    tool = NetSnmp(agent.endpoint)
    # Before the churn, a walk returns exactly the first state's cells.
    assert_walk_consistent(target, tool.bulkwalk(target.subtree, "-Cr50"), "quiet walk")

    churner = Churner(agent, target)
    reloads_before = reloads(agent)
    churner.start()
    try:
        with ThreadPoolExecutor(len(WALK_OPTIONS)) as pool:
            futures = {options: pool.submit(walks_during, CHURN_SECONDS,
                                            lambda o=options: tool.bulkwalk(target.subtree,
                                                                            "-Cc", *o),
                                            lambda: reloads(agent) - reloads_before < MIN_RELOADS)
                       for options in WALK_OPTIONS}
            results = {options: future.result() for options, future in futures.items()}
    finally:
        churner.stopping.set()
        churner.join()
    assert churner.error is None, churner.error
    assert agent.process.popen.poll() is None, agent.output()

    for options, walks in results.items():
        for n, walk in enumerate(walks):
            assert_walk_consistent(target, walk, f"{target.name} {' '.join(options)} walk {n}")
    reloaded = reloads(agent) - reloads_before
    assert reloaded >= MIN_RELOADS, f"only {reloaded} reloads during the walks"
    assert "reload of" not in agent.output(), agent.output()[-2000:]
    print(f"{target.name}: {churner.steps} edits, {reloaded} reloads; walks "
          + ", ".join(f"{' '.join(o)} x{len(w)} ({len(w[0])} cells)"
                      for o, w in results.items()))
