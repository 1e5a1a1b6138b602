"""What the Debian package holds and how it installs: its files, their owners and modes, the
conffile, the control fields (library dependencies as dpkg-shlibdeps computed them), the
maintainer scripts and the system user; and the agent started from the extracted tree, with no
LD_LIBRARY_PATH and no option but the address, answering a walk of the bundled example.
"""

from __future__ import annotations

import gzip
import json
import os
import re
import signal
import socket
import subprocess
import time
from pathlib import Path

import pytest

from conftest import CONFFILE, REPO, UNIT_DIR, UNITS, run
from snmpclient import CLASS_MAP_TABLE, ENTERPRISE_ARC, NetSnmp

READY_TIMEOUT_S = 20
DROP_IN = "usr/share/qossnmp/snmpd.conf.d/qossnmpd.conf"


def listing(deb: Path) -> dict[str, tuple[str, str]]:
    """The package's entries (path without the leading ./) -> (mode string, owner/group)."""
    entries = {}
    for line in run("dpkg-deb", "-c", str(deb)).stdout.splitlines():
        mode, owner, _size, _date, _time, path = line.split(None, 5)
        entries[path.removeprefix("./").split(" -> ")[0]] = (mode, owner)
    return entries


def expected_files(multiarch: str) -> dict[str, str]:
    """Every regular file the package must hold, with its mode."""
    files = {
        "usr/sbin/qossnmpd": "-rwxr-xr-x",
        f"usr/lib/{multiarch}/qossnmpd/libQosSnmp.so": "-rw-r--r--",
        f"usr/lib/{multiarch}/qossnmpd/libplatform.so": "-rw-r--r--",
        CONFFILE: "-rw-r-----",
        "usr/lib/sysusers.d/qossnmpd.conf": "-rw-r--r--",
        "usr/share/man/man8/qossnmpd.8.gz": "-rw-r--r--",
        "usr/share/doc/qossnmpd/copyright": "-rw-r--r--",
        "usr/share/doc/qossnmpd/changelog.Debian.gz": "-rw-r--r--",
        "usr/share/doc/qossnmpd/README.md.gz": "-rw-r--r--",
        "usr/share/doc/qossnmpd/state-file.md.gz": "-rw-r--r--",
        "usr/share/lintian/overrides/qossnmpd": "-rw-r--r--",
        "usr/share/qossnmp/prometheus/generator.yml": "-rw-r--r--",
        "usr/share/qossnmp/prometheus/snmp.yml": "-rw-r--r--",
        "usr/share/qossnmp/prometheus/alerts.yml": "-rw-r--r--",
        DROP_IN: "-rw-r--r--",
    }
    files.update({f"{UNIT_DIR}/{unit}": "-rw-r--r--" for unit in UNITS})
    files.update({f"usr/share/snmp/mibs/{m.name.removesuffix('.in')}": "-rw-r--r--"
                  for m in (REPO / "mibs").glob("*.txt.in")})
    files.update({f"usr/share/qossnmp/examples/{e.name}": "-rw-r--r--"
                  for e in (REPO / "examples").glob("*.json")})
    return files


def test_files_owners_and_modes(deb, multiarch):
    entries = listing(deb)
    files = {path: mode for path, (mode, _) in entries.items() if not mode.startswith("d")}
    directories = {path: mode for path, (mode, _) in entries.items() if mode.startswith("d")}
    assert files == expected_files(multiarch)
    assert {owner for _, owner in entries.values()} == {"root/root"}
    assert set(directories.values()) == {"drwxr-xr-x"}


def test_the_configuration_is_the_one_conffile(control, root):
    assert (control / "conffiles").read_text() == f"/{CONFFILE}\n"
    assert (root / CONFFILE).read_text() == (REPO / "agent" / "qossnmpd.conf").read_text()


def test_the_snmpd_drop_in_and_the_documents_are_the_sources(root):
    """The drop-in is its template with the arc and its own installed path filled in, and the
    documents in /usr/share/doc/qossnmpd are the README and the state file's reference."""
    template = (REPO / "packaging" / "snmpd-qossnmpd.conf.in").read_text()
    drop_in = (root / DROP_IN).read_text()
    assert "@" not in drop_in
    assert drop_in == (template.replace("@VELORA_ENTERPRISE_ARC@", str(ENTERPRISE_ARC))
                       .replace("@QOSSNMPD_SNMPD_DROPIN@", f"/{DROP_IN}"))
    assert f"\nview systemonly included .1.3.6.1.4.1.{ENTERPRISE_ARC}\n" in drop_in
    docs = root / "usr/share/doc/qossnmpd"
    for name, source in (("README.md.gz", REPO / "README.md"),
                         ("state-file.md.gz", REPO / "docs" / "state-file.md")):
        assert gzip.decompress((docs / name).read_bytes()) == source.read_bytes(), name
    alerts = root / "usr/share/qossnmp/prometheus/alerts.yml"
    assert alerts.read_bytes() == (REPO / "contrib/prometheus/alerts.yml").read_bytes()


