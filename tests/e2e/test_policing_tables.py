"""The policing MIB (policing profiles and policer instances) and the interface policer MIB
(per-interface ingress and egress policer statistics), as an operator polls them: the rows the
state file describes, edits applied by SIGHUP in the next walk, live counters, port channels
summed over their members. (The feature toggles: test_policing_mibs.py.)"""

from __future__ import annotations

import copy
import json
import signal
import time

import pytest

from snmpclient import ENTERPRISE

POLICING = (*ENTERPRISE, 3, 42)
PROFILE_TABLE = (*POLICING, 1, 1)
INSTANCE_TABLE = (*POLICING, 1, 2)
IF_POLICER = (*ENTERPRISE, 3, 43)
IN_TABLE = (*IF_POLICER, 1, 1)
OUT_TABLE = (*IF_POLICER, 1, 2)

RATE_UNIT = {"bps": 1, "kbps": 2, "mbps": 3, "pps": 4}
BURST_UNIT = {"packets": 1, "bytes": 2, "kbytes": 3, "mbytes": 4}
COUNTERS = ["pktsDropped", "pktsSent", "bytesDropped", "bytesSent", "yellowPktsSent",
            "yellowBytesSent"]

PROFILES = [
    {"name": "PROF-1G", "cir": 1000000, "cirUnit": "kbps", "bc": 125000, "bcUnit": "bytes",
     "pir": 2000000, "pirUnit": "kbps", "be": 250000, "beUnit": "bytes"},
    {"name": "P2", "cir": 100, "cirUnit": "mbps", "bc": 64, "bcUnit": "kbytes",
     "pir": 200, "pirUnit": "mbps", "be": 128, "beUnit": "kbytes"},
    {"name": "PPS-LIMIT", "cir": 5000, "cirUnit": "pps", "bc": 100, "bcUnit": "packets",
     "pir": 10000, "pirUnit": "pps", "be": 200, "beUnit": "packets"},
]
INSTANCES = [
    {"name": "pol-edge", "profile": "PROF-1G"},
    {"name": "pol-core-uplink", "profile": "P2"},
]


def counters(base: int) -> dict:
    """Distinct, consistent counts: yellow traffic is a share of what was sent."""
    scale = {"pktsDropped": 1, "pktsSent": 10, "bytesDropped": 100, "bytesSent": 1000,
             "yellowPktsSent": 2, "yellowBytesSent": 200}
    return {name: base * scale[name] for name in COUNTERS}


def policing_state(per_member: bool = True) -> dict:
    return {
        "hardware": {"interfacePolicingCountersPerLagMemberCounterInfo": per_member},
        "interfaces": [
            {"name": "Ethernet1", "ifIndex": 1},
            {"name": "Ethernet2", "ifIndex": 2},
            {"name": "Ethernet5", "ifIndex": 5},
            {"name": "Ethernet6", "ifIndex": 6},
            {"name": "Ethernet7", "ifIndex": 7},
            {"name": "Port-Channel10", "ifIndex": 1000010, "members": ["Ethernet5", "Ethernet6"]},
        ],
        "policerProfiles": copy.deepcopy(PROFILES),
        "policerInstances": copy.deepcopy(INSTANCES),
        "interfacePolicers": [
            {"interface": "Ethernet1", "direction": "input", "profile": "PROF-1G",
             "groupPolicer": "GP-EDGE", "counters": counters(10)},
            {"interface": "Ethernet2", "direction": "output", "profile": "P2",
             "counters": counters(3)},
            {"interface": "Ethernet2", "direction": "input", "profile": "PPS-LIMIT"},
            {"interface": "Port-Channel10", "member": "Ethernet5", "direction": "input",
             "profile": "P2", "counters": counters(100)},
            {"interface": "Port-Channel10", "member": "Ethernet6", "direction": "input",
             "profile": "P2", "counters": counters(1000)},
        ],
    }


def name_index(name: str) -> tuple[int, ...]:
    raw = name.encode()
    return (len(raw), *raw)


def rows_of(walk, table) -> dict:
    """{index: {column: value}} of a table's walk."""
    rows: dict = {}
    entry = (*table, 1)
    for vb in walk:
        if vb.oid[:len(entry)] != entry:
            continue
        column, index = vb.oid[len(entry)], vb.oid[len(entry) + 1:]
        rows.setdefault(index, {})[column] = vb.value
    return rows


