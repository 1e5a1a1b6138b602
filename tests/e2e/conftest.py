"""Fixtures of the end-to-end tests: the real qossnmpd (and Debian's snmpd as an AgentX master)
on free loopback ports, in a temporary directory per test session.

Every process a test starts is registered with a fixture that ends it at teardown, on success
and on failure alike. An agent stopped by its test must have exited with status 0.
"""

from __future__ import annotations

import json
import os
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path
from typing import Callable, Sequence

import pytest

from snmpclient import NetSnmp, PySnmp

REPO = Path(__file__).resolve().parents[2]
READY_LINE = "qossnmpd: ready"
READY_TIMEOUT_S = 20
# The table state machines of the policing modules, which log when their tables are complete.
TABLE_SMS = ("PolicingProfileTableSm", "PolicerInstanceTableSm", "IfPolicerInStatsTableSm",
             "IfPolicerOutStatsTableSm")
STOP_TIMEOUT_S = 10

# The map types of a state file and the veloraClassMapType value each is served as.
MIB_MAP_TYPE = {"controlPlane": 1, "qos": 2, "qosStatic": 2}
MIB_MATCH_CONDITION = {"any": 1, "all": 2}


def pytest_configure(config):
    config.addinivalue_line("markers", "slow: a test over a large table (tens of seconds)")
    config.addinivalue_line(
        "markers", "hostile: a robustness test (hostile input, churn, faults); ctest runs these "
        "against the sanitizer build only (label hostile)")


@pytest.fixture(scope="session")
def qossnmpd() -> Path:
    """The agent under test: $QOSSNMPD, else <repo>/build/bin/qossnmpd."""
    path = Path(os.environ.get("QOSSNMPD", REPO / "build" / "bin" / "qossnmpd"))
    if not os.access(path, os.X_OK):
        pytest.fail(f"qossnmpd not found at {path}; build it or set QOSSNMPD")
    return path


@pytest.fixture(scope="session")
def qos_mib_dirs() -> tuple[Path, Path]:
    """The directories of VELORA-QOS-MIB and of the IETF base modules it imports:
    $QOSSNMP_MIB_DIR and $QOSSNMP_BASE_MIB_DIR, else <repo>/build/share/mibs and its base/."""
    mibs = Path(os.environ.get("QOSSNMP_MIB_DIR", REPO / "build" / "share" / "mibs"))
    base = Path(os.environ.get("QOSSNMP_BASE_MIB_DIR", mibs / "base"))
    if not (mibs / "VELORA-QOS-MIB.txt").exists() or not (base / "SNMPv2-TC.txt").exists():
        pytest.skip(f"MIB modules not built in {mibs} and {base} (targets all, base-mibs)")
    return mibs, base


@pytest.fixture(scope="session")
def session_dir(tmp_path_factory) -> Path:
    return tmp_path_factory.mktemp("qossnmp-e2e")


def free_udp_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def write_state(path: Path, class_maps: Sequence[dict]) -> Path:
    path.write_text(json.dumps({"classMaps": list(class_maps)}, indent=1, ensure_ascii=False),
                    encoding="utf-8")
    return path


class Process:
    """A child process whose stderr goes to a file, so that it never blocks on a full pipe."""

    def __init__(self, argv: list[str], log: Path, env: dict | None = None):
        self.argv = argv
        self.log = log
        self._log_file = open(log, "wb")
        self.popen = subprocess.Popen(argv, stdin=subprocess.DEVNULL, stdout=self._log_file,
                                      stderr=subprocess.STDOUT, env=env,
                                      start_new_session=True)

    @property
    def pid(self) -> int:
        return self.popen.pid

    def output(self) -> str:
        return self.log.read_text(errors="replace")

    def wait_for_output(self, text: str, timeout: float = READY_TIMEOUT_S) -> None:
        deadline = time.monotonic() + timeout
        while text not in self.output():
            if self.popen.poll() is not None:
                raise AssertionError(f"{self.argv[0]} exited with {self.popen.returncode} before "
                                     f"printing {text!r}:\n{self.output()}")
            if time.monotonic() > deadline:
                raise AssertionError(f"{self.argv[0]} printed no {text!r} within {timeout} s:\n"
                                     f"{self.output()}")
            time.sleep(0.05)

    def terminate(self) -> int:
        """SIGTERM, then waits; a process that hangs is killed and reported."""
        if self.popen.poll() is None:
            self.popen.send_signal(signal.SIGTERM)
            try:
                self.popen.wait(STOP_TIMEOUT_S)
            except subprocess.TimeoutExpired:
                self.popen.kill()
                self.popen.wait()
                raise AssertionError(f"{self.argv[0]} ignored SIGTERM for {STOP_TIMEOUT_S} s")
        self._log_file.close()
        return self.popen.returncode

    def kill(self) -> None:
        if self.popen.poll() is None:
            self.popen.kill()
            self.popen.wait()
        self._log_file.close()


