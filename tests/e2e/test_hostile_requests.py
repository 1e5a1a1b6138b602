"""Requests that ask for more than fits: every client value of msgMaxSize, max-repetitions and
non-repeaters, for v1, v2c and v3, leaves the agent answering, quickly, with what fits.

An oversized GETBULK response used to end (or hang) the agent inside net-snmp's encoder for
SNMPv3. These tests are meant for the sanitizer build of qossnmpd (ctest -L hostile in
build-asan), where an overflow ends the agent at once; they pass on any build.
"""

import socket
import time

import pytest

from conftest import REPO
from snmpclient import CLASS_MAP_TABLE, ENTERPRISE, NetSnmp, parse_netsnmp_output

V3_CONFIG = """\
rocommunity public 127.0.0.1
createUser fuzzsha SHA "fuzzsha-auth-pass"
rouser fuzzsha auth
createUser fuzzpriv SHA "fuzzpriv-auth-pass" AES "fuzzpriv-priv-pass"
rouser fuzzpriv priv
createUser fuzznoauth
rouser fuzznoauth noauth
"""

CLIENTS = {
    "v2c": ["-v2c", "-c", "public"],
    "v3-noauth": ["-v3", "-l", "noAuthNoPriv", "-u", "fuzznoauth"],
    "v3-auth": ["-v3", "-l", "authNoPriv", "-u", "fuzzsha", "-a", "SHA",
                "-A", "fuzzsha-auth-pass"],
    "v3-priv": ["-v3", "-l", "authPriv", "-u", "fuzzpriv", "-a", "SHA",
                "-A", "fuzzpriv-auth-pass", "-x", "AES", "-X", "fuzzpriv-priv-pass"],
}
MSG_MAX_SIZES = [484, 485, 500, 600, 700, 800, 900, 1000, 1100, 1200, 1300, 1400, 1472, 1500]
MAX_REPETITIONS = [0, 1, 255, 65535, 2**31 - 1]
ACTION_TABLE = (*ENTERPRISE, 3, 13, 1, 5)
SYS_DESCR = (1, 3, 6, 1, 2, 1, 1, 1, 0)
# A request that cannot take seconds: generous for a sanitizer build on a loaded machine.
SLOW_REQUEST_S = 3.0


@pytest.fixture(scope="module")
def example_state() -> str:
    return (REPO / "examples" / "default.json").read_text(encoding="utf-8")


@pytest.fixture
def agent(start_agent, example_state):
    return start_agent(state_text=example_state, config=V3_CONFIG)


def bulkget(agent, client: str, *options: str, oids=(ACTION_TABLE,)):
    """One snmpbulkget; returns (varbinds, seconds). A tooBig answer is an SnmpError."""
    tool = NetSnmp(agent.endpoint, CLIENTS[client])
    start = time.monotonic()
    result = tool.run("snmpbulkget", "-On", "-Oe", "-Ox", *options,
                      *(".".join(map(str, o)) for o in oids), check=False)
    elapsed = time.monotonic() - start
    assert agent.process.popen.poll() is None, (
        f"qossnmpd died on snmpbulkget {' '.join(options)}:\n{agent.output()}")
    return result, elapsed


def assert_answering(agent):
    for client in CLIENTS:
        tool = NetSnmp(agent.endpoint, CLIENTS[client])
        assert tool.get(SYS_DESCR)[0].type == "STRING", client


@pytest.mark.parametrize("client", ["v3-noauth", "v3-auth", "v3-priv"])
def test_v3_bulk_responses_are_cut_to_every_message_size(agent, client):
    for size in MSG_MAX_SIZES:
        for reps in MAX_REPETITIONS:
            result, elapsed = bulkget(agent, client, f"--sendMessageMaxSize={size}",
                                      "-Cn0", f"-Cr{reps}")
            assert elapsed < SLOW_REQUEST_S, (size, reps, elapsed)
            assert result.returncode == 0, (size, reps, result.stderr)
            varbinds = parse_netsnmp_output(result.stdout)
            if reps == 0:
                assert varbinds == [], (size, reps)
            else:
                # Cut to what fits, but never to nothing: a row of this table fits in 484.
                assert 1 <= len(varbinds) <= reps, (size, reps, len(varbinds))
                oids = [v.oid for v in varbinds]
                assert oids == sorted(oids) and len(set(oids)) == len(oids)
    assert_answering(agent)


