"""IF-MIB's names of the switch's interfaces: a master qossnmpd serves ifDescr (ifTable column 2),
ifName and ifAlias (ifXTable columns 1 and 18) for every interface of the state file that has an
ifIndex, and nothing else of either table. Read with net-snmp's tools and with pysnmp; a reload
that moves, removes, adds and swaps ifIndexes is seen at the next walk. A sub-agent leaves IF-MIB
to its master.
"""

from __future__ import annotations

import json
import subprocess
import time

import pytest

from snmpclient import NO_SUCH_INSTANCE, NO_SUCH_OBJECT, NetSnmp

IF_TABLE = (1, 3, 6, 1, 2, 1, 2, 2)
IF_X_TABLE = (1, 3, 6, 1, 2, 1, 31, 1, 1)
IF_DESCR = IF_TABLE + (1, 2)
IF_NAME = IF_X_TABLE + (1, 1)
IF_ALIAS = IF_X_TABLE + (1, 18)
IF_IN_MULTICAST_PKTS = IF_X_TABLE + (1, 2)
ENTERPRISES = (1, 3, 6, 1, 4, 1)

INTERFACES = [
    {"name": "Ethernet1", "ifIndex": 1},
    {"name": "Ethernet2"},  # ifIndex 2 by default
    {"name": "Ethernet3", "ifIndex": 30},
    {"name": "Ethernet4", "ifIndex": None},  # not in the interface MIB
    {"name": "Port-Channel1", "members": ["Ethernet3"]},  # 1000001 by default
]
NAMES = {1: "Ethernet1", 2: "Ethernet2", 30: "Ethernet3", 1000001: "Port-Channel1"}

# Ethernet1 moves to 11, Ethernet2 goes, Ethernet5 takes its ifIndex 2, Ethernet4 gets one.
RELOADED = [
    {"name": "Ethernet1", "ifIndex": 11},
    {"name": "Ethernet3", "ifIndex": 30},
    {"name": "Ethernet4", "ifIndex": 4},
    {"name": "Ethernet5", "ifIndex": 2},
    {"name": "Port-Channel1", "members": ["Ethernet3"]},
]
RELOADED_NAMES = {2: "Ethernet5", 4: "Ethernet4", 11: "Ethernet1", 30: "Ethernet3",
                  1000001: "Port-Channel1"}

# Ethernet1 and Ethernet5 swap their ifIndexes.
SWAPPED = [dict(i, ifIndex={"Ethernet1": 2, "Ethernet5": 11}[i["name"]])
           if i["name"] in ("Ethernet1", "Ethernet5") else i for i in RELOADED]
SWAPPED_NAMES = dict(RELOADED_NAMES) | {2: "Ethernet1", 11: "Ethernet5"}


def state(interfaces: list[dict]) -> str:
    return json.dumps({"interfaces": interfaces}, indent=1)


def by_index(walk, column) -> dict[int, str]:
    assert all(v.oid[:len(column)] == column and len(v.oid) == len(column) + 1 for v in walk), walk
    assert all(v.type == "STRING" for v in walk), walk
    return {v.oid[-1]: v.value.decode() for v in walk}


def names_as_served(agent) -> dict[str, dict[int, str]]:
    """ifName and ifDescr as each client walks them, and the whole of both tables."""
    netsnmp, pysnmp = agent.netsnmp(), agent.pysnmp()
    seen = {
        "ifName snmpwalk": by_index(netsnmp.walk(IF_NAME), IF_NAME),
        "ifDescr snmpbulkwalk": by_index(netsnmp.bulkwalk(IF_DESCR, "-Cr3"), IF_DESCR),
        "ifName pysnmp": by_index(pysnmp.walk(IF_NAME), IF_NAME),
        "ifDescr pysnmp bulk": by_index(pysnmp.bulkwalk(IF_DESCR, 2), IF_DESCR),
    }
    # The tables hold those columns and no other; ifAlias is empty in every row.
    if_table = netsnmp.walk(IF_TABLE)
    assert [v.oid[:len(IF_DESCR)] for v in if_table] == [IF_DESCR] * len(if_table)
    if_x_table = netsnmp.bulkwalk(IF_X_TABLE, "-Cr7")
    names = [v for v in if_x_table if v.oid[:len(IF_NAME)] == IF_NAME]
    aliases = [v for v in if_x_table if v.oid[:len(IF_ALIAS)] == IF_ALIAS]
    assert names + aliases == if_x_table, if_x_table
    assert by_index(aliases, IF_ALIAS) == {i: "" for i in by_index(names, IF_NAME)}
    assert pysnmp.walk(IF_X_TABLE) == if_x_table
    return seen


def test_names_follow_the_state_file_through_reloads(start_agent):
    agent = start_agent(state_text=state(INTERFACES))
    for client, names in names_as_served(agent).items():
        assert names == NAMES, client

    agent.state_path.write_text(state(RELOADED))
    agent.reload()
    assert "reloaded" in agent.output()
    for client, names in names_as_served(agent).items():
        assert names == RELOADED_NAMES, client

    agent.state_path.write_text(state(SWAPPED))
    agent.reload()
    for client, names in names_as_served(agent).items():
        assert names == SWAPPED_NAMES, client


def test_gets_of_absent_rows_and_columns(start_agent):
    agent = start_agent(state_text=state(INTERFACES))
    for client in (agent.netsnmp(), agent.pysnmp()):
        got = client.get(IF_NAME + (30,), IF_DESCR + (1000001,), IF_ALIAS + (1,),
                         IF_NAME + (4,), IF_IN_MULTICAST_PKTS + (1,))
        assert [(v.type, v.value) for v in got[:3]] == [
            ("STRING", b"Ethernet3"), ("STRING", b"Port-Channel1"), ("STRING", b"")]
        assert got[3].type == NO_SUCH_INSTANCE  # Ethernet4 has no ifIndex
        # A column that is not served: net-snmp's table helper answers noSuchInstance there.
        assert got[4].type in (NO_SUCH_OBJECT, NO_SUCH_INSTANCE)


def test_net_snmp_tools_name_the_columns_with_the_installed_if_mib(start_agent, qos_mib_dirs):
    """IF-MIB from the base modules (scripts/install-base-mibs.sh) resolves the served columns."""
    agent = start_agent(state_text=state(INTERFACES))
    _, base = qos_mib_dirs
    if not (base / "IF-MIB.txt").exists():
        pytest.skip(f"IF-MIB not installed in {base} (target base-mibs)")
    result = subprocess.run(
        ["snmpwalk", "-v2c", "-c", "public", "-M", str(base), "-m", "IF-MIB", "-Oq",
         agent.endpoint, "IF-MIB::ifName"], capture_output=True, text=True, check=True)
    assert result.stdout.splitlines() == [f"IF-MIB::ifName.{i} {n}" for i, n in NAMES.items()]


def test_a_sub_agent_leaves_if_mib_to_its_master(start_agent, snmpd_master):
    master_endpoint, agentx_socket = snmpd_master
    master = NetSnmp(master_endpoint)
    before = master.walk(IF_NAME)
    sub = start_agent(state_text=state(INTERFACES), agentx=agentx_socket)
    deadline = time.monotonic() + 20
    while not master.walk(ENTERPRISES):
        assert time.monotonic() < deadline, f"no rows through snmpd:\n{sub.output()}"
        time.sleep(0.2)
    assert master.walk(IF_NAME) == before  # the host's interfaces, as snmpd serves them
    assert all(v.value.decode() not in NAMES.values() for v in before)
