"""The class map table as a user sees it with the MIB modules loaded: `snmptable`."""

import os
import subprocess
from pathlib import Path

import pytest

from conftest import REPO

CLASS_MAPS = [
    {"id": "cm-voice", "type": "qos", "name": "voice", "matchCondition": "all"},
    {"id": "cm-voice", "type": "controlPlane", "name": "copp voice"},
    {"id": "CM-DSCP-EF", "type": "qosStatic", "name": "dscp-ef"},
    {"id": "A", "type": "qos", "name": "a"},
]

# Rows in walk order (shorter ids first), index shown as id and map type label.
EXPECTED_TABLE = """\
index|veloraClassMapName|veloraClassMapMatchCondition
"A".qos|a|matchAny
"cm-voice".controlPlane|copp voice|matchAny
"cm-voice".qos|voice|matchAll
"CM-DSCP-EF".qos|dscp-ef|matchAny
"""


def mib_dirs() -> tuple[Path, Path]:
    mibs = Path(os.environ.get("QOSSNMP_MIB_DIR", REPO / "build" / "share" / "mibs"))
    base = Path(os.environ.get("QOSSNMP_BASE_MIB_DIR", mibs / "base"))
    if not (mibs / "VELORA-QOS-MIB.txt").exists() or not (base / "SNMPv2-TC.txt").exists():
        pytest.skip(f"MIB modules not built in {mibs} and {base} (targets all, base-mibs)")
    return mibs, base


def test_snmptable_shows_every_class_map_with_its_labels(start_agent):
    mibs, base = mib_dirs()
    agent = start_agent(CLASS_MAPS)
    result = subprocess.run(
        ["snmptable", "-M", f"{mibs}:{base}", "-m", "VELORA-QOS-MIB", "-v2c", "-c", "public",
         "-Ci", "-Cf", "|", agent.endpoint,
         "VELORA-QOS-MIB::veloraClassMapTable"],
        capture_output=True, text=True, timeout=60)
    assert result.returncode == 0, result.stderr
    assert "Cannot find module" not in result.stderr
    lines = [line for line in result.stdout.splitlines() if "|" in line]
    assert "\n".join(lines) + "\n" == EXPECTED_TABLE
