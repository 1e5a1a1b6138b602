"""Walking veloraClassMapTable: every row in every column, in OID order, with the values of the
state file, from net-snmp's snmpwalk and snmpbulkwalk and from pysnmp."""

import pytest

from classmaps import assert_strictly_increasing, expected_walk, generated_class_maps
from conftest import READY_LINE
from snmpclient import CLASS_MAP_TABLE, ENTERPRISE, Varbind, class_map_instance

# Ids of different lengths (shorter ids come first in a walk), bytes beyond ASCII, a space, DEL,
# the longest id the index carries (40 bytes), one id under both a control-plane and a QoS map,
# and qosStatic maps, which are served as QoS maps (type 2).
CLASS_MAPS = [
    {"id": "cm-voice", "type": "qos", "name": "voice", "matchCondition": "all"},
    {"id": "cm-voice", "type": "controlPlane", "name": "copp voice"},
    {"id": "B", "type": "qosStatic", "name": "dscp-ef"},
    {"id": "A", "type": "qos"},
    {"id": "caf\u00e9", "type": "qos", "name": "voix \u00e9t\u00e9 \u2013 \u00e0 l'\u00e9cole",
     "matchCondition": "any"},
    {"id": "zz", "type": "controlPlane", "staticType": "bgp", "name": ""},
    {"id": "\u007f~", "type": "qosStatic", "name": "tab\tand\nnewline \"quoted\" \\"},
    {"id": "a b", "type": "controlPlane", "name": "spaced", "matchCondition": "all"},
    {"id": "x" * 40, "type": "qos", "name": "longest id", "matchCondition": "all"},
]


@pytest.fixture
def agent(start_agent):
    return start_agent(CLASS_MAPS)


def test_expected_walk_orders_rows_by_id_length_then_bytes_then_type():
    # The oracle itself, against the order worked out by hand.
    names = [v.value for v in expected_walk(CLASS_MAPS) if v.oid[len(CLASS_MAP_TABLE) + 1] == 3]
    assert names == [b"A", b"dscp-ef", b"", b"tab\tand\nnewline \"quoted\" \\", b"spaced",
                     "voix \u00e9t\u00e9 \u2013 \u00e0 l'\u00e9cole".encode(), b"copp voice",
                     b"voice", b"longest id"]
    first = expected_walk(CLASS_MAPS)[0]
    assert first == Varbind(CLASS_MAP_TABLE + (1, 3, 1, 65, 2), "STRING", b"A")


