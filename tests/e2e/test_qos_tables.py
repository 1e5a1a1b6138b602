"""The whole QoS MIB of a small switch, as a user reads it: every table with `snmptable` and the
MIB loaded, and the whole enterprise subtree walked numerically with net-snmp and pysnmp.

The switch is data/qos-switch.json; data/qos-switch.tables.txt is what the eleven

    snmptable -M <mibs>:<mibs>/base -m VELORA-QOS-MIB -v2c -c public -Cf , -Ci \\
        udp:127.0.0.1:<port> VELORA-QOS-MIB::<table>

print for it, worked out by hand from the state file. What the file exercises, per table:

- class maps: a short id ordered before longer ones, one id as both a qos and a
  control-plane map, a qosStatic map served as qos, a name defaulting to the id;
- match rules: DSCP by name and by number, DSCP ranges in ascending order, ECN alone and as a
  suffix (all four ECN values), VLAN value/mask with the default and a short mask, VLAN
  ranges, access lists, an unnamed match type number shown as it is;
- actions: values 10000001 and 10000002 read as 0, 10000000 as it is, a police action with a
  shared reference reads 0; control-plane rates from the class's hardware status (a default
  from the action, an explicit one, none at all);
- statistics: a class with hardware status (the status wins), a policed class (sums of its
  policers, not of its interfaces), a policed class without policer counts (0, although its
  interfaces count), an unpoliced class (sums of its interfaces; its own counts ignored),
  a class without counters, control-plane classes with and without hardware status;
- ECN: a counter at 2^64-1, queues with the default eight queues, disabled queues,
  interface-status and shared-memory sources, locally marked counts with and without support;
- interfaces: a non-default ifIndex and a port channel, which order the rows by ifIndex.
"""

from __future__ import annotations

import json
from pathlib import Path

import pytest

from classmaps import assert_strictly_increasing
from snmpclient import (END_OF_MIB_VIEW, ENTERPRISE, NO_SUCH_INSTANCE, NO_SUCH_OBJECT, QOS_TABLES,
                        SnmpError, Varbind, qos_instance, qos_table_of, snmptable)

DATA = Path(__file__).resolve().parent / "data"
STATE = DATA / "qos-switch.json"
EXPECTED_TABLES = DATA / "qos-switch.tables.txt"
REPO = Path(__file__).resolve().parents[2]

EXCEPTIONS = {NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB_VIEW}


def expected_tables() -> dict[str, list[str]]:
    """The expected snmptable output per table: header line, then one line per row."""
    tables: dict[str, list[str]] = {}
    current: list[str] = []
    for line in EXPECTED_TABLES.read_text(encoding="utf-8").splitlines():
        if line.startswith("SNMP table: VELORA-QOS-MIB::"):
            current = tables.setdefault(line.split("::", 1)[1], [])
        elif line:
            current.append(line)
    return tables


EXPECTED = expected_tables()


def table_lines(stdout: str) -> list[str]:
    """snmptable's header and rows, without its title and blank lines."""
    return [line for line in stdout.splitlines()
            if line and not line.startswith("SNMP table:")]


@pytest.fixture
def agent(start_agent):
    return start_agent(state_text=STATE.read_text(encoding="utf-8"))


class TestSnmptable:
    @pytest.mark.parametrize("table", list(QOS_TABLES.values()))
    def test_every_row_and_column_as_the_state_file_says(self, agent, qos_mib_dirs, table):
        result = snmptable(agent.endpoint, table, qos_mib_dirs, "-Cf", ",", "-Ci")
        assert result.returncode == 0, result.stderr
        assert result.stderr == ""
        got = table_lines(result.stdout)
        assert got[0] == EXPECTED[table][0], "columns named as in VELORA-QOS-MIB"
        assert got[1:] == EXPECTED[table][1:]