def expected_profile_rows(profiles) -> dict:
    rows = {}
    for p in profiles:
        rows[name_index(p["name"])] = {
            2: p["cir"], 3: p["bc"], 4: p["pir"], 5: p["be"],
            6: RATE_UNIT[p["cirUnit"]], 7: BURST_UNIT[p["bcUnit"]],
            8: RATE_UNIT[p["pirUnit"]], 9: BURST_UNIT[p["beUnit"]]}
    return rows


def stats_row(profile: str, group: str, values: dict) -> dict:
    row = {2: profile.encode(), 3: group.encode()}
    for i, name in enumerate(COUNTERS):
        row[4 + i] = values.get(name, 0)
    return row


@pytest.fixture
def policing_agent(start_agent):
    def start(state: dict, args=()):
        return start_agent(state_text=json.dumps(state), args=list(args)).wait_tables_ready()
    return start


def write(agent, state: dict) -> None:
    agent.state_path.write_text(json.dumps(state), encoding="utf-8")
    agent.reload()
    assert "reload of" not in agent.output(), agent.output()


# --- the policing MIB ---

def test_policing_tables_hold_the_state_files_profiles_and_instances(policing_agent):
    agent = policing_agent(policing_state())
    walk = agent.netsnmp().bulkwalk(POLICING)
    oids = [vb.oid for vb in walk]
    assert oids == sorted(oids) and len(set(oids)) == len(oids)
    assert rows_of(walk, PROFILE_TABLE) == expected_profile_rows(PROFILES)
    assert rows_of(walk, INSTANCE_TABLE) == {
        name_index(i["name"]): {2: i["profile"].encode()} for i in INSTANCES}
    # Rows in index order: shorter names first.
    assert list(rows_of(walk, PROFILE_TABLE)) == sorted(rows_of(walk, PROFILE_TABLE))
    assert agent.pysnmp().walk(POLICING) == walk


def test_policing_edits_show_in_the_next_walk(policing_agent):
    state = policing_state()
    agent = policing_agent(state)
    state["policerProfiles"].append(
        {"name": "NEW", "cir": 1, "cirUnit": "bps", "bc": 2, "bcUnit": "bytes",
         "pir": 3, "pirUnit": "bps", "be": 4, "beUnit": "bytes"})
    state["policerProfiles"][0]["cir"] = 777  # new rates under the same name
    state["policerInstances"] = [i for i in state["policerInstances"] if i["name"] != "pol-edge"]
    write(agent, state)
    walk = agent.netsnmp().bulkwalk(POLICING)
    assert rows_of(walk, PROFILE_TABLE) == expected_profile_rows(state["policerProfiles"])
    assert list(rows_of(walk, INSTANCE_TABLE)) == [name_index("pol-core-uplink")]


# --- the interface policer MIB ---

def test_interface_policer_tables_hold_the_state_files_policers(policing_agent):
    agent = policing_agent(policing_state())
    walk = agent.netsnmp().bulkwalk(IF_POLICER)
    ins, outs = rows_of(walk, IN_TABLE), rows_of(walk, OUT_TABLE)
    assert list(ins) == [(1,), (2,), (1000010,)]
    assert ins[(1,)] == stats_row("PROF-1G", "GP-EDGE", counters(10))
    assert ins[(2,)] == stats_row("PPS-LIMIT", "", {})
    # The port channel is one row: its members' sum, the hardware counting them apart.
    both = {name: counters(100)[name] + counters(1000)[name] for name in COUNTERS}
    assert ins[(1000010,)] == stats_row("P2", "", both)
    assert outs == {(2,): stats_row("P2", "", counters(3))}
    assert agent.pysnmp().walk(IF_POLICER) == walk


def test_port_channel_without_per_member_counters_reads_one_member(policing_agent):
    agent = policing_agent(policing_state(per_member=False))
    row = rows_of(agent.netsnmp().bulkwalk(IN_TABLE), IN_TABLE)[(1000010,)]
    assert row in (stats_row("P2", "", counters(100)), stats_row("P2", "", counters(1000)))