def test_control_fields_and_library_dependencies(deb, root):
    fields = dict(re.findall(r"^(\S+): (.*)$", run("dpkg-deb", "-f", str(deb)).stdout, re.M))
    assert fields["Package"] == "qossnmpd"
    assert fields["Version"] == os.environ.get("QOSSNMP_DEB_VERSION", fields["Version"])
    assert fields["Section"] == "net"
    assert fields["Architecture"] == run("dpkg", "--print-architecture").stdout.strip()
    depends = {alternatives.strip() for alternatives in fields["Depends"].split(",")}
    # Every shared library the ELF files need, outside the package, is a dependency on the
    # Debian package that ships it, versioned as its symbols file or shlibs say.
    needed = set()
    for elf in [root / "usr/sbin/qossnmpd", *root.glob("usr/lib/*/qossnmpd/*.so")]:
        needed |= set(re.findall(r"\(NEEDED\)\s+Shared library: \[(.+)\]",
                                 run("readelf", "-d", str(elf)).stdout))
    private = {p.name for p in root.glob("usr/lib/*/qossnmpd/*.so")}
    assert private <= needed
    depended = {d.split()[0] for d in depends}
    for soname in sorted(needed - private):
        owners = {line.split(":")[0]
                  for line in run("dpkg", "-S", f"*/{soname}").stdout.splitlines()}
        assert owners & depended, f"{soname} ({owners}) missing from Depends: {fields['Depends']}"
    assert any(d.startswith("libsnmp40 (>= ") for d in depends), fields["Depends"]
    assert "systemd | systemd-standalone-sysusers | systemd-sysusers" in depends


def test_maintainer_scripts_parse_and_are_executable(control):
    for name in ("postinst", "prerm", "postrm"):
        script = control / name
        assert script.stat().st_mode & 0o777 == 0o755, name
        assert script.read_text().startswith("#!/bin/sh\n"), name
        subprocess.run(["sh", "-n", str(script)], check=True)


def test_postinst_creates_the_user_the_units_run_as(control, root, tmp_path):
    """The postinst names the shipped sysusers.d file; systemd-sysusers, run on it in an empty
    root, creates the system user and group the units name."""
    called = tmp_path / "called"
    stubs = tmp_path / "bin"
    stubs.mkdir()
    for tool in ("systemd-sysusers", "dpkg-statoverride", "deb-systemd-helper",
                 "deb-systemd-invoke", "systemctl"):
        (stubs / tool).write_text(f'#!/bin/sh\necho "{tool} $*" >> "{called}"\n'
                                  '[ "$1" != --list ]\n')
        (stubs / tool).chmod(0o755)
    env = dict(os.environ, PATH=f"{stubs}:{os.environ['PATH']}")
    subprocess.run([str(control / "postinst"), "configure", ""], env=env, check=True)
    calls = called.read_text().splitlines()
    sysusers = [c for c in calls if c.startswith("systemd-sysusers")]
    assert sysusers == ["systemd-sysusers qossnmpd.conf"]
    assert f"dpkg-statoverride --update --add root qossnmpd 0640 /{CONFFILE}" in calls

    sysroot = tmp_path / "sysroot"
    (sysroot / "etc").mkdir(parents=True)
    run("systemd-sysusers", f"--root={sysroot}",
        str(root / "usr/lib/sysusers.d/qossnmpd.conf"))
    passwd = [line.split(":") for line in (sysroot / "etc/passwd").read_text().splitlines()]
    user = [entry for entry in passwd if entry[0] == "qossnmpd"]
    assert len(user) == 1 and 0 < int(user[0][2]) < 1000, passwd
    assert user[0][6] in ("/usr/sbin/nologin", "/sbin/nologin")
    assert any(line.startswith("qossnmpd:") for line in
               (sysroot / "etc/group").read_text().splitlines())
    for unit in UNITS:
        text = (root / UNIT_DIR / unit).read_text()
        assert "\nUser=qossnmpd\n" in text and "\nGroup=qossnmpd\n" in text, unit


def free_udp_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


@pytest.fixture
def extracted_agent(root, tmp_path):
    """/usr/sbin/qossnmpd of the extracted tree on a free port, nothing but --listen given."""
    port = free_udp_port()
    env = {k: v for k, v in os.environ.items() if k != "LD_LIBRARY_PATH"}
    log = tmp_path / "qossnmpd.log"
    with open(log, "wb") as out:
        process = subprocess.Popen([str(root / "usr/sbin/qossnmpd"), "--listen",
                                    f"udp:127.0.0.1:{port}"], stdout=out,
                                   stderr=subprocess.STDOUT, env=env, start_new_session=True)
    deadline = time.monotonic() + READY_TIMEOUT_S
    while "qossnmpd: ready on" not in log.read_text():
        assert process.poll() is None, f"exited {process.returncode}:\n{log.read_text()}"
        assert time.monotonic() < deadline, log.read_text()
        time.sleep(0.05)
    yield process, port, log
    if process.poll() is None:
        process.kill()
        process.wait()


def test_the_agent_runs_from_the_extracted_tree_on_its_own_files(root, extracted_agent):
    process, port, log = extracted_agent
    # Its libraries are the package's, found through the RUNPATH alone.
    maps = Path(f"/proc/{process.pid}/maps").read_text()
    for library in ("libQosSnmp.so", "libplatform.so"):
        loaded = {line.split()[-1] for line in maps.splitlines() if line.endswith(library)}
        assert loaded == {str(next(root.glob(f"usr/lib/*/qossnmpd/{library}")))}, maps
    # Its defaults are the package's configuration (community public) and example state.
    walk = NetSnmp(f"udp:127.0.0.1:{port}").walk(CLASS_MAP_TABLE)
    class_maps = json.loads((root / "usr/share/qossnmp/examples/default.json").read_text())
    assert len(walk) == 2 * len(class_maps["classMaps"])
    process.send_signal(signal.SIGTERM)
    assert process.wait(10) == 0, log.read_text()


def test_help_names_the_installed_defaults(root):
    text = run(str(root / "usr/sbin/qossnmpd"), "--help").stdout
    assert f"(default {root / CONFFILE})" in text
    assert f"(default {root / 'usr/share/qossnmp/examples/default.json'})" in text
