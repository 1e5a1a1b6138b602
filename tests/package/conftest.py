"""Fixtures of the package tests: the .deb that CPack made ($QOSSNMP_DEB), its data extracted
with dpkg-deb -x into a temporary root and its control files with dpkg-deb -e, once per session.
"""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

import pytest

REPO = Path(__file__).resolve().parents[2]
# net-snmp's tools as the end-to-end tests drive them.
sys.path.insert(0, str(REPO / "tests" / "e2e"))

CONFFILE = "etc/qossnmpd/qossnmpd.conf"
UNITS = ("qossnmpd.service", "qossnmpd-agentx.service")
UNIT_DIR = "lib/systemd/system"


def run(*argv: str, **kwargs) -> subprocess.CompletedProcess:
    return subprocess.run(argv, capture_output=True, text=True, check=True, **kwargs)


@pytest.fixture(scope="session")
def deb() -> Path:
    path = os.environ.get("QOSSNMP_DEB")
    if not path or not Path(path).is_file():
        pytest.fail(f"no package at QOSSNMP_DEB={path!r}; build it (scripts/build-package.sh)")
    return Path(path)


@pytest.fixture(scope="session")
def root(deb, tmp_path_factory) -> Path:
    """The package's files as dpkg-deb -x extracts them."""
    path = tmp_path_factory.mktemp("root")
    run("dpkg-deb", "-x", str(deb), str(path))
    return path


@pytest.fixture(scope="session")
def control(deb, tmp_path_factory) -> Path:
    """The package's control files (control, conffiles, md5sums, maintainer scripts)."""
    path = tmp_path_factory.mktemp("control") / "DEBIAN"
    run("dpkg-deb", "-e", str(deb), str(path))
    return path


@pytest.fixture(scope="session")
def multiarch() -> str:
    return run("dpkg-architecture", "-qDEB_HOST_MULTIARCH").stdout.strip()
