"""The agent never stops answering while the state file changes: reloads are read and compared
off the agent's thread, SIGHUPs that come faster than reloads coalesce, and the agent answers
from the moment it listens, before a large state file is loaded.

Walks run during bursts of SIGHUPs (no wait between them, a malformed file among them): every
walk returns each OID once, in increasing order, with every stable row; once the burst is over
the table is exactly the last file's."""

from __future__ import annotations

import json
import os
import signal
import time
from concurrent.futures import ThreadPoolExecutor

from classmaps import expected_walk
from snmpclient import CLASS_MAP_TABLE, NetSnmp
from test_state_file import POLICING_PROFILE_TABLE, large_policing_state, name_index
from test_walk_churn import (assert_walk_consistent, class_map_target, walks_during,
                             write_atomically)

BURST_STEPS = 30
BURST_INTERVAL_S = 0.02  # 50 SIGHUPs a second
SYS_UP_TIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)


def test_walks_during_reload_bursts_see_every_stable_row_and_the_last_file_wins(start_agent):
    target = class_map_target()
    agent = start_agent(state_text=json.dumps(target.state(0)))
    tool = NetSnmp(agent.endpoint)
    failed_parse = BURST_STEPS // 2

    def burst() -> None:
        for step in range(1, BURST_STEPS + 1):
            if step == failed_parse:
                # A file that does not parse, read for sure before the burst goes on. It is
                # moved into place whole, like every file of the burst: a read still under way
                # must not see it half written.
                bad = agent.state_path.with_suffix(".bad")
                bad.write_text('{"classMaps": [{"id": ')
                os.replace(bad, agent.state_path)
                os.kill(agent.process.pid, signal.SIGHUP)
                deadline = time.monotonic() + 20
                while "reload of" not in agent.output():
                    assert time.monotonic() < deadline, agent.output()[-2000:]
                    time.sleep(0.01)
            write_atomically(agent.state_path, target.state(step))
            os.kill(agent.process.pid, signal.SIGHUP)
            time.sleep(BURST_INTERVAL_S)

    with ThreadPoolExecutor(2) as pool:
        burst_done = pool.submit(burst)
        walks = pool.submit(walks_during, BURST_STEPS * BURST_INTERVAL_S,
                            lambda: tool.bulkwalk(target.subtree, "-Cc", "-Cr50"))
        burst_done.result()
        walks = walks.result()
    for n, walk in enumerate(walks):
        assert_walk_consistent(target, walk, f"walk {n} during the burst")

    # The last file wins: the walk settles on exactly its rows.
    last = expected_walk(target.state(BURST_STEPS)["classMaps"])
    deadline = time.monotonic() + 20
    while tool.walk(CLASS_MAP_TABLE) != last:
        assert agent.process.popen.poll() is None, agent.output()[-2000:]
        assert time.monotonic() < deadline, "the last file never came into force"
        time.sleep(0.05)
    output = agent.output()
    assert output.count("reload of") == 1, output[-2000:]
    print(f"{BURST_STEPS + 1} SIGHUPs, {output.count('qossnmpd: reloaded')} reloads applied")


def test_the_agent_answers_while_a_large_state_file_loads(start_agent):
    agent = start_agent(state_text=large_policing_state(100000), wait=False)
    agent.process.wait_for_output("qossnmpd: answering on")
    [uptime] = agent.netsnmp().get(SYS_UP_TIME)
    assert uptime.type == "Timeticks"
    assert "qossnmpd: ready" not in agent.output(), "the file loaded before the first answer"
    agent.stop()  # a SIGTERM while the file is still being read: exit status 0


def reader_pid(agent_pid: int) -> int | None:
    """The state reader: the agent's child process, or None."""
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                stat = open(f"/proc/{entry}/stat").read()
            except OSError:
                continue
            fields = stat.rsplit(")", 1)[1].split()
            if int(fields[1]) == agent_pid and fields[0] != "Z":
                return int(entry)
    return None


# openat(2)'s number, by machine.
OPENAT = {"x86_64": 257, "aarch64": 56}