class TestNetSnmpWalk:
    def test_snmpwalk_returns_every_row_in_every_column_with_the_state_files_values(self, agent):
        walk = agent.netsnmp().walk(CLASS_MAP_TABLE)
        assert walk == expected_walk(CLASS_MAPS)

    def test_snmpwalk_oids_strictly_increase(self, agent):
        assert_strictly_increasing(agent.netsnmp().walk(CLASS_MAP_TABLE))

    def test_non_ascii_id_is_length_prefixed_utf8_in_the_index(self, agent):
        walk = agent.netsnmp().walk(CLASS_MAP_TABLE)
        cafe = class_map_instance(3, "caf\u00e9".encode(), 2)
        assert cafe[-7:] == (5, 0x63, 0x61, 0x66, 0xc3, 0xa9, 2)
        assert Varbind(cafe, "STRING", "voix \u00e9t\u00e9 \u2013 \u00e0 l'\u00e9cole".encode()) in walk

    @pytest.mark.parametrize("repetitions", [1, 2, 7, 50])
    def test_snmpbulkwalk_equals_the_walk_for_any_repetition_count(self, agent, repetitions):
        bulk = agent.netsnmp().bulkwalk(CLASS_MAP_TABLE, f"-Cr{repetitions}")
        assert bulk == expected_walk(CLASS_MAPS)

    def test_walk_of_a_single_column_starts_and_ends_within_it(self, agent):
        column = CLASS_MAP_TABLE + (1, 4)
        walk = agent.netsnmp().walk(column)
        assert walk == [v for v in expected_walk(CLASS_MAPS) if v.oid[:len(column)] == column]

    def test_walk_of_the_enterprise_subtree_holds_exactly_the_table(self, agent):
        assert agent.netsnmp().walk(ENTERPRISE) == expected_walk(CLASS_MAPS)

    def test_getnext_from_between_rows_or_a_partial_index_gives_the_next_row(self, agent):
        expected = expected_walk(CLASS_MAPS)
        by_oid = {v.oid: v for v in expected}
        between = class_map_instance(3, b"B", 1)           # after (A, 2), before (B, 2)
        partial = CLASS_MAP_TABLE + (1, 3, 8)               # the 8-byte ids: cm-voice
        past_column = CLASS_MAP_TABLE + (1, 3, 41)          # longer than any id: column 4 next
        got = agent.netsnmp().getnext(between, partial, past_column)
        assert got == [by_oid[class_map_instance(3, b"B", 2)],
                       by_oid[class_map_instance(3, b"cm-voice", 1)],
                       expected[len(expected) // 2]]


def test_empty_state_file_gives_an_empty_table(start_agent):
    agent = start_agent([])
    assert agent.netsnmp().walk(CLASS_MAP_TABLE) == []
    assert agent.pysnmp().walk(CLASS_MAP_TABLE) == []


class TestPySnmpAgreesWithNetSnmp:
    def test_getnext_walk_equals_snmpwalk_oid_for_oid_and_value_for_value(self, agent):
        assert agent.pysnmp().walk(CLASS_MAP_TABLE) == agent.netsnmp().walk(CLASS_MAP_TABLE)

    def test_getbulk_walk_equals_snmpbulkwalk(self, agent):
        assert (agent.pysnmp().bulkwalk(CLASS_MAP_TABLE, repetitions=3)
                == agent.netsnmp().bulkwalk(CLASS_MAP_TABLE, "-Cr3"))


@pytest.mark.slow
def test_ten_thousand_class_maps_walk_in_order_from_both_clients(start_agent):
    class_maps = generated_class_maps(10_000)
    agent = start_agent(class_maps)
    expected = expected_walk(class_maps)
    assert len(expected) == 20_000

    netsnmp = agent.netsnmp().walk(CLASS_MAP_TABLE)
    assert len(netsnmp) == 20_000
    assert_strictly_increasing(netsnmp)
    assert netsnmp == expected

    assert agent.netsnmp().bulkwalk(CLASS_MAP_TABLE, "-Cr50") == expected
    assert agent.pysnmp().bulkwalk(CLASS_MAP_TABLE, repetitions=50) == expected


def test_walk_without_iterator_hints_returns_the_same_rows(start_agent):
    # --no-hint makes the plug-in start every GETNEXT from the first row: slower, same answers.
    hinted = start_agent(CLASS_MAPS)
    unhinted = start_agent(CLASS_MAPS, args=["--no-hint"])
    assert unhinted.netsnmp().walk(CLASS_MAP_TABLE) == hinted.netsnmp().walk(CLASS_MAP_TABLE)
    assert (unhinted.netsnmp().bulkwalk(CLASS_MAP_TABLE, "-Cr3")
            == hinted.netsnmp().bulkwalk(CLASS_MAP_TABLE, "-Cr3")
            == expected_walk(CLASS_MAPS))


def test_ids_longer_than_the_index_are_refused_at_start(start_agent):
    # The index carries at most 40 octets of a class map id; a longer id could only be served
    # cut short, on an OID it might share with another map, so the state file is refused.
    class_maps = [
        {"id": "z" * 40, "type": "qos", "name": "forty"},
        {"id": "a" * 41, "type": "qos", "name": "forty-one"},
    ]
    agent = start_agent(class_maps, wait=False)
    assert agent.process.popen.wait(timeout=10) != 0
    assert "/classMaps/1/id" in agent.output()