def test_bigger_message_sizes_carry_more_varbinds(agent):
    counts = []
    for size in (484, 1000, 1500):
        result, _ = bulkget(agent, "v3-auth", f"--sendMessageMaxSize={size}", "-Cn0", "-Cr255")
        counts.append(len(parse_netsnmp_output(result.stdout)))
    assert counts[0] < counts[1] < counts[2], counts
    assert "bulk responses cut to fit" not in agent.output()  # reported at stop only
    agent.stop()
    line = next(l for l in agent.output().splitlines() if "bulk responses cut to fit" in l)
    assert int(line.split("qossnmpd: ")[1].split()[0]) >= 3, line


def raw_v2c_getbulk(port: int, non_repeaters: int, max_repetitions: int, oids) -> bytes:
    """Sends one v2c GETBULK built with pysnmp (which, unlike the command-line tools, lets
    non-repeaters exceed the varbind count) and returns the agent's response datagram."""
    from pyasn1.codec.ber import encoder
    from pysnmp.proto import api

    proto = api.protoModules[api.protoVersion2c]
    pdu = proto.GetBulkRequestPDU()
    proto.apiBulkPDU.setDefaults(pdu)
    proto.apiBulkPDU.setNonRepeaters(pdu, non_repeaters)
    proto.apiBulkPDU.setMaxRepetitions(pdu, max_repetitions)
    proto.apiBulkPDU.setVarBinds(pdu, [(o, proto.Null("")) for o in oids])
    message = proto.Message()
    proto.apiMessage.setDefaults(message)
    proto.apiMessage.setCommunity(message, "public")
    proto.apiMessage.setPDU(message, pdu)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.settimeout(SLOW_REQUEST_S)
        s.sendto(encoder.encode(message), ("127.0.0.1", port))
        return s.recv(65535)


def test_non_repeaters_of_any_size_are_answered(agent):
    oids = (SYS_DESCR, ACTION_TABLE, ACTION_TABLE)
    for non_repeaters in (0, 1, 2, 3, 4, 255, 2**31 - 1):
        for reps in (0, 1, 255, 2**31 - 1):
            start = time.monotonic()
            response = raw_v2c_getbulk(agent.port, non_repeaters, reps, oids)
            assert time.monotonic() - start < SLOW_REQUEST_S
            assert len(response) <= 65507, (non_repeaters, reps, len(response))
    for size in (484, 1000):
        for non_repeaters in (0, 1, 3):
            result, _ = bulkget(agent, "v3-auth", f"--sendMessageMaxSize={size}",
                                f"-Cn{non_repeaters}", "-Cr255", oids=oids)
            assert result.returncode == 0, (size, non_repeaters, result.stderr)
    assert_answering(agent)


def test_v2c_bulk_responses_are_cut_to_the_udp_limit(agent):
    for reps in MAX_REPETITIONS:
        result, elapsed = bulkget(agent, "v2c", "-Cn0", f"-Cr{reps}", oids=[(*ENTERPRISE, 3)])
        assert elapsed < SLOW_REQUEST_S and result.returncode == 0, (reps, result.stderr)
    assert_answering(agent)


def test_a_get_too_big_for_the_message_is_answered_too_big(agent):
    tool = NetSnmp(agent.endpoint, [*CLIENTS["v3-auth"], "--sendMessageMaxSize=484"])
    # The request fits in 484 octets; fifteen class map rows with their names do not.
    names = [(*CLASS_MAP_TABLE, 1, 3)] * 15
    result = tool.run("snmpgetnext", *(".".join(map(str, o)) for o in names), check=False)
    assert "(tooBig)" in result.stdout + result.stderr, result
    assert_answering(agent)


def test_v1_requests_of_many_varbinds_are_answered(agent):
    tool = NetSnmp(agent.endpoint, ["-v1", "-c", "public"])
    names = [".".join(map(str, (*ACTION_TABLE, 1, 3)))] * 60
    result = tool.run("snmpgetnext", *names, check=False)
    assert agent.process.popen.poll() is None
    assert result.returncode == 0 or "tooBig" in result.stderr or "Too Big" in result.stdout
    assert_answering(agent)
