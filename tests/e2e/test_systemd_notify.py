"""qossnmpd under systemd's Type=notify: the test plays the service manager, a datagram socket
named by $NOTIFY_SOCKET, and hears READY=1 once the agent answers, RELOADING=1 and READY=1
around a reload (SIGHUP), STOPPING=1 at SIGTERM. An agent built without libsystemd reports
nothing, and these tests are skipped for it.
"""

from __future__ import annotations

import os
import signal
import socket

import pytest

from snmpclient import COL_NAME, class_map_instance

MESSAGE_TIMEOUT_S = 20
QOS = 2
VOICE = [{"id": "VOICE", "type": "qos", "name": "voice"}]


@pytest.fixture(scope="module")
def notify_capable(qossnmpd):
    if b"libsystemd.so" not in qossnmpd.read_bytes():
        pytest.skip("qossnmpd was built without libsystemd")


@pytest.fixture
def manager(tmp_path, notify_capable):
    """The service manager's end: a socket and the environment that names it."""
    path = tmp_path / "notify.sock"
    sock = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    sock.bind(str(path))
    sock.settimeout(MESSAGE_TIMEOUT_S)
    yield sock, dict(os.environ, NOTIFY_SOCKET=str(path))
    sock.close()


def next_message(sock: socket.socket) -> dict[str, str]:
    text = sock.recv(4096).decode()
    return dict(line.split("=", 1) for line in text.splitlines())


def test_ready_once_the_agent_answers_reloading_around_sighup_stopping_at_sigterm(
        start_agent, manager):
    sock, env = manager
    agent = start_agent(VOICE, env=env, wait=False)

    ready = next_message(sock)
    # Told ready, the agent answers at once: the manager may start the units that wait for it.
    name = agent.netsnmp().get(class_map_instance(COL_NAME, b"VOICE", QOS))
    assert ready == {"READY": "1", "STATUS": f"ready on {agent.endpoint}"}
    assert name[0].value == b"voice"
    assert "qossnmpd: ready on" in agent.output()

    agent.write_state([{"id": "VOICE", "type": "qos", "name": "voice-2"}])
    agent.reload()
    reloading = next_message(sock)
    ready_again = next_message(sock)
    assert reloading == {"RELOADING": "1", "STATUS": f"reloading {agent.state_path}"}
    assert ready_again == ready
    assert agent.netsnmp().get(class_map_instance(COL_NAME, b"VOICE", QOS))[0].value == \
        b"voice-2"

    agent.process.popen.send_signal(signal.SIGTERM)
    stopping = next_message(sock)
    assert stopping == {"STOPPING": "1", "STATUS": "stopping"}
    assert agent.process.popen.wait(MESSAGE_TIMEOUT_S) == 0, agent.output()


def test_a_manager_that_is_gone_costs_a_warning_not_the_service(start_agent, tmp_path,
                                                                 notify_capable):
    env = dict(os.environ, NOTIFY_SOCKET=str(tmp_path / "nobody-listens.sock"))
    agent = start_agent(VOICE, env=env)
    assert "could not notify the service manager" in agent.output()
    assert agent.netsnmp().get(class_map_instance(COL_NAME, b"VOICE", QOS))[0].value == b"voice"
