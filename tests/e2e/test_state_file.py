"""The state file behind the tables: reloaded on SIGHUP, a bad file on reload keeps the rows in
force, a bad file at start stops the agent with a message that points at the fault."""

import pytest

from classmaps import expected_walk
from conftest import READY_LINE
from snmpclient import CLASS_MAP_TABLE

BEFORE = [
    {"id": "cm-voice", "type": "qos", "name": "voice", "matchCondition": "all"},
    {"id": "cm-video", "type": "qos", "name": "video"},
    {"id": "copp-system-bgp", "type": "controlPlane", "staticType": "bgp"},
]
AFTER = [
    {"id": "cm-voice", "type": "qos", "name": "voice and more", "matchCondition": "any"},
    {"id": "copp-system-bgp", "type": "controlPlane", "staticType": "bgp"},
    {"id": "cm-scavenger", "type": "qosStatic", "name": "scavenger", "matchCondition": "all"},
]


class TestReloadOnSighup:
    @pytest.fixture
    def agent(self, start_agent):
        agent = start_agent(BEFORE)
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(BEFORE)
        return agent

    def test_edited_added_and_removed_class_maps_show_in_the_next_walk(self, agent):
        agent.write_state(AFTER)
        agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(AFTER)
        assert agent.pysnmp().walk(CLASS_MAP_TABLE) == expected_walk(AFTER)

    def test_reload_to_an_empty_file_empties_the_table_and_back(self, agent):
        agent.write_state([])
        agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == []
        agent.write_state(BEFORE)
        agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(BEFORE)

    @pytest.mark.parametrize("text", [
        '{"classMaps": [{"id": "cm-voice", "type": "qos", ',
        '{"classMaps": [{"id": "cm-voice", "type": "bogus"}]}',
        '{"classMaps": [{"id": "cm-voice", "type": "qos", "colour": "red"}]}',
        '{"classMaps": [{"id": "", "type": "qos"}]}',
    ], ids=["truncated-json", "bad-type", "unknown-member", "empty-id"])
    def test_malformed_file_on_reload_keeps_the_rows_and_is_logged(self, agent, text):
        agent.state_path.write_text(text)
        agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(BEFORE)
        assert str(agent.state_path) in agent.output()
        # The agent still takes a good file afterwards.
        agent.write_state(AFTER)
        agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(AFTER)


class TestMalformedFileAtStart:
    @pytest.mark.parametrize("text,where", [
        ('{"classMaps": [\n  {"id": "cm-voice", "type": "qos", }\n]}', ["line 2"]),
        ('{"classMaps": [{"id": "a", "type": "qos"}, {"id": "b", "type": "bogus"}]}',
         ["/classMaps/1/type", "bogus"]),
        ('{"classMaps": [{"id": "a", "type": "qos", "matchCondition": "most"}]}',
         ["/classMaps/0/matchCondition", "most"]),
        ('{"classMaps": [{"type": "qos"}]}', ["/classMaps/0", "'id'"]),
        ('{"classMaps": [{"id": "a", "type": "qos"}, {"id": "a", "type": "qos"}]}',
         ["/classMaps/1", "twice"]),
    ], ids=["json-syntax", "bad-type", "bad-match-condition", "missing-id", "duplicate-row"])
    def test_agent_exits_non_zero_naming_the_file_position_and_field(self, start_agent, text,
                                                                       where):
        agent = start_agent(state_text=text, wait=False)
        status = agent.process.popen.wait(20)
        output = agent.output()
        assert status != 0, output
        assert str(agent.state_path) in output
        for text_naming_the_fault in where:
            assert text_naming_the_fault in output
        assert READY_LINE not in output

    def test_missing_file_is_an_error_naming_it(self, start_agent, tmp_path):
        agent = start_agent([], wait=False, args=["--state", str(tmp_path / "absent.json")])
        status = agent.process.popen.wait(20)
        assert status != 0
        assert str(tmp_path / "absent.json") in agent.output()
