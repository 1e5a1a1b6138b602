"""Where the tables are served: the default context only (a named context is registered but has
no tables), and the same rows when qossnmpd runs as an AgentX sub-agent of Debian's snmpd."""

import time

import pytest

from classmaps import expected_walk
from snmpclient import CLASS_MAP_TABLE, ENTERPRISE, IF_POLICER_MIB, POLICING_MIB, QOS_MIB, NetSnmp

CLASS_MAPS = [
    {"id": "cm-voice", "type": "qos", "name": "voice", "matchCondition": "all"},
    {"id": "copp-system-bgp", "type": "controlPlane", "staticType": "bgp"},
    {"id": "CM-DSCP-EF", "type": "qosStatic", "name": "dscp-ef"},
]

# An SNMPv3 user that may read every context, and a community mapped to context "vrf1".
CONTEXT_CONFIG = """\
createUser alice SHA "alice-auth-pass" AES "alice-priv-pass"
group readers usm alice
view everything included .1
access readers "" usm priv prefix everything none none

com2sec -Cn vrf1 vrfreader 127.0.0.1 vrfpublic
group vrfreaders v2c vrfreader
access vrfreaders vrf1 any noauth exact everything none none

rocommunity public 127.0.0.1
"""
ALICE = ["-v3", "-u", "alice", "-l", "authPriv", "-a", "SHA", "-A", "alice-auth-pass",
         "-x", "AES", "-X", "alice-priv-pass"]


SYS_OR_ID = (1, 3, 6, 1, 2, 1, 1, 9, 1, 2)


SNMPV2_MIB = (1, 3, 6, 1, 6, 3, 1)


def test_the_three_mib_modules_are_listed_in_sysortable(start_agent):
    listed = start_agent(CLASS_MAPS).netsnmp().walk(SYS_OR_ID)
    assert {v.type for v in listed} == {"OID"}
    # Beside them, net-snmp's system and SNMP groups list SNMPv2-MIB.
    assert sorted(v.value for v in listed) == sorted([QOS_MIB, POLICING_MIB, IF_POLICER_MIB,
                                                      SNMPV2_MIB])


class TestNamedContext:
    @pytest.fixture
    def agent(self, start_agent):
        return start_agent(CLASS_MAPS, config=CONTEXT_CONFIG, args=["--context", "vrf1"])

    def test_default_context_serves_the_rows_to_the_v3_user(self, agent):
        assert agent.netsnmp(ALICE).walk(CLASS_MAP_TABLE) == expected_walk(CLASS_MAPS)

    def test_named_context_has_no_table_rows_for_the_v3_user(self, agent):
        walk = agent.netsnmp(ALICE + ["-n", "vrf1"]).walk(ENTERPRISE)
        assert walk == []

    def test_community_mapped_to_the_named_context_sees_no_table_rows(self, agent):
        vrf = agent.netsnmp(["-v2c", "-c", "vrfpublic"])
        assert vrf.walk(ENTERPRISE) == []
        [got] = vrf.get(CLASS_MAP_TABLE + (1, 3, 8) + tuple(b"cm-voice") + (2,))
        assert got.type in ("noSuchObject", "noSuchInstance")

    def test_default_context_is_unchanged_by_the_named_one(self, agent):
        assert agent.netsnmp().walk(ENTERPRISE) == expected_walk(CLASS_MAPS)


class TestAgentXSubAgent:
    def test_walk_through_snmpd_equals_the_direct_walk(self, start_agent, snmpd_master):
        master_endpoint, agentx_socket = snmpd_master
        direct = start_agent(CLASS_MAPS).netsnmp().walk(ENTERPRISE)
        assert direct == expected_walk(CLASS_MAPS)

        sub = start_agent(CLASS_MAPS, agentx=agentx_socket)
        master = NetSnmp(master_endpoint)
        deadline = time.monotonic() + 20
        while not (walk := master.walk(ENTERPRISE)):
            assert time.monotonic() < deadline, (
                f"no rows through snmpd; qossnmpd said:\n{sub.output()}")
            time.sleep(0.2)
        assert walk == direct
        assert master.bulkwalk(CLASS_MAP_TABLE, "-Cr5") == direct

    def test_rows_leave_snmpd_when_the_sub_agent_stops(self, start_agent, snmpd_master):
        master_endpoint, agentx_socket = snmpd_master
        sub = start_agent(CLASS_MAPS, agentx=agentx_socket)
        master = NetSnmp(master_endpoint)
        deadline = time.monotonic() + 20
        while not master.walk(ENTERPRISE):
            assert time.monotonic() < deadline, f"no rows through snmpd:\n{sub.output()}"
            time.sleep(0.2)
        sub.stop()
        assert master.walk(ENTERPRISE) == []
