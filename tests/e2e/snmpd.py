"""Debian's snmpd as an AgentX master that a test can stop and start again (conftest's
snmpd_master fixture starts one that lives as long as the test)."""

from __future__ import annotations

import os
import shutil
import time
from pathlib import Path

from conftest import READY_TIMEOUT_S, Process, free_udp_port


class SnmpdMaster:
    """Debian's snmpd as AgentX master on a fixed port and socket, so that it can be stopped
    and started again where the sub-agent expects it."""

    def __init__(self, workdir: Path):
        self.workdir = workdir
        workdir.mkdir()
        self.socket = workdir / "agentx.sock"
        self.port = free_udp_port()
        # snmpd saves its persistent state as snmpd.conf in persistentDir when it stops: a
        # directory of its own, or the restart would read that instead of this file.
        self.persistent = workdir / "persistent"
        self.persistent.mkdir()
        self.conf = workdir / "snmpd.conf"
        self.conf.write_text(
            "master agentx\n"
            f"agentXSocket unix:{self.socket}\n"
            "rocommunity public 127.0.0.1\n"
            f"[snmp] persistentDir {self.persistent}\n")
        self.starts = 0
        self.process: Process | None = None

    @property
    def endpoint(self) -> str:
        return f"udp:127.0.0.1:{self.port}"

    def start(self) -> None:
        self.starts += 1
        env = dict(os.environ, MIBS="", MIBDIRS="/nonexistent",
                   SNMP_PERSISTENT_DIR=str(self.persistent))
        snmpd = shutil.which("snmpd") or "/usr/sbin/snmpd"
        argv = [snmpd, "-f", "-Lo", "-C", "-c", str(self.conf), "-r", self.endpoint]
        self.process = Process(argv, self.workdir / f"snmpd-{self.starts}.log", env=env)
        deadline = time.monotonic() + READY_TIMEOUT_S
        while "NET-SNMP version" not in self.process.output():
            assert self.process.popen.poll() is None, f"snmpd exited:\n{self.process.output()}"
            assert time.monotonic() < deadline, f"snmpd did not start:\n{self.process.output()}"
            time.sleep(0.05)

    def stop(self, how: int) -> None:
        self.process.popen.send_signal(how)
        self.process.popen.wait(10)
        self.process.kill()

    def alive(self) -> bool:
        return self.process is not None and self.process.popen.poll() is None

    def __enter__(self) -> "SnmpdMaster":
        self.start()
        return self

    def __exit__(self, *exc) -> None:
        if self.process:
            self.process.kill()
