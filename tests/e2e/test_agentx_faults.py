"""AgentX faults: qossnmpd as a sub-agent of Debian's snmpd survives the master and the master
survives it.

  - The sub-agent is killed with SIGKILL in the middle of a walk through the master, three
    times over: the interrupted walk ends within WALK_ENDS_S, the master keeps serving, and
    once a new sub-agent is started, walks through the master are complete again within
    SUB_AGENT_BACK_S.
  - The master is restarted (SIGTERM, or SIGKILL in the middle of a walk) while the sub-agent
    runs: the sub-agent stays up and reconnects by itself (it retries every second, its
    agentxPingInterval), so its first row answers through the new master within
    MASTER_BACK_S of the master's start (net-snmp's own 15 s interval would not make it), and
    walks are complete again within SUB_AGENT_BACK_S; at the end the sub-agent still stops
    cleanly (exit 0).

Marked `hostile`: ctest runs it against the sanitizer build (label hostile, build-asan).
"""

from __future__ import annotations

import signal
import subprocess
import threading
import time

import pytest

from classmaps import expected_walk, generated_class_maps
from conftest import READY_TIMEOUT_S
from snmpclient import CLASS_MAP_TABLE, NetSnmp, SnmpError
from snmpd import SnmpdMaster

pytestmark = pytest.mark.hostile

CLASS_MAPS = generated_class_maps(3000)
EXPECTED = expected_walk(CLASS_MAPS)
WALK_ENDS_S = 30          # an interrupted walk gives up or finishes within this
SUB_AGENT_BACK_S = 15     # a restarted sub-agent's rows are all served again within this
# The sub-agent is registered with a restarted master within this: longer than its 1 s retry
# (with a sanitizer build's slower start), shorter than net-snmp's default 15 s.
MASTER_BACK_S = 10
KILLS = 3


@pytest.fixture
def master(tmp_path):
    with SnmpdMaster(tmp_path / "master") as m:
        yield m


def wait_until_answered(ask, expected, interval: float, within: float, what: str, sub) -> float:
    """Asks `ask()` through the master every `interval` seconds until it returns `expected`;
    returns the seconds that took. Fails after `within` seconds, saying `what` did not happen."""
    start = time.monotonic()
    last = None
    while time.monotonic() - start < within:
        try:
            last = ask()
            if last == expected:
                return time.monotonic() - start
        except SnmpError as e:
            last = e
        time.sleep(interval)
    raise AssertionError(f"{what} within {within} s; last: "
                         f"{str(last)[:300]}\nqossnmpd said:\n{sub.output()[-2000:]}")


def wait_for_complete_walk(master: SnmpdMaster, within: float, sub) -> float:
    """Walks the class map table through the master until a walk returns every row."""
    tool = NetSnmp(master.endpoint)
    return wait_until_answered(lambda: tool.bulkwalk(CLASS_MAP_TABLE, "-Cr20"), EXPECTED, 0.2,
                               within, "no complete walk through snmpd", sub)


def wait_for_first_row(master: SnmpdMaster, within: float, sub) -> float:
    """GETs the class map table's first cell through the master until the sub-agent answers."""
    tool = NetSnmp(master.endpoint)
    return wait_until_answered(lambda: tool.get(EXPECTED[0].oid), [EXPECTED[0]], 0.1, within,
                               "the sub-agent not back in snmpd", sub)


class Walker(threading.Thread):
    """One snmpbulkwalk -Cr1 through the master in the background; `under_way` is set once it
    has printed UNDER_WAY_LINES rows, so a fault can be made to land in its middle."""

    UNDER_WAY_LINES = 300

    def __init__(self, master: SnmpdMaster):
        super().__init__(daemon=True)
        self.argv = ["snmpbulkwalk", "-m", "", "-M", "/nonexistent", "-v2c", "-c", "public",
                     "-t", "5", "-r", "1", "-On", "-Cr1", master.endpoint,
                     ".".join(map(str, CLASS_MAP_TABLE))]
        self.under_way = threading.Event()
        self.lines = 0
        self.started = time.monotonic()
        self.ended: float | None = None

    def run(self) -> None:
        with subprocess.Popen(self.argv, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              text=True) as walk:
            for _ in walk.stdout:
                self.lines += 1
                if self.lines == self.UNDER_WAY_LINES:
                    self.under_way.set()
        self.ended = time.monotonic()

    def start_and_wait(self) -> None:
        self.start()
        assert self.under_way.wait(READY_TIMEOUT_S), f"the walk printed {self.lines} lines"


def start_sub_agent(start_agent, master: SnmpdMaster):
    return start_agent(CLASS_MAPS, agentx=f"unix:{master.socket}")


def test_sub_agent_killed_during_walks_comes_back(start_agent, master):
    sub = start_sub_agent(start_agent, master)
    wait_for_complete_walk(master, SUB_AGENT_BACK_S, sub)
    for kill in range(KILLS):
        walker = Walker(master)
        walker.start_and_wait()
        sub.process.popen.kill()  # SIGKILL: no AgentX close, the socket just ends
        sub.process.popen.wait()
        walker.join(WALK_ENDS_S)
        assert not walker.is_alive(), f"the interrupted walk still runs after {WALK_ENDS_S} s"
        assert master.alive(), master.process.output()

        sub = start_sub_agent(start_agent, master)
        seconds = wait_for_complete_walk(master, SUB_AGENT_BACK_S, sub)
        assert walker.lines < len(EXPECTED), "the walk was over before the kill"
        print(f"kill {kill + 1}: the walk ended after {walker.lines} rows, "
              f"{walker.ended - walker.started:.1f} s after it started; "
              f"rows back {seconds:.1f} s after the restart")


@pytest.mark.parametrize("how", [signal.SIGTERM, signal.SIGKILL], ids=["sigterm", "sigkill"])
def test_master_restarted_under_the_sub_agent(start_agent, master, how):
    sub = start_sub_agent(start_agent, master)
    wait_for_complete_walk(master, SUB_AGENT_BACK_S, sub)
    walker = Walker(master)
    walker.start_and_wait()
    master.stop(how)
    # Started again at once: the sub-agent's retry interval, not the master's absence, decides
    # when it is back.
    master.start()
    registered = wait_for_first_row(master, MASTER_BACK_S, sub)
    walker.join(WALK_ENDS_S)
    assert not walker.is_alive(), f"the interrupted walk still runs after {WALK_ENDS_S} s"
    assert sub.process.popen.poll() is None, f"qossnmpd ended with the master:\n{sub.output()}"
    complete = registered + wait_for_complete_walk(master, SUB_AGENT_BACK_S, sub)
    print(f"master {how.name}: first row back {registered:.1f} s after the master's restart, "
          f"a complete walk {complete:.1f} s after it")
    assert sub.process.popen.poll() is None
    # The fixture stops the sub-agent with SIGTERM and requires exit status 0.
