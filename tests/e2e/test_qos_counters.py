"""Counters of the QoS MIB as they move: with --live the agent advances them once a second, and
a counter edited in the state file shows at the next read after SIGHUP.

The switch is data/qos-switch.json (see test_qos_tables.py). Its class VIDEO of PM-OUT has no
hardware status and is not policed: its statistics row is the sum of its per-interface rows,
on ifIndex 1, 3 and 1000001 in the output direction.
"""

from __future__ import annotations

import json
import time
from pathlib import Path

import pytest

from snmpclient import qos_instance

STATE = Path(__file__).resolve().parent / "data" / "qos-switch.json"

QOS = 2          # veloraPolicyMapType qos
INPUT, OUTPUT = 1, 2
STATS, ECN_COUNTERS, ECN_QUEUES, POLICER_STATS, PER_INTF_STATS = 7, 8, 9, 10, 11
# Columns of the statistics and per-interface tables, in order: packets dropped, sent,
# matched, bytes dropped, sent, matched.
COUNTER_COLUMNS = range(1, 7)
PKTS_DROPPED, PKTS_SENT, PKTS_MATCHED, BYTES_DROPPED, BYTES_SENT, BYTES_MATCHED = COUNTER_COLUMNS
VIDEO_INTERFACES = (1, 3, 1000001)


def video_stats(column: int) -> tuple[int, ...]:
    return qos_instance(STATS, column, b"PM-OUT", QOS, b"VIDEO", OUTPUT)


def video_per_intf(column: int, if_index: int) -> tuple[int, ...]:
    return qos_instance(PER_INTF_STATS, column, b"PM-OUT", QOS, b"VIDEO", OUTPUT, if_index)


def voice_stats(column: int) -> tuple[int, ...]:
    return qos_instance(STATS, column, b"PM-IN", QOS, b"VOICE", INPUT)


def voice_policer(column: int, if_index: int) -> tuple[int, ...]:
    return qos_instance(POLICER_STATS, column, b"PM-IN", QOS, b"VOICE", INPUT, if_index)


def ecn_queue(column: int, if_index: int, queue: int) -> tuple[int, ...]:
    return qos_instance(ECN_QUEUES, column, if_index, queue)


def read(agent, oids) -> dict[tuple[int, ...], int]:
    """One GET of all oids: the values of a single moment."""
    got = agent.netsnmp().get(*oids)
    assert [v.type for v in got] == ["Counter64"] * len(oids), got
    return {v.oid: v.value for v in got}


VIDEO_CELLS = [video_stats(c) for c in COUNTER_COLUMNS] + [
    video_per_intf(c, i) for i in VIDEO_INTERFACES for c in COUNTER_COLUMNS]
VOICE_CELLS = [voice_stats(c) for c in (PKTS_DROPPED, PKTS_SENT)] + [
    voice_policer(c, i) for i in (1, 200) for c in (1, 2)]
ECN_CELLS = [ecn_queue(c, i, q) for c in (4, 5) for i, q in ((1, 0), (3, 0), (1, 6))] + [
    qos_instance(ECN_COUNTERS, 2, b"ecn-ce-marked-egress")]


class TestLiveCounters:
    @pytest.fixture
    def agent(self, start_agent):
        return start_agent(state_text=STATE.read_text(encoding="utf-8"), args=["--live"])

    def test_statistics_and_ecn_counters_grow_between_two_reads(self, agent):
        cells = VIDEO_CELLS + ECN_CELLS
        before = read(agent, cells)
        time.sleep(1.5)
        after = read(agent, cells)
        for oid in cells:
            assert after[oid] >= before[oid], oid
        # Traffic passes every second; drops and locally marked packets come now and then.
        growing = [video_stats(c) for c in (PKTS_SENT, PKTS_MATCHED, BYTES_SENT, BYTES_MATCHED)]
        growing += [video_per_intf(c, i) for i in VIDEO_INTERFACES for c in (PKTS_SENT,
                                                                             BYTES_SENT)]
        growing += [ecn_queue(4, 1, 0), ecn_queue(4, 3, 0),
                    qos_instance(ECN_COUNTERS, 2, b"ecn-ce-marked-egress")]
        assert [oid for oid in growing if after[oid] <= before[oid]] == []
        # A disabled queue stays at 0.
        assert after[ecn_queue(4, 1, 6)] == after[ecn_queue(5, 1, 6)] == 0

    def test_class_statistics_stay_the_sum_of_the_interface_rows(self, agent):
        for _ in range(3):
            values = read(agent, VIDEO_CELLS)
            for column in COUNTER_COLUMNS:
                assert values[video_stats(column)] == sum(
                    values[video_per_intf(column, i)] for i in VIDEO_INTERFACES), column
            time.sleep(0.6)

    def test_a_policed_class_stays_the_sum_of_its_policer_rows(self, agent):
        for _ in range(3):
            values = read(agent, VOICE_CELLS)
            for stats_column, policer_column in ((PKTS_DROPPED, 1), (PKTS_SENT, 2)):
                assert values[voice_stats(stats_column)] == sum(
                    values[voice_policer(policer_column, i)] for i in (1, 200))
            time.sleep(0.6)


class TestCounterReload:
    @pytest.fixture
    def agent(self, start_agent):
        return start_agent(state_text=STATE.read_text(encoding="utf-8"))

    def edit_state(self, agent, edit) -> None:
        state = json.loads(agent.state_path.read_text(encoding="utf-8"))
        edit(state)
        agent.state_path.write_text(json.dumps(state), encoding="utf-8")
        agent.reload()
        assert "reload of" not in agent.output(), agent.output()

    def test_edited_counts_show_at_the_next_read(self, agent):
        chip = qos_instance(ECN_COUNTERS, 2, b"ecn-ce-marked-egress")
        queue = ecn_queue(4, 200, 2)
        cells = VIDEO_CELLS + [chip, queue]
        before = read(agent, cells)
        assert (before[video_per_intf(PKTS_DROPPED, 3)], before[video_stats(PKTS_DROPPED)],
                before[chip], before[queue]) == (2, 6, 5230411, 3774)

        def edit(state):
            video = next(c for c in state["classCounters"] if c["classMap"] == "VIDEO")
            video["interfaces"]["Ethernet3"]["dropPkts"] = 1002
            state["ecnCounters"][0]["count"] = 5230412
            next(q for q in state["ecnQueues"] if q["interface"] == "Ethernet2")["queues"][1][
                "pktCount"] = 4000

        self.edit_state(agent, edit)
        after = read(agent, cells)
        changed = {video_per_intf(PKTS_DROPPED, 3): 1002, video_per_intf(PKTS_MATCHED, 3): 1202,
                   video_stats(PKTS_DROPPED): 1006, video_stats(PKTS_MATCHED): 1606,
                   chip: 5230412, queue: 4000}
        assert after == {**before, **changed}

    def test_hardware_status_counts_replace_the_previous_ones(self, agent):
        oids = [qos_instance(STATS, c, b"copp-policy", 1, b"copp-bgp", INPUT)
                for c in COUNTER_COLUMNS]
        assert list(read(agent, oids).values()) == [12, 845000, 845012, 0, 76050000, 76050000]

        def edit(state):
            bgp = next(c for c in state["classCounters"] if c["classMap"] == "copp-bgp")
            bgp["hwStatus"].update(dropPkts=13, dropBytes=1300)

        self.edit_state(agent, edit)
        assert list(read(agent, oids).values()) == [13, 845000, 845013, 1300, 76050000,
                                                    76051300]