class TestNumericWalk:
    """snmpbulkwalk -On of the whole enterprise subtree, and pysnmp's walks of it."""

    @pytest.fixture
    def walk(self, agent):
        return agent.netsnmp().bulkwalk(ENTERPRISE)

    def test_every_table_has_its_cells_in_increasing_order_without_error(self, walk):
        assert_strictly_increasing(walk)
        assert not [v for v in walk if v.type in EXCEPTIONS]
        cells: dict[int, int] = {}
        for varbind in walk:
            table = qos_table_of(varbind.oid)
            if table is not None:
                cells[table] = cells.get(table, 0) + 1
        # Every table has cells: as many as its snmptable output has rows times columns.
        assert cells == {n: (len(EXPECTED[name]) - 1) * EXPECTED[name][0].count(",")
                         for n, name in QOS_TABLES.items()}

    def test_snmpwalk_with_getnext_returns_the_same(self, agent, walk):
        assert agent.netsnmp().walk(ENTERPRISE) == walk

    def test_pysnmp_walk_and_bulkwalk_return_the_same(self, agent, walk):
        client = agent.pysnmp()
        assert client.walk(ENTERPRISE) == walk
        assert client.bulkwalk(ENTERPRISE) == walk

    def test_cells_carry_the_types_of_the_mib(self, walk):
        by_oid = {v.oid: v for v in walk}
        assert by_oid[qos_instance(1, 3, b"DATA", 2)] == Varbind(
            qos_instance(1, 3, b"DATA", 2), "STRING", b"bulk data")
        assert by_oid[qos_instance(2, 3, b"GUEST", 2, 2)].value == b"100 0x00f"
        assert by_oid[qos_instance(5, 3, b"PM-IN", 2, b"GUEST", 2)] == Varbind(
            qos_instance(5, 3, b"PM-IN", 2, b"GUEST", 2), "INTEGER", 10000000)
        assert by_oid[qos_instance(8, 2, b"wrap")] == Varbind(
            qos_instance(8, 2, b"wrap"), "Counter64", 2**64 - 1)
        assert by_oid[qos_instance(9, 3, 200, 1)] == Varbind(
            qos_instance(9, 3, 200, 1), "INTEGER", 2)
        assert by_oid[qos_instance(11, 3, b"PM-OUT", 2, b"VIDEO", 2, 1000001)] == Varbind(
            qos_instance(11, 3, b"PM-OUT", 2, b"VIDEO", 2, 1000001), "Counter64", 303)


class TestStringLimits:
    """Policy map names hold 255 octets and match names 100; longer ones fail their GET with
    genErr (the class map name's limit is tested with the class map table)."""

    STATE = {
        "classMaps": [{"id": "c", "type": "qos", "matches": [
            {"type": "ipAccessGroup", "name": "a" * 100},
            {"type": "ipAccessGroup", "name": "b" * 101}]}],
        "policyMaps": [{"id": "p255", "type": "qos", "name": "p" * 255},
                       {"id": "p256", "type": "qos", "name": "q" * 256}],
    }

    @pytest.fixture
    def agent(self, start_agent):
        return start_agent(state_text=json.dumps(self.STATE))

    def test_names_at_the_limit_are_returned_whole(self, agent):
        oids = [qos_instance(2, 3, b"c", 2, 1), qos_instance(3, 3, b"p255", 2)]
        expected = [Varbind(oids[0], "STRING", b"a" * 100), Varbind(oids[1], "STRING", b"p" * 255)]
        assert agent.netsnmp().get(*oids) == expected
        assert agent.pysnmp().get(*oids) == expected

    @pytest.mark.parametrize("oid", [qos_instance(2, 3, b"c", 2, 2),
                                     qos_instance(3, 3, b"p256", 2)],
                             ids=["match-name-101", "policy-map-name-256"])
    def test_one_octet_more_fails_with_gen_err(self, agent, oid):
        with pytest.raises(SnmpError) as failure:
            agent.netsnmp().get(oid)
        assert "genError" in failure.value.stdout + failure.value.stderr

    def test_other_cells_of_the_row_are_still_served(self, agent):
        oid = qos_instance(2, 2, b"c", 2, 2)
        assert agent.netsnmp().get(oid) == [Varbind(oid, "INTEGER", 1)]


class TestBundledExample:
    """examples/default.json, the agent's default state: a 48-port switch."""

    @pytest.fixture
    def agent(self, start_agent):
        return start_agent(state_text=(REPO / "examples" / "default.json").read_text())

    def test_walk_of_the_whole_subtree_has_rows_in_every_table(self, agent):
        walk = agent.netsnmp().bulkwalk(ENTERPRISE)
        assert_strictly_increasing(walk)
        assert not [v for v in walk if v.type in EXCEPTIONS]
        tables = {qos_table_of(v.oid) for v in walk} - {None}
        assert tables == set(QOS_TABLES)
        assert agent.pysnmp().bulkwalk(ENTERPRISE) == walk
