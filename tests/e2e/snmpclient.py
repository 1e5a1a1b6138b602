"""The SNMP clients the end-to-end tests query the agent with.

net-snmp's command-line tools run exactly as a user would type them, always with numeric OIDs
(-On), numeric enumerations (-Oe) and octet strings in hex (-Ox), so that no MIB file and no
locale changes what is compared. pysnmp is the second, independent client.

Both produce the same shape: a list of Varbind(oid, type, value), with oid a tuple of ints,
type "STRING", "INTEGER", ... and value bytes for octet strings, int for integers.
"""

from __future__ import annotations

import os
import re
import subprocess
from dataclasses import dataclass
from typing import Iterable, Sequence

# The enterprise arc the agent was built with: CMake passes VELORA_ENTERPRISE_ARC to the tests;
# 32473 is the build's default.
ENTERPRISE_ARC = int(os.environ.get("VELORA_ENTERPRISE_ARC", "32473"))
ENTERPRISE = (1, 3, 6, 1, 4, 1, ENTERPRISE_ARC)
CLASS_MAP_TABLE = ENTERPRISE + (3, 13, 1, 1)
CLASS_MAP_ENTRY = CLASS_MAP_TABLE + (1,)
COL_NAME = 3
COL_MATCH_CONDITION = 4

# VELORA-QOS-MIB: its eleven tables at QOS_MIB.1.N.
QOS_MIB = ENTERPRISE + (3, 13)
QOS_TABLES = {
    1: "veloraClassMapTable", 2: "veloraClassMapMatchTable", 3: "veloraPolicyMapTable",
    4: "veloraPolicyMapClassTable", 5: "veloraPolicyMapActionTable",
    6: "veloraServicePolicyTable", 7: "veloraQosStatsTable", 8: "veloraEcnCounterTable",
    9: "veloraEcnQueueCounterTable", 10: "veloraQosPolicerStatsTable",
    11: "veloraQosPerIntfStatsTable",
}

# The policing MIBs: VELORA-POLICING-MIB (profiles .1.1, policer instances .1.2) and
# VELORA-IF-POLICER-MIB (ingress statistics .1.1, egress .1.2).
POLICING_MIB = ENTERPRISE + (3, 42)
IF_POLICER_MIB = ENTERPRISE + (3, 43)

# Exceptional values of SNMPv2 varbinds, as both clients are made to report them.
NO_SUCH_OBJECT = "noSuchObject"
NO_SUCH_INSTANCE = "noSuchInstance"
END_OF_MIB_VIEW = "endOfMibView"

CLIENT_TIMEOUT_S = 5
_NETSNMP_OUTPUT = ["-On", "-Oe", "-Ox"]
# Debian's snmp.conf may turn MIB loading off or on; with -m "" no module is read either way.
_NO_MIBS = ["-m", "", "-M", "/nonexistent"]


@dataclass(frozen=True)
class Varbind:
    oid: tuple[int, ...]
    type: str
    value: object


def oid_text(oid: Sequence[int]) -> str:
    return "." + ".".join(str(arc) for arc in oid)


def parse_oid(text: str) -> tuple[int, ...]:
    return tuple(int(arc) for arc in text.strip().lstrip(".").split("."))


def class_map_instance(column: int, class_map_id: bytes, map_type: int) -> tuple[int, ...]:
    """The OID of one cell: entry, column, then the length-prefixed id and the type."""
    return CLASS_MAP_ENTRY + (column, len(class_map_id)) + tuple(class_map_id) + (map_type,)


def qos_instance(table: int, column: int, *index: bytes | int) -> tuple[int, ...]:
    """The OID of one cell of a QoS MIB table: octet-string index components (bytes) are
    length-prefixed, integers and enumerations are one arc each."""
    arcs: list[int] = []
    for component in index:
        arcs += [len(component), *component] if isinstance(component, bytes) else [component]
    return QOS_MIB + (1, table, 1, column) + tuple(arcs)


def qos_table_of(oid: Sequence[int]) -> int | None:
    """The QoS MIB table number N of an OID under QOS_MIB.1.N, else None."""
    prefix = QOS_MIB + (1,)
    return oid[len(prefix)] if tuple(oid[:len(prefix)]) == prefix and len(oid) > len(prefix) \
        else None


