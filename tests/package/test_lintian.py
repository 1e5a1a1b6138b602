"""lintian, Debian's package checker, finds nothing wrong with the package: no error and no
warning (the two deliberate exceptions are overridden in the package, with their reasons)."""

from __future__ import annotations

import shutil
import subprocess

import pytest


def test_lintian_reports_no_error_and_no_warning(deb):
    if shutil.which("lintian") is None:
        pytest.skip("lintian is not installed")
    result = subprocess.run(["lintian", "--pedantic", "--info", str(deb)],
                            capture_output=True, text=True, timeout=600)
    tags = [line for line in result.stdout.splitlines() if line[:2] in ("E:", "W:")]
    assert result.returncode == 0 and not tags, result.stdout + result.stderr