def test_interface_policer_edits_show_in_the_next_walk(policing_agent):
    state = policing_state()
    agent = policing_agent(state)
    # A member added to an existing port channel row: the sum changes, no new row.
    state["interfaces"].append({"name": "Ethernet8", "ifIndex": 8})
    state["interfaces"][5]["members"].append("Ethernet8")
    state["interfacePolicers"].append(
        {"interface": "Port-Channel10", "member": "Ethernet8", "direction": "input",
         "profile": "P2", "counters": counters(1)})
    # A policer removed; an interface moved to a new ifIndex.
    state["interfacePolicers"] = [p for p in state["interfacePolicers"]
                                  if not (p["interface"] == "Ethernet2"
                                          and p["direction"] == "output")]
    state["interfaces"][0]["ifIndex"] = 101
    write(agent, state)
    walk = agent.netsnmp().bulkwalk(IF_POLICER)
    ins, outs = rows_of(walk, IN_TABLE), rows_of(walk, OUT_TABLE)
    # The row under Ethernet1's old ifIndex stays as it is; the new ifIndex has one too.
    assert list(ins) == [(1,), (2,), (101,), (1000010,)]
    assert ins[(101,)] == ins[(1,)]
    three = {name: counters(100)[name] + counters(1000)[name] + counters(1)[name]
             for name in COUNTERS}
    assert ins[(1000010,)] == stats_row("P2", "", three)
    assert outs == {}


def test_interface_policer_counters_grow_under_live(policing_agent):
    agent = policing_agent(policing_state(), args=["--live"])
    tool = agent.netsnmp()
    first = rows_of(tool.bulkwalk(IN_TABLE), IN_TABLE)[(1000010,)]
    time.sleep(2.5)
    later = rows_of(tool.bulkwalk(IN_TABLE), IN_TABLE)[(1000010,)]
    assert later[5] > first[5] and later[7] > first[7]  # packets and bytes sent
    assert all(later[c] >= first[c] for c in range(4, 10))


# --- restarts of the switch's QoS agent ---

def expected_policing_tables(state: dict) -> dict:
    """The rows of the four policing tables that `state` (policing_state's shape) calls for,
    without the counters, which the walk reads live."""
    if_index = {i["name"]: i["ifIndex"] for i in state["interfaces"]}
    tables = {PROFILE_TABLE: set(expected_profile_rows(state["policerProfiles"])),
              INSTANCE_TABLE: {name_index(i["name"]) for i in state["policerInstances"]},
              IN_TABLE: set(), OUT_TABLE: set()}
    for p in state["interfacePolicers"]:
        table = IN_TABLE if p["direction"] == "input" else OUT_TABLE
        tables[table].add((if_index[p["interface"]],))
    return tables


def walked_policing_tables(agent) -> dict:
    walk = agent.netsnmp().bulkwalk(ENTERPRISE)
    oids = [vb.oid for vb in walk]
    assert oids == sorted(oids) and len(set(oids)) == len(oids)
    return {table: set(rows_of(walk, table))
            for table in (PROFILE_TABLE, INSTANCE_TABLE, IN_TABLE, OUT_TABLE)}


def test_tables_are_whole_after_one_and_after_two_quick_qos_agent_restarts(policing_agent):
    state = policing_state()
    agent = policing_agent(state)
    state["qosAgentRestarts"] = 1
    write(agent, state)
    assert "Playing a restart" not in agent.output()  # traces stay off by default
    assert walked_policing_tables(agent) == expected_policing_tables(state)
    # Two restarts in one reload: the policing status is replaced twice before the state
    # machines' tasks run again; with an edit on top.
    state["qosAgentRestarts"] = 3
    state["policerInstances"].append({"name": "pol-new", "profile": "P2"})
    write(agent, state)
    assert walked_policing_tables(agent) == expected_policing_tables(state)
    walk = agent.netsnmp().bulkwalk(IF_POLICER)
    assert rows_of(walk, IN_TABLE)[(1,)] == stats_row("PROF-1G", "GP-EDGE", counters(10))
    assert agent.pysnmp().walk(POLICING) == agent.netsnmp().bulkwalk(POLICING)


def test_no_row_is_missing_from_any_walk_while_the_qos_agent_restarts(policing_agent):
    state = policing_state()
    agent = policing_agent(state)
    expected = expected_policing_tables(state)
    for restarts in range(1, 9):
        state["qosAgentRestarts"] = restarts
        agent.state_path.write_text(json.dumps(state), encoding="utf-8")
        agent.process.popen.send_signal(signal.SIGHUP)
        assert walked_policing_tables(agent) == expected, restarts
    agent.reload()  # one more, waited for: every signal above has been handled by now
    assert walked_policing_tables(agent) == expected
    assert "reload of" not in agent.output(), agent.output()