def snmptable(endpoint: str, table: str, mib_dirs: Sequence[str], *options: str,
              auth: Sequence[str] = ("-v2c", "-c", "public")) -> subprocess.CompletedProcess:
    """`snmptable` of one VELORA-QOS-MIB table, with the MIB modules in mib_dirs loaded."""
    argv = ["snmptable", "-M", ":".join(str(d) for d in mib_dirs), "-m", "VELORA-QOS-MIB",
            *auth, "-t", str(CLIENT_TIMEOUT_S), "-r", "1", *options, endpoint,
            f"VELORA-QOS-MIB::{table}"]
    return subprocess.run(argv, capture_output=True, text=True, timeout=120, errors="replace")


class SnmpError(Exception):
    """A net-snmp tool failed; carries its exit status and output."""

    def __init__(self, argv: list[str], result: subprocess.CompletedProcess):
        self.argv = argv
        self.returncode = result.returncode
        self.stdout = result.stdout
        self.stderr = result.stderr
        super().__init__(
            f"{' '.join(argv)} exited {result.returncode}\n"
            f"stdout:\n{result.stdout}\nstderr:\n{result.stderr}")


_VARBIND_START = re.compile(r"^(\.[0-9.]+) = (.*)$")
_EXCEPTIONS = {
    "No Such Object available on this agent at this OID": NO_SUCH_OBJECT,
    "No Such Instance currently exists at this OID": NO_SUCH_INSTANCE,
    "No more variables left in this MIB View (It is past the end of the MIB tree)":
        END_OF_MIB_VIEW,
}


def _parse_value(text: str) -> tuple[str, object]:
    if text in _EXCEPTIONS:
        return _EXCEPTIONS[text], None
    if text == '""':
        return "STRING", b""
    kind, _, rest = text.partition(": ")
    if kind == "Hex-STRING":
        return "STRING", bytes.fromhex(rest.replace("\n", " "))
    if kind == "STRING":
        # -Ox prints every non-empty octet string in hex; a plain string here is a surprise.
        raise ValueError(f"octet string not printed in hex: {text!r}")
    if kind in ("INTEGER", "Gauge32", "Counter32", "Counter64", "Timeticks", "INTEGER64"):
        return kind, int(rest.split()[0].strip("()"))
    if kind == "OID":
        return kind, parse_oid(rest)
    return kind, rest


def parse_netsnmp_output(stdout: str) -> list[Varbind]:
    """Parses `-On -Oe -Ox` output; a hex string may continue over several lines."""
    entries: list[tuple[str, list[str]]] = []
    for line in stdout.splitlines():
        match = _VARBIND_START.match(line)
        if match:
            entries.append((match.group(1), [match.group(2)]))
        elif line.strip() and entries:
            entries[-1][1].append(line.strip())
        elif line.strip():
            raise ValueError(f"unexpected line in net-snmp output: {line!r}")
    result = []
    for oid, lines in entries:
        kind, value = _parse_value("\n".join(lines).strip())
        result.append(Varbind(parse_oid(oid), kind, value))
    return result


class NetSnmp:
    """net-snmp's command-line tools, pointed at one agent endpoint.

    auth: the security arguments, e.g. ["-v2c", "-c", "public"] or an SNMPv3 user.
    prefix: what runs the tool, e.g. ["ip", "netns", "exec", NAME] for an agent in a network
    namespace of its own.
    """

    def __init__(self, endpoint: str, auth: Sequence[str] = ("-v2c", "-c", "public"),
                 prefix: Sequence[str] = ()):
        self.endpoint = endpoint
        self.auth = list(auth)
        self.prefix = list(prefix)

    def run(self, tool: str, *args: str, check: bool = True,
            timeout: float = 120) -> subprocess.CompletedProcess:
        # Options first, then the agent, then OIDs and values: the order the tools document.
        options = [a for a in args if a.startswith("-")]
        operands = [a for a in args if not a.startswith("-")]
        argv = [*self.prefix, tool, *_NO_MIBS, *self.auth, "-t", str(CLIENT_TIMEOUT_S), "-r", "1",
                *options, self.endpoint, *operands]
        result = subprocess.run(argv, capture_output=True, text=True, timeout=timeout,
                                errors="replace")
        if check and result.returncode != 0:
            raise SnmpError(argv, result)
        return result

    def walk(self, oid: Sequence[int], *options: str) -> list[Varbind]:
        """`snmpwalk` of the subtree; the tool itself fails on a non-increasing OID."""
        return _rows_of_walk(oid, self._varbinds("snmpwalk", *options, oid_text(oid)))

    def bulkwalk(self, oid: Sequence[int], *options: str) -> list[Varbind]:
        return _rows_of_walk(oid, self._varbinds("snmpbulkwalk", *options, oid_text(oid)))

    def get(self, *oids: Sequence[int]) -> list[Varbind]:
        return self._varbinds("snmpget", *(oid_text(o) for o in oids))

    def getnext(self, *oids: Sequence[int]) -> list[Varbind]:
        return self._varbinds("snmpgetnext", *(oid_text(o) for o in oids))

    def set(self, oid: Sequence[int], kind: str, value: str,
            check: bool = True) -> subprocess.CompletedProcess:
        return self.run("snmpset", *_NETSNMP_OUTPUT, oid_text(oid), kind, value, check=check)

    def _varbinds(self, tool: str, *args: str) -> list[Varbind]:
        result = self.run(tool, *_NETSNMP_OUTPUT, *args)
        return parse_netsnmp_output(result.stdout)


