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
# Each walk runs again until this long has passed, so that even the quick ones meet reloads.
CHURN_SECONDS = 4.0
MIN_RELOADS = 8


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


def walks_during(seconds: float, walk: Callable[[], list[Varbind]]) -> list[list[Varbind]]:
    """Walks again and again until `seconds` have passed (at least once)."""
    done = []
    deadline = time.monotonic() + seconds
    while not done or time.monotonic() < deadline:
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


@pytest.mark.parametrize("target_factory", [class_map_target], ids=["class-maps"])
def test_walks_under_churn_return_every_stable_row_once_and_in_order(start_agent,
                                                                     target_factory):
    target = target_factory()
    agent = start_agent(state_text=json.dumps(target.state(0)))
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
                                                                            "-Cc", *o))
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
