"""The state file behind the tables: reloaded on SIGHUP, a bad file on reload keeps the rows in
force, a bad file at start stops the agent with a message that points at the fault."""

import signal
import time

import pytest

from classmaps import expected_walk
from conftest import READY_LINE
from snmpclient import CLASS_MAP_TABLE, ENTERPRISE

POLICING_PROFILE_TABLE = (*ENTERPRISE, 3, 42, 1, 1)


def name_index(name: str) -> tuple[int, ...]:
    raw = name.encode()
    return (len(raw), *raw)

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


# Files that JSON parsers take or that their messages echo whole: each refused at its place, in
# one short line. (file bytes, texts the message names besides the file)
HUGE_NAME = "x" * (10 << 20)
REFUSED = {
    "utf8-byte-order-mark": (b'\xef\xbb\xbf{"classMaps": []}',
                             ["line 1, column 1", "UTF-8 byte-order mark"]),
    "utf16-with-byte-order-mark": ('{"classMaps": []}'.encode("utf-16"),
                                   ["line 1, column 1", "UTF-16 little-endian"]),
    "utf16-without-byte-order-mark": ('{"classMaps": []}'.encode("utf-16-be"),
                                      ["line 1, column 1", "UTF-16 big-endian"]),
    "nul-byte": (b'{"classMaps": [\n  \x00]}', ["line 2, column 3", "NUL byte"]),
    "member-twice": (b'{"classMaps": [{"id": "a", "type": "qos", "id": "b"}]}',
                     ["/classMaps/0/id", "member 'id' appears twice"]),
    "section-twice": (b'{"classMaps": [], "interfaces": [], "classMaps": []}',
                      ["/classMaps", "member 'classMaps' appears twice"]),
    "nul-in-id": (b'{"classMaps": [{"id": "cm\\u0000voice", "type": "qos"}]}',
                  ["/classMaps/0/id", "NUL byte", "cm\\x00voice"]),
    "invalid-utf8-in-id": (b'{"classMaps": [{"id": "cm\xffvoice", "type": "qos"}]}',
                           ["line 1, column 26", "/classMaps/0/id", "ill-formed UTF-8", "\\xFF"]),
    "huge-member-name": (('{"classMaps": [], "%s": 1}' % HUGE_NAME).encode(),
                         ["/" + "x" * 40 + "...", "unknown member"]),
}
# The most characters a message may take besides the file names in it.
SHORT_LINE = 200


def lines_naming(output: str, path) -> list[str]:
    return [line for line in output.splitlines() if str(path) in line]


def assert_short(line: str, path) -> None:
    assert len(line.replace(str(path), "")) < SHORT_LINE, line[:1000]


class TestRefusedOnReload:
    @pytest.fixture
    def agent(self, start_agent):
        agent = start_agent(BEFORE)
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(BEFORE)
        return agent

    def failed_reloads(self, agent) -> list[str]:
        return [line for line in lines_naming(agent.output(), agent.state_path)
                if "reload of" in line and "failed" in line]

    @pytest.mark.parametrize("name", REFUSED)
    def test_previous_rows_stay_and_one_short_line_names_the_fault(self, agent, name):
        data, texts = REFUSED[name]
        agent.state_path.write_bytes(data)
        agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(BEFORE)
        assert agent.pysnmp().walk(CLASS_MAP_TABLE) == expected_walk(BEFORE)
        [line] = self.failed_reloads(agent)
        assert_short(line, agent.state_path)
        for text in texts:
            assert text in line

    def test_huge_member_name_stays_out_of_the_log_at_every_reload(self, agent):
        agent.state_path.write_bytes(REFUSED["huge-member-name"][0])
        for _ in range(3):
            agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(BEFORE)
        lines = self.failed_reloads(agent)
        assert len(lines) == 3
        assert len(agent.output()) < 4096, agent.output()[:1000]
        agent.write_state(AFTER)
        agent.reload()
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == expected_walk(AFTER)


class TestRefusedAtStart:
    @pytest.mark.parametrize("name", REFUSED)
    def test_agent_exits_1_with_one_short_line_naming_file_and_position(self, start_agent,
                                                                         tmp_path, name):
        data, texts = REFUSED[name]
        path = tmp_path / f"{name}.json"
        path.write_bytes(data)
        agent = start_agent(wait=False, args=["--state", str(path)])
        status = agent.process.popen.wait(20)
        output = agent.output()
        assert status == 1, output[:1000]
        [line] = lines_naming(output, path)
        assert_short(line, path)
        for text in texts:
            assert text in line
        assert READY_LINE not in output

    def test_directory_is_named_as_such(self, start_agent, tmp_path):
        agent = start_agent(wait=False, args=["--state", str(tmp_path)])
        assert agent.process.popen.wait(20) == 1
        [line] = lines_naming(agent.output(), tmp_path)
        assert f"{tmp_path}: open: is a directory" in line


def large_policing_state(n: int) -> str:
    """n policing profiles and n policer instances: a file that takes the agent a while to load
    and its table state machines a while to scan."""
    profiles = ",".join(f'{{"name": "profile-{i}", "cir": {i}, "cirUnit": "kbps"}}'
                        for i in range(n))
    instances = ",".join(f'{{"name": "policer-{i}", "profile": "profile-{i}"}}'
                         for i in range(n))
    return f'{{"policerProfiles": [{profiles}], "policerInstances": [{instances}]}}'


class TestSignalsDuringStartUp:
    """A signal at the wrong moment of start-up never ends the agent by its default action."""

    ROWS = 30000

    def test_sighup_while_loading_is_applied_once_ready(self, start_agent):
        agent = start_agent(state_text=large_policing_state(self.ROWS), wait=False)
        time.sleep(0.3)
        assert agent.process.popen.poll() is None, agent.output()
        agent.process.popen.send_signal(signal.SIGHUP)
        agent.wait_ready().wait_tables_ready()
        agent.process.wait_for_output(f"reloaded {agent.state_path}")
        profile = (*POLICING_PROFILE_TABLE, 1, 2, *name_index("profile-7"))
        assert agent.netsnmp().get(profile)[0].value == 7

    @pytest.mark.parametrize("moment", ["loading", "scanning"])
    def test_sigterm_during_start_up_stops_the_agent_cleanly(self, start_agent, moment):
        agent = start_agent(state_text=large_policing_state(self.ROWS), wait=False)
        if moment == "scanning":
            agent.wait_ready()
            assert "PolicingProfileTableSm ready" not in agent.output()
        else:
            time.sleep(0.3)
        agent.stop()  # SIGTERM, and exit status 0
        assert "stopping on signal 15" in agent.output()
