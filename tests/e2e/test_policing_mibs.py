"""The policing and interface policer MIB modules as a client sees them while no table state
machine fills them: registered and empty, gated by their feature toggles, and readable with
their MIB files."""

import json
import subprocess

from snmpclient import (IF_POLICER_MIB, NO_SUCH_INSTANCE, NO_SUCH_OBJECT, POLICING_MIB)

CLASS_MAPS = [{"id": "cm-voice", "type": "qos", "name": "voice"}]

# veloraPolicingProfileCir."gold" and veloraIfPolicerInStatsProfile.7: rows that do not exist.
PROFILE_CIR_GOLD = POLICING_MIB + (1, 1, 1, 2, 4) + tuple(b"gold")
IN_STATS_PROFILE_7 = IF_POLICER_MIB + (1, 1, 1, 2, 7)
SYS_OR_ID = (1, 3, 6, 1, 2, 1, 1, 9, 1, 2)

NOOP = "initialize_table_{} is a noop because toggle {} is not enabled."


def toggles(tmp_path, **values) -> list[str]:
    """qossnmpd's arguments for a toggle directory whose Snmp.json holds `values`."""
    directory = tmp_path / "toggles"
    directory.mkdir()
    (directory / "Snmp.json").write_text(json.dumps(values))
    return ["--toggles", str(directory), "--trace", "QosSnmp/1"]


def test_tables_are_registered_and_empty_for_both_clients(start_agent):
    agent = start_agent(CLASS_MAPS)
    for client in (agent.netsnmp(), agent.pysnmp()):
        assert client.walk(POLICING_MIB) == []
        assert client.walk(IF_POLICER_MIB) == []
        got = client.get(PROFILE_CIR_GOLD, IN_STATS_PROFILE_7)
        assert [v.type for v in got] == [NO_SUCH_INSTANCE, NO_SUCH_INSTANCE]


def test_policing_toggle_off_removes_only_the_policing_tables(start_agent, tmp_path):
    agent = start_agent(CLASS_MAPS, args=toggles(tmp_path, PolicingConfigSnmp=False))
    for client in (agent.netsnmp(), agent.pysnmp()):
        got = client.get(PROFILE_CIR_GOLD, IN_STATS_PROFILE_7)
        assert [v.type for v in got] == [NO_SUCH_OBJECT, NO_SUCH_INSTANCE]
    listed = [v.value for v in agent.netsnmp().walk(SYS_OR_ID)]
    assert POLICING_MIB in listed and IF_POLICER_MIB in listed
    output = agent.output()
    assert NOOP.format("veloraPolicingProfileTable", "PolicingConfigSnmp") in output
    assert NOOP.format("veloraPolicerInstanceTable", "PolicingConfigSnmp") in output
    assert "IntfPolicingSnmp" not in output


def test_interface_toggle_off_removes_only_the_interface_tables(start_agent, tmp_path):
    agent = start_agent(CLASS_MAPS, args=toggles(tmp_path, IntfPolicingSnmp=False,
                                                 PolicingConfigSnmp=True))
    got = agent.netsnmp().get(PROFILE_CIR_GOLD, IN_STATS_PROFILE_7)
    assert [v.type for v in got] == [NO_SUCH_INSTANCE, NO_SUCH_OBJECT]
    output = agent.output()
    assert NOOP.format("veloraIfPolicerInStatsTable", "IntfPolicingSnmp") in output
    assert NOOP.format("veloraIfPolicerOutStatsTable", "IntfPolicingSnmp") in output


def test_snmptable_reads_the_empty_tables_with_the_mib_files(start_agent, qos_mib_dirs):
    mibs, base = qos_mib_dirs
    agent = start_agent(CLASS_MAPS)
    for module, table in (("VELORA-POLICING-MIB", "veloraPolicingProfileTable"),
                          ("VELORA-POLICING-MIB", "veloraPolicerInstanceTable"),
                          ("VELORA-IF-POLICER-MIB", "veloraIfPolicerInStatsTable"),
                          ("VELORA-IF-POLICER-MIB", "veloraIfPolicerOutStatsTable")):
        result = subprocess.run(
            ["snmptable", "-M", f"{mibs}:{base}", "-m", module, "-v2c", "-c", "public",
             agent.endpoint, f"{module}::{table}"],
            capture_output=True, text=True, timeout=60)
        assert result.returncode == 0, result.stderr
        assert "Cannot find module" not in result.stderr
        assert "Unknown" not in result.stderr, result.stderr
        assert f"{module}::{table}: No entries" in result.stdout + result.stderr
