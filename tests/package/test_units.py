"""The package's systemd units as systemd reads them: `systemd-analyze verify` accepts them
without a word (directives, the ExecStart binary, the Documentation man page), and
`systemd-analyze security` finds them confined: a system user, no new privileges, the OS
read-only, no home directories, a private /tmp, and no capability beyond binding port 161.

The units name /usr/sbin/qossnmpd; verify wants it to exist, so the copies checked here name the
extracted binary instead, and MANPATH points man(1) at the extracted man page.
"""

from __future__ import annotations

import json
import re
import shutil
import subprocess

import pytest

from conftest import UNIT_DIR, UNITS

MAX_EXPOSURE = 2.5
REQUIRED = {
    "User=/DynamicUser=", "NoNewPrivileges=", "ProtectSystem=", "ProtectHome=", "PrivateTmp=",
    "CapabilityBoundingSet=~CAP_SYS_ADMIN",
}


@pytest.fixture(scope="module")
def analyze():
    if shutil.which("systemd-analyze") is None:
        pytest.skip("systemd-analyze is not installed")
    return "systemd-analyze"


@pytest.fixture(scope="module")
def units(root, tmp_path_factory):
    """Copies of the units that run the extracted binary; else unchanged."""
    directory = tmp_path_factory.mktemp("units")
    for unit in UNITS:
        text = (root / UNIT_DIR / unit).read_text()
        assert "ExecStart=/usr/sbin/qossnmpd " in text, unit
        (directory / unit).write_text(text.replace("/usr/sbin/qossnmpd",
                                                   str(root / "usr/sbin/qossnmpd")))
    return [directory / unit for unit in UNITS]


def test_systemd_analyze_verify_accepts_the_units(analyze, units, root):
    env = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "MANPATH": str(root / "usr/share/man")}
    result = subprocess.run([analyze, "verify", *map(str, units)], capture_output=True,
                            text=True, env=env, timeout=120)
    assert result.returncode == 0 and not result.stdout and not result.stderr, (
        result.stdout + result.stderr)


@pytest.mark.parametrize("index", range(len(UNITS)), ids=UNITS)
def test_the_units_are_confined(analyze, units, index):
    unit = units[index]
    table = subprocess.run([analyze, "security", "--offline=yes", str(unit)],
                           capture_output=True, text=True, timeout=120)
    exposure = float(re.search(r"Overall exposure level for \S+: ([0-9.]+)",
                               table.stdout + table.stderr).group(1))
    checks = json.loads(subprocess.run(
        [analyze, "security", "--offline=yes", "--json=short", str(unit)],
        capture_output=True, text=True, timeout=120).stdout)
    unmet = {c["name"] for c in checks if c["name"] in REQUIRED and not c["set"]}
    capabilities = [c for c in checks if c["name"].startswith("CapabilityBoundingSet=~")
                    and not c["set"]]
    assert exposure <= MAX_EXPOSURE, table.stdout
    assert not unmet
    # The master agent keeps CAP_NET_BIND_SERVICE, the sub-agent nothing at all.
    expected = [] if "agentx" in unit.name else [
        "CapabilityBoundingSet=~CAP_NET_(BIND_SERVICE|BROADCAST|RAW)"]
    assert [c["name"] for c in capabilities] == expected
