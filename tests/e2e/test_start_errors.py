"""What qossnmpd says when it cannot serve, and what lets an operator find out why:

  - a listen address in use, a configuration typo, an unreadable configuration: one line
    naming the cause (the system's reason, the file and line) and exit status 1;
  - --check reports every problem of the configuration and the state file, with the message a
    start or a reload would give, and exits 1 (0 when there is none) without serving;
  - a request with a wrong community is counted in net-snmp's own snmpInBadCommunityNames (the
    SNMP group of the master agent) and logged, once for a burst.
"""

from __future__ import annotations

import os
import re
import socket
import subprocess

from conftest import free_udp_port
from snmpclient import PySnmp

VOICE = [{"id": "VOICE", "type": "qos", "name": "voice"}]
SNMP_IN_PKTS = (1, 3, 6, 1, 2, 1, 11, 1, 0)
SNMP_IN_BAD_COMMUNITY_NAMES = (1, 3, 6, 1, 2, 1, 11, 4, 0)


def run(qossnmpd, *args: str) -> subprocess.CompletedProcess:
    return subprocess.run([str(qossnmpd), *args], capture_output=True, text=True, timeout=30)


def test_a_port_in_use_is_named_with_the_reason(qossnmpd, tmp_path):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as busy:
        busy.bind(("127.0.0.1", 0))
        port = busy.getsockname()[1]
        result = run(qossnmpd, "--listen", f"udp:127.0.0.1:{port}")
    assert result.returncode == 1
    assert result.stderr.splitlines() == [
        f"qossnmpd: cannot listen on udp:127.0.0.1:{port}: Address already in use: port {port} "
        f"is in use by another process (ss -ulpn 'sport = :{port}' names it); stop it or "
        "--listen another port"]


def test_configuration_mistakes_are_refused_with_file_and_line(qossnmpd, tmp_path):
    conf = tmp_path / "typo.conf"
    conf.write_text("# comment\nrocomunity public 127.0.0.1\nrouser\nrocommunity public\n")
    result = run(qossnmpd, "--config", str(conf), "--listen", f"udp:127.0.0.1:{free_udp_port()}")
    assert result.returncode == 1
    assert result.stderr.splitlines() == [
        f"qossnmpd: {conf}: line 2: unknown directive 'rocomunity'",
        f"qossnmpd: {conf}: line 3: Blank line following rouser token."]

    empty = tmp_path / "empty.conf"
    empty.write_text("")
    result = run(qossnmpd, "--config", str(empty), "--listen", f"udp:127.0.0.1:{free_udp_port()}")
    assert result.returncode == 1
    assert "/etc/snmp" not in result.stderr
    assert result.stderr.splitlines() == [
        f"qossnmpd: {empty}: no access rule (rocommunity, rouser, or com2sec, group, view and "
        "access): the agent would answer no one"]

    missing = tmp_path / "missing.conf"
    result = run(qossnmpd, "--config", str(missing))
    assert result.returncode == 1
    assert result.stderr == (f"qossnmpd: cannot read configuration file {missing}: No such file "
                             "or directory\n")


def test_check_reports_every_problem_as_start_and_reload_would(qossnmpd, start_agent, tmp_path):
    conf = tmp_path / "typo.conf"
    conf.write_text("rocomunity public\nrocommunity public 127.0.0.1\n")
    bad_state = tmp_path / "bad.json"
    bad_state.write_text('{"classMaps": [{"id": "A", "type": "qoss"}]}')
    result = run(qossnmpd, "--check", "--config", str(conf), "--state", str(bad_state))
    assert result.returncode == 1
    lines = result.stderr.splitlines()
    assert lines[0] == f"qossnmpd: {conf}: line 1: unknown directive 'rocomunity'"
    [state_error] = lines[1:]

    agent = start_agent(VOICE)
    agent.state_path.write_text(bad_state.read_text())
    agent.reload()
    assert (f"qossnmpd: reload of {agent.state_path} failed: "
            f"{state_error.removeprefix('qossnmpd: ').replace(str(bad_state), str(agent.state_path))}"
            "; keeping the previous state") in agent.output()

    good = run(qossnmpd, "--check", "--state", str(agent.state_path.with_name("ok.json")))
    assert good.returncode == 1  # no such file
    ok = agent.state_path.with_name("ok.json")
    ok.write_text('{"classMaps": []}')
    good = run(qossnmpd, "--check", "--state", str(ok))
    assert good.returncode == 0, good.stderr
    assert good.stderr == ""


def test_version(qossnmpd):
    result = run(qossnmpd, "--version")
    assert result.returncode == 0
    assert result.stdout.startswith("qossnmpd ") and "net-snmp 5.9" in result.stdout


def test_a_wrong_community_is_counted_and_logged_once_per_burst(start_agent):
    agent = start_agent(VOICE)
    before = agent.netsnmp().get(SNMP_IN_BAD_COMMUNITY_NAMES)[0]
    assert before.type == "Counter32"
    for _ in range(3):
        result = subprocess.run(["snmpget", "-m", "", "-v2c", "-c", "wrong", "-t", "0.3", "-r",
                                 "0", agent.endpoint, "1.3.6.1.2.1.1.5.0"],
                                capture_output=True, text=True, timeout=30)
        assert "Timeout" in result.stderr
    after = PySnmp("127.0.0.1", agent.port).get(SNMP_IN_BAD_COMMUNITY_NAMES, SNMP_IN_PKTS)
    assert int(after[0].value) == before.value + 3
    assert int(after[1].value) > 3
    refused = [line for line in agent.output().splitlines() if "refused" in line]
    assert len(refused) == 1, agent.output()
    assert re.fullmatch(
        r"qossnmpd: request from UDP: \[127\.0\.0\.1\]:\d+->\[127\.0\.0\.1\]:" + str(agent.port)
        + r" refused: unknown community or no access for it \(snmpInBadCommunityNames and "
        r"usmStats count them\)", refused[0]), refused[0]


def test_lines_carry_the_journal_priority_only_when_stderr_is_the_journal(qossnmpd, tmp_path):
    conf = tmp_path / "typo.conf"
    conf.write_text("rocomunity public\nrocommunity public 127.0.0.1\n")
    log = tmp_path / "journal.log"
    with open(log, "wb") as stream:
        st = os.fstat(stream.fileno())
        env = dict(os.environ, JOURNAL_STREAM=f"{st.st_dev}:{st.st_ino}")
        result = subprocess.run([str(qossnmpd), "--config", str(conf)], stderr=stream, env=env,
                                timeout=30)
    assert result.returncode == 1
    assert log.read_text().splitlines() == [
        f"<3>qossnmpd: {conf}: line 1: unknown directive 'rocomunity'"]
    # Another stream than the one systemd connected (a redirect): no prefix.
    env = dict(os.environ, JOURNAL_STREAM="1:1")
    result = subprocess.run([str(qossnmpd), "--config", str(conf)], capture_output=True,
                            text=True, env=env, timeout=30)
    assert result.stderr == f"qossnmpd: {conf}: line 1: unknown directive 'rocomunity'\n"