def wait_until_opening(pid: int) -> None:
    """Waits until process `pid` is inside openat(2) (blocked opening a FIFO, say)."""
    deadline = time.monotonic() + 20
    while open(f"/proc/{pid}/syscall").read().split()[0] != str(OPENAT[os.uname().machine]):
        assert time.monotonic() < deadline, "the reader never opened the file"
        time.sleep(0.01)


def test_the_agent_outlives_its_state_reader(start_agent):
    target = class_map_target()
    agent = start_agent(state_text=json.dumps(target.state(0)))
    tool = NetSnmp(agent.endpoint)
    reader = reader_pid(agent.process.pid)
    assert reader is not None

    def reloaded(count: int) -> None:
        deadline = time.monotonic() + 20
        while agent.output().count("qossnmpd: reloaded") < count:
            assert time.monotonic() < deadline, agent.output()[-2000:]
            time.sleep(0.01)

    # Killed while it waits: the next reload goes to a new reader.
    os.kill(reader, signal.SIGKILL)
    write_atomically(agent.state_path, target.state(1))
    os.kill(agent.process.pid, signal.SIGHUP)
    reloaded(1)
    assert tool.walk(CLASS_MAP_TABLE) == expected_walk(target.state(1)["classMaps"])
    assert reader_pid(agent.process.pid) not in (None, reader)

    # Killed during a read (of a FIFO that nobody writes, where it waits): that reload fails
    # with the reason and changes nothing; the next one applies.
    agent.state_path.unlink()
    os.mkfifo(agent.state_path)
    os.kill(agent.process.pid, signal.SIGHUP)
    reader = reader_pid(agent.process.pid)
    wait_until_opening(reader)
    os.kill(reader, signal.SIGKILL)
    deadline = time.monotonic() + 20
    while "the state reader ended (killed by signal 9" not in agent.output():
        assert time.monotonic() < deadline, agent.output()[-2000:]
        time.sleep(0.01)
    assert "reload of" in agent.output()
    assert tool.walk(CLASS_MAP_TABLE) == expected_walk(target.state(1)["classMaps"])
    agent.state_path.unlink()
    write_atomically(agent.state_path, target.state(2))
    os.kill(agent.process.pid, signal.SIGHUP)
    reloaded(2)
    assert tool.walk(CLASS_MAP_TABLE) == expected_walk(target.state(2)["classMaps"])
    assert agent.process.popen.poll() is None


def test_a_new_readers_whole_file_changes_only_what_differs(start_agent):
    """The state reader's replacement has no file to compare with: its first read holds the
    whole state, which the agent compares with the state in force (copied in slices of its
    reload task, a few thousand keys here) and applies as the keys that differ."""
    n = 3000
    agent = start_agent(state_text=large_policing_state(n), args=("--trace", "StateSim/1"))
    agent.wait_tables_ready()
    os.kill(reader_pid(agent.process.pid), signal.SIGKILL)
    state = json.loads(large_policing_state(n))
    state["policerProfiles"][7]["cir"] = 7007
    del state["policerProfiles"][-1]
    del state["policerInstances"][-1]
    state["policerProfiles"].append({"name": "profile-new", "cir": 42, "cirUnit": "kbps"})
    write_atomically(agent.state_path, state)
    os.kill(agent.process.pid, signal.SIGHUP)
    agent.process.wait_for_output(f"reloaded {agent.state_path}")

    # A profile changed, one came, a profile and its instance went: four keys, not the file.
    assert "Applying 4 key edits\n" in agent.output(), agent.output()[-2000:]
    def cir(name: str) -> tuple[int, ...]:
        return (*POLICING_PROFILE_TABLE, 1, 2, *name_index(name))

    assert [vb.value for vb in agent.pysnmp().get(cir("profile-7"), cir("profile-new"))] == \
        [7007, 42]
    walk = agent.netsnmp().bulkwalk((*POLICING_PROFILE_TABLE, 1, 2), "-Cr50")
    assert len(walk) == n
    assert cir(f"profile-{n - 1}") not in [vb.oid for vb in walk]