class Agent:
    """One qossnmpd serving a state file written for the test.

    Usage: agent = start_agent(class_maps, config=..., args=[...]); agent.netsnmp().walk(...);
    agent.write_state(...); agent.reload(); agent.stop() (or let the fixture stop it).
    """

    def __init__(self, exe: Path, workdir: Path, class_maps: Sequence[dict] | None,
                 state_text: str | None, config: str | None, args: Sequence[str],
                 agentx: str | None, env: dict | None = None):
        self.workdir = workdir
        self.state_path = workdir / "state.json"
        if state_text is not None:
            self.state_path.write_text(state_text, encoding="utf-8")
        else:
            write_state(self.state_path, class_maps or [])
        argv = [str(exe), "--state", str(self.state_path)]
        if config is not None:
            config_path = workdir / "qossnmpd.conf"
            config_path.write_text(config)
            argv += ["--config", str(config_path)]
        if agentx:
            self.port = None
            argv += ["--agentx", agentx]
        else:
            self.port = free_udp_port()
            argv += ["--listen", f"udp:127.0.0.1:{self.port}"]
        argv += list(args)
        self.process = Process(argv, workdir / "qossnmpd.log", env=env)
        self.stopped = False

    @property
    def endpoint(self) -> str:
        return f"udp:127.0.0.1:{self.port}"

    def wait_ready(self) -> "Agent":
        self.process.wait_for_output(READY_LINE)
        return self

    def wait_tables_ready(self) -> "Agent":
        """Waits until the table state machines have filled the policing tables (each logs
        "qossnmpd: <Sm> ready after ..." once)."""
        deadline = time.monotonic() + READY_TIMEOUT_S
        while self.output().count("Sm ready after") < len(TABLE_SMS):
            assert self.process.popen.poll() is None, self.output()
            assert time.monotonic() < deadline, f"table Sms not ready:\n{self.output()}"
            time.sleep(0.05)
        return self

    def netsnmp(self, auth: Sequence[str] = ("-v2c", "-c", "public")) -> NetSnmp:
        return NetSnmp(self.endpoint, auth)

    def pysnmp(self, community: str = "public") -> PySnmp:
        return PySnmp("127.0.0.1", self.port, community)

    def write_state(self, class_maps: Sequence[dict]) -> None:
        write_state(self.state_path, class_maps)

    def reload(self) -> None:
        """SIGHUP; returns once the agent has logged the outcome of this reload."""
        before = self._reload_lines()
        self.process.popen.send_signal(signal.SIGHUP)
        deadline = time.monotonic() + READY_TIMEOUT_S
        while self._reload_lines() == before:
            assert self.process.popen.poll() is None, (
                f"qossnmpd exited on SIGHUP:\n{self.process.output()}")
            assert time.monotonic() < deadline, (
                f"qossnmpd logged nothing about the reload:\n{self.process.output()}")
            time.sleep(0.05)

    def _reload_lines(self) -> int:
        return sum(1 for line in self.process.output().splitlines() if "reload" in line)

    def output(self) -> str:
        return self.process.output()

    def stop(self) -> None:
        """SIGTERM; the agent unregisters and must exit with status 0."""
        if self.stopped:
            return
        self.stopped = True
        status = self.process.terminate()
        assert status == 0, f"qossnmpd exited {status} on SIGTERM:\n{self.output()}"


@pytest.fixture
def start_agent(qossnmpd, tmp_path) -> Callable[..., Agent]:
    """Starts qossnmpd agents that are stopped (SIGTERM, exit 0) when the test ends."""
    agents: list[Agent] = []

    def start(class_maps: Sequence[dict] | None = None, *, state_text: str | None = None,
              config: str | None = None, args: Sequence[str] = (), agentx: str | None = None,
              wait: bool = True, env: dict | None = None) -> Agent:
        """env: the agent's whole environment, when not the test's own."""
        workdir = tmp_path / f"agent{len(agents)}"
        workdir.mkdir()
        agent = Agent(qossnmpd, workdir, class_maps, state_text, config, args, agentx, env)
        agents.append(agent)
        return agent.wait_ready() if wait else agent

    yield start
    failures = []
    for agent in agents:
        if agent.process.popen.poll() is not None and not agent.stopped:
            continue  # ended on its own; the test looked at its status
        try:
            agent.stop()
        except AssertionError as e:
            failures.append(str(e))
        finally:
            agent.process.kill()
    assert not failures, "\n".join(failures)


@pytest.fixture
def snmpd_master(tmp_path):
    """Starts Debian's snmpd as an AgentX master on a free port; yields (endpoint, socket)."""
    snmpd = shutil.which("snmpd") or "/usr/sbin/snmpd"
    workdir = tmp_path / "snmpd"
    workdir.mkdir()
    sock = workdir / "agentx.sock"
    port = free_udp_port()
    conf = workdir / "snmpd.conf"
    conf.write_text(
        "master agentx\n"
        f"agentXSocket unix:{sock}\n"
        "rocommunity public 127.0.0.1\n"
        f"[snmp] persistentDir {workdir}\n")
    env = dict(os.environ, MIBS="", MIBDIRS="/nonexistent", SNMP_PERSISTENT_DIR=str(workdir))
    argv = [snmpd, "-f", "-Lo", "-C", "-c", str(conf), "-r", f"udp:127.0.0.1:{port}"]
    process = Process(argv, workdir / "snmpd.log", env=env)
    try:
        deadline = time.monotonic() + READY_TIMEOUT_S
        while not sock.exists():
            assert process.popen.poll() is None, f"snmpd exited:\n{process.output()}"
            assert time.monotonic() < deadline, f"snmpd made no AgentX socket:\n{process.output()}"
            time.sleep(0.05)
        yield f"udp:127.0.0.1:{port}", f"unix:{sock}"
    finally:
        process.kill()