def _rows_of_walk(root: Sequence[int], walk: list[Varbind]) -> list[Varbind]:
    """The rows of a walk, without what the tools print about its end: a walk that reaches the
    end of the agent's MIB view ends with the endOfMibView of its last GETNEXT, and a walk that
    found nothing GETs its root and prints that instead (noSuchObject)."""
    if walk and walk[-1].type == END_OF_MIB_VIEW:
        walk = walk[:-1]
    if len(walk) == 1 and walk[0].oid == tuple(root) and walk[0].type in (NO_SUCH_OBJECT,
                                                                          NO_SUCH_INSTANCE):
        walk = []
    return walk


def _pysnmp_varbind(name, value) -> Varbind:
    from pysnmp.proto import rfc1902, rfc1905

    oid = tuple(int(arc) for arc in name)
    if isinstance(value, rfc1905.NoSuchObject):
        return Varbind(oid, NO_SUCH_OBJECT, None)
    if isinstance(value, rfc1905.NoSuchInstance):
        return Varbind(oid, NO_SUCH_INSTANCE, None)
    if isinstance(value, rfc1905.EndOfMibView):
        return Varbind(oid, END_OF_MIB_VIEW, None)
    if isinstance(value, rfc1902.OctetString):
        return Varbind(oid, "STRING", bytes(value.asOctets()))
    if isinstance(value, rfc1902.Integer32) or isinstance(value, rfc1902.Integer):
        return Varbind(oid, "INTEGER", int(value))
    if isinstance(value, rfc1902.Counter64):
        return Varbind(oid, "Counter64", int(value))
    return Varbind(oid, type(value).__name__, value.prettyPrint())


class PySnmp:
    """pysnmp's high-level API (SNMPv2c), an SNMP implementation independent of net-snmp."""

    def __init__(self, host: str, port: int, community: str = "public"):
        from pysnmp import hlapi

        self._hlapi = hlapi
        self._engine = hlapi.SnmpEngine()
        self._community = hlapi.CommunityData(community, mpModel=1)
        self._target = hlapi.UdpTransportTarget((host, port), timeout=CLIENT_TIMEOUT_S,
                                                retries=1)

    def walk(self, oid: Sequence[int]) -> list[Varbind]:
        """GETNEXT walk of the subtree (lexicographicMode=False stops at its end)."""
        h = self._hlapi
        return _rows_of_walk(oid, self._collect(h.nextCmd(
            self._engine, self._community, self._target, h.ContextData(),
            h.ObjectType(h.ObjectIdentity(oid_text(oid)[1:])),
            lexicographicMode=False, lookupMib=False)))

    def bulkwalk(self, oid: Sequence[int], repetitions: int = 25) -> list[Varbind]:
        h = self._hlapi
        return _rows_of_walk(oid, self._collect(h.bulkCmd(
            self._engine, self._community, self._target, h.ContextData(), 0, repetitions,
            h.ObjectType(h.ObjectIdentity(oid_text(oid)[1:])),
            lexicographicMode=False, lookupMib=False)))

    def get(self, *oids: Sequence[int]) -> list[Varbind]:
        h = self._hlapi
        return self._collect(h.getCmd(
            self._engine, self._community, self._target, h.ContextData(),
            *(h.ObjectType(h.ObjectIdentity(oid_text(o)[1:])) for o in oids),
            lookupMib=False))

    @staticmethod
    def _collect(responses: Iterable) -> list[Varbind]:
        result = []
        for error_indication, error_status, error_index, var_binds in responses:
            if error_indication:
                raise AssertionError(f"pysnmp: {error_indication}")
            if error_status:
                raise AssertionError(
                    f"pysnmp: {error_status.prettyPrint()} at index {int(error_index)}")
            result.extend(_pysnmp_varbind(name, value) for name, value in var_binds)
        return result
