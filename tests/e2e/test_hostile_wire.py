"""Hostile datagrams on the wire: over ten thousand mutated and boundary SNMP messages, built
with pyasn1 (wire.py) and sent over a plain UDP socket, and the agent answers every well-formed
request correctly, sends only well-formed answers, and keeps answering.

The messages: index OIDs of every QoS table under enterprises.E.3.13.1.1 to .11 truncated, too
long, with components of the wrong type or out of range, every sub-identifier of a row's OID
set to 0, 2^31 and 2^32-1, unknown columns; OIDs of 127 to 5000 sub-identifiers; request ids,
non-repeaters and max-repetitions far past 32 bits; every length of a message set wrong; random
byte mutations; SNMPv3 headers with boundary message ids, sizes, flags and security models.

What is checked, besides the agent staying up (an overflow ends the sanitizer build at once):
  - every datagram the agent sends is well-formed BER and an SNMP Response or Report;
  - every well-formed v2c GET is answered with the row's value (rows read before the storm) or
    noSuchObject/noSuchInstance; every GETNEXT and GETBULK with exactly the next OIDs of the
    agent's MIB, whatever the index looked like (a bad index only makes the tables walk from
    their first row); every SET is refused; every well-formed request is answered;
  - after every 500 messages a GET of one row of each table returns what it did before.
The index OIDs also go through Debian's snmpd to qossnmpd as its AgentX sub-agent.

Marked `hostile`: ctest runs it against the sanitizer build (label hostile, build-asan).
"""

from __future__ import annotations

import bisect
import itertools
import random
import time
from typing import Callable, Iterable, Iterator, Sequence

import pytest

from conftest import REPO
from snmpclient import NetSnmp
from snmpd import SnmpdMaster
from wire import (ENTERPRISE, GET, GETBULK, GETNEXT, NULL, QOS_TABLES_ROOT, RESPONSE, SET,
                  V1, V2C, V3, Answer, HostileClient, Malformed, bad_lengths, byte_mutations,
                  community_message, decode_answer, integer, oid, pdu, v3_message, varbind)

pytestmark = pytest.mark.hostile

ENGINE_ID = bytes.fromhex("80001f8804") + b"qossnmp-wire"
CONFIG = f"""\
exactEngineID 0x{ENGINE_ID.hex()}
rocommunity public 127.0.0.1
rwcommunity private 127.0.0.1
createUser wirenoauth
rwuser wirenoauth noauth
"""
STATE = REPO / "tests" / "e2e" / "data" / "qos-switch.json"

STRING, ENUM, INTEGER = "string", "enumeration", "integer"
# Each QoS table's index components and its columns.
TABLES = {
    1: ((STRING, ENUM), (3, 4)),
    2: ((STRING, ENUM, INTEGER), (2, 3)),
    3: ((STRING, ENUM), (3,)),
    4: ((STRING, ENUM, INTEGER), (2,)),
    5: ((STRING, ENUM, STRING, ENUM), (2, 3)),
    6: ((INTEGER, ENUM), (3, 4)),
    7: ((STRING, ENUM, STRING, ENUM), (1, 2, 3, 4, 5, 6)),
    8: ((STRING,), (2, 3)),
    9: ((INTEGER, INTEGER), (3, 4, 5)),
    10: ((STRING, ENUM, STRING, ENUM, INTEGER), (1, 2)),
    11: ((STRING, ENUM, STRING, ENUM, INTEGER), (1, 2, 3, 4, 5, 6)),
}
BOUNDARY_ARCS = (0, 2**31, 2**32 - 1)
MAX_SUB_ID = 2**32 - 1
MAX_OID_LEN = 128  # net-snmp's limit; longer OIDs are not well-formed requests here
HUGE_INTEGERS = (2**31 - 1, 2**31, -2**31, -2**31 - 1, 2**32 - 1, 2**32, 2**63 - 1, 2**63,
                 -2**63, 2**64, 2**100)
NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB_VIEW = 0x80, 0x81, 0x82

SYNC_EVERY = 50
LIVENESS_EVERY = 500


def entry(table: int) -> tuple[int, ...]:
    return QOS_TABLES_ROOT + (table, 1)


def well_formed(name: Sequence[int]) -> bool:
    return 2 <= len(name) <= MAX_OID_LEN and all(0 <= arc <= MAX_SUB_ID for arc in name)


def encodable(name: Sequence[int]) -> bool:
    """Whether BER can carry the OID at all (its first two arcs share one sub-identifier)."""
    try:
        oid(name)
        return True
    except Exception:  # pyasn1 refuses first arcs it cannot combine
        return False


class Served:
    """What an agent serves, read by GETBULKs before the storm (`ask` sends a message and returns
    its answer), and the answers that follow from it for any request."""

    def __init__(self, ask: Callable[[Callable[[int], bytes]], Answer],
                 start: tuple[int, ...] = (1, 0)):
        self.mib: dict[tuple[int, ...], object] = {}
        name = start
        while name is not None:
            answer = ask(lambda rid: community_message(
                V2C, b"public", pdu(GETBULK, rid, [varbind(name)], 0, 50)))
            assert answer.error_status == 0, answer
            for name, value in answer.varbinds:
                if value.tag == END_OF_MIB_VIEW:
                    name = None
                    break
                assert name not in self.mib, f"{name} twice in the walk"
                self.mib[name] = value
        self.oids = sorted(self.mib)
        self.rows = {name: value for name, value in self.mib.items()
                     if name[:len(QOS_TABLES_ROOT)] == QOS_TABLES_ROOT}

    def instances(self, table: int) -> list[tuple[int, ...]]:
        prefix = entry(table)
        return [name for name in self.rows if name[:len(prefix)] == prefix]

    def expect_get(self, name: tuple[int, ...]) -> Callable[[Answer], None]:
        """The row's value, or noSuchObject/noSuchInstance where there is none."""
        def check(answer: Answer) -> None:
            assert answer.kind == RESPONSE and answer.error_status == 0, (name, answer)
            [(got, value)] = answer.varbinds
            assert got == name, (name, answer)
            if name in self.rows:
                assert value == self.rows[name], (name, value, self.rows[name])
            elif name not in self.mib:
                assert value.tag in (NO_SUCH_OBJECT, NO_SUCH_INSTANCE), (name, value)
        return check

    def expect_next(self, name: tuple[int, ...], count: int) -> Callable[[Answer], None]:
        """The `count` OIDs that follow `name` in the agent's MIB, in order, with the rows'
        values; past the last OID, endOfMibView."""
        start = bisect.bisect_right(self.oids, name)
        expected = self.oids[start:start + count]

        def check(answer: Answer) -> None:
            assert answer.kind == RESPONSE and answer.error_status == 0, (name, answer)
            got = [n for n, value in answer.varbinds if value.tag != END_OF_MIB_VIEW]
            assert got == expected, (name, got[:3], expected[:3])
            if len(expected) < count:
                assert answer.varbinds[-1][1].tag == END_OF_MIB_VIEW, (name, answer)
            for n, value in answer.varbinds:
                if n in self.rows and value.tag != END_OF_MIB_VIEW:
                    assert value == self.rows[n], (n, value)
        return check

    @staticmethod
    def expect_refused(answer: Answer) -> None:
        assert answer.kind == RESPONSE and answer.error_status != 0, answer

    @staticmethod
    def expect_any(answer: Answer) -> None:
        assert answer.kind == RESPONSE, answer


class Campaign:
    """Sends hostile messages to one qossnmpd master agent and checks every answer.

    send() fires a message and, for a well-formed request, registers the check its answer must
    pass; every SYNC_EVERY messages the campaign waits until the agent has handled them all (it
    serves its socket in order) and requires every registered request to have been answered;
    every LIVENESS_EVERY messages it reads one row of each table and compares it with what the
    rows were at the start.
    """

    def __init__(self, agent):
        self.agent = agent
        self.client = HostileClient(agent.port)
        self.next_id = 1000
        self.pending: dict[int, Callable[[Answer], None]] = {}
        self.answers = 0
        self.requests_checked = 0
        self.started = time.monotonic()
        self.served = Served(
            lambda build: decode_answer(self.client.request(build(self.new_id()))))
        self.liveness_oids = [self.served.instances(table)[0] for table in TABLES]

    def new_id(self) -> int:
        self.next_id += 1
        return self.next_id

    def send(self, message: bytes, request_id: int | None = None,
             check: Callable[[Answer], None] | None = None) -> None:
        if check is not None:
            self.pending[request_id] = check
        self.client.send(message)
        if self.client.sent % SYNC_EVERY == 0:
            self.sync()
        if self.client.sent % LIVENESS_EVERY == 0:
            self.assert_rows_unchanged()

    def sync(self) -> None:
        for data in self.client.sync():
            self.check(data)
        assert not self.pending, (
            f"{len(self.pending)} well-formed requests got no answer, "
            f"request ids {sorted(self.pending)[:10]}")
        assert self.agent.process.popen.poll() is None, self.agent.output()

    def check(self, data: bytes) -> None:
        try:
            answer = decode_answer(data)
        except Malformed as e:
            raise AssertionError(f"the agent sent a malformed message ({e}): {data.hex()}")
        self.answers += 1
        check = self.pending.pop(answer.request_id, None)
        if check is not None:
            check(answer)
            self.requests_checked += 1

    def assert_rows_unchanged(self) -> None:
        answer = decode_answer(self.client.request(community_message(
            V2C, b"public", pdu(GET, self.new_id(), [varbind(o) for o in self.liveness_oids]))))
        assert answer.error_status == 0, answer
        assert [(name, value) for name, value in answer.varbinds] == \
            [(name, self.served.rows[name]) for name in self.liveness_oids]

    def finish(self) -> float:
        self.sync()
        self.assert_rows_unchanged()
        return time.monotonic() - self.started

    # --- requests with checked answers ---

    def get(self, name: tuple[int, ...], version: int = V2C) -> None:
        rid = self.new_id()
        message = community_message(version, b"public", pdu(GET, rid, [varbind(name)]))
        self.send(message, rid,
                  self.served.expect_get(name) if version == V2C else Served.expect_any)

    def getnext(self, name: tuple[int, ...], version: int = V2C) -> None:
        rid = self.new_id()
        message = community_message(version, b"public", pdu(GETNEXT, rid, [varbind(name)]))
        self.send(message, rid,
                  self.served.expect_next(name, 1) if version == V2C else Served.expect_any)

    def getbulk(self, name: tuple[int, ...], repetitions: int) -> None:
        rid = self.new_id()
        message = community_message(V2C, b"public",
                                    pdu(GETBULK, rid, [varbind(name)], 0, repetitions))
        self.send(message, rid, self.served.expect_next(name, repetitions))

    def set(self, name: tuple[int, ...]) -> None:
        rid = self.new_id()
        message = community_message(V2C, b"private", pdu(SET, rid, [varbind(name, integer(1))]))
        self.send(message, rid, Served.expect_refused)


# --- the index OIDs of a table, and what goes wrong with them ---

def split_index(shape: Sequence[str], index: Sequence[int]) -> list[tuple[int, ...]]:
    components, pos = [], 0
    for kind in shape:
        size = 1 + index[pos] if kind == STRING else 1
        components.append(tuple(index[pos:pos + size]))
        pos += size
    assert pos == len(index), (shape, index)
    return components


def component_variants(kind: str, arcs: tuple[int, ...]) -> Iterator[tuple[int, ...]]:
    if kind == STRING:
        n, body = arcs[0], arcs[1:]
        for length in (0, n + 1, max(n - 1, 0), 40, 41, 255, 2**31, MAX_SUB_ID):
            yield (length, *body)
        yield (MAX_SUB_ID,)  # a length and no octets
        for octet in (256, 2**31, MAX_SUB_ID):
            yield (n, octet, *body[1:])
        yield (2,)  # an integer where a string belongs
    else:
        for value in (0, 3, 99, 2**31 - 1, 2**31, MAX_SUB_ID):
            yield (value,)
        yield (3, 65, 66, 67)  # a string where an integer belongs


def index_variants(shape: Sequence[str], index: tuple[int, ...]) -> Iterator[tuple[int, ...]]:
    for cut in range(len(index)):
        yield index[:cut]
    for extra in ((0,), (2**31,), (MAX_SUB_ID,), (1,) * 60):
        yield index + extra
    components = split_index(shape, index)
    for i, kind in enumerate(shape):
        before, after = sum(components[:i], ()), sum(components[i + 1:], ())
        for replacement in component_variants(kind, components[i]):
            yield before + replacement + after


def hostile_names(served: Served) -> list[tuple[int, ...]]:
    """Every OID to ask for: for the first, a middle and the last row of each table, its index
    varied, unknown columns, and every sub-identifier set to each boundary value."""
    names: dict[tuple[int, ...], None] = {}
    for table, (shape, columns) in TABLES.items():
        prefix = entry(table)
        rows = served.instances(table)
        for instance in (rows[0], rows[len(rows) // 2], rows[-1]):
            column, index = instance[len(prefix)], instance[len(prefix) + 1:]
            for variant in index_variants(shape, index):
                names[prefix + (column,) + variant] = None
            for bad_column in (0, 1, 7, 2**31, MAX_SUB_ID):
                if bad_column not in columns:
                    names[prefix + (bad_column,) + index] = None
            for pos in range(len(instance)):
                for arc in BOUNDARY_ARCS:
                    names[instance[:pos] + (arc,) + instance[pos + 1:]] = None
    return [name for name in names if encodable(name)]


def send_hostile_names(campaign: Campaign, names: Iterable[tuple[int, ...]]) -> None:
    """GET and GETNEXT for each name, and in turn a GETBULK, a SET, a v1 GET or a v1 GETNEXT."""
    extra = [lambda n: campaign.getbulk(n, 3), campaign.set,
             lambda n: campaign.get(n, V1), lambda n: campaign.getnext(n, V1)]
    for i, name in enumerate(names):
        if not well_formed(name):
            rid = campaign.new_id()
            campaign.send(community_message(V2C, b"public", pdu(GETNEXT, rid, [varbind(name)])))
            continue
        campaign.get(name)
        campaign.getnext(name)
        extra[i % len(extra)](name)


@pytest.fixture
def campaign(start_agent):
    agent = start_agent(state_text=STATE.read_text(encoding="utf-8"), config=CONFIG)
    campaign = Campaign(agent)
    yield campaign
    campaign.client.close()


def test_messages_built_here_are_the_bytes_pysnmp_sends():
    from pyasn1.codec.ber import encoder
    from pysnmp.proto import api

    name = ENTERPRISE + (3, 13, 1, 1, 1, 3, 2, 88, 89, 2)
    for version, proto_version in ((V1, api.protoVersion1), (V2C, api.protoVersion2c)):
        proto = api.protoModules[proto_version]
        for kind, pdu_type in ((GET, proto.GetRequestPDU), (GETNEXT, proto.GetNextRequestPDU),
                               (SET, proto.SetRequestPDU)):
            the_pdu = pdu_type()
            proto.apiPDU.setDefaults(the_pdu)
            proto.apiPDU.setRequestID(the_pdu, 4242)
            value = proto.Integer(1) if kind == SET else proto.Null("")
            proto.apiPDU.setVarBinds(the_pdu, [(name, value)])
            message = proto.Message()
            proto.apiMessage.setDefaults(message)
            proto.apiMessage.setCommunity(message, "public")
            proto.apiMessage.setPDU(message, the_pdu)
            mine = community_message(version, b"public", pdu(
                kind, 4242, [varbind(name, integer(1) if kind == SET else NULL)]))
            assert mine == encoder.encode(message), (version, kind)


def test_the_walk_read_here_is_the_walk_net_snmp_reads(campaign):
    tool = NetSnmp(campaign.agent.endpoint).bulkwalk(QOS_TABLES_ROOT)
    assert [v.oid for v in tool] == sorted(campaign.served.rows)
    assert all(campaign.served.instances(table) for table in TABLES)


def test_index_oids_of_every_table_truncated_too_long_wrong_and_at_the_boundaries(campaign):
    names = hostile_names(campaign.served)
    send_hostile_names(campaign, names)
    seconds = campaign.finish()
    print(f"{campaign.client.sent} messages for {len(names)} OIDs in {seconds:.1f} s; "
          f"{campaign.answers} answers, {campaign.requests_checked} checked")
    assert campaign.client.sent >= 9000
    assert campaign.requests_checked >= 8000


def test_index_oids_through_snmpd_to_the_sub_agent(start_agent, tmp_path):
    """The same OIDs, under enterprises.E, through Debian's snmpd to qossnmpd as its AgentX
    sub-agent: a GET, a GETNEXT, a GETBULK and a SET for each, one at a time (the master
    answers out of order), every answer as the rows say and the sub-agent still serving."""
    with SnmpdMaster(tmp_path / "master") as master:
        sub = start_agent(state_text=STATE.read_text(encoding="utf-8"),
                          agentx=f"unix:{master.socket}")
        client = HostileClient(master.port)
        ids = itertools.count(1000)

        def ask(build: Callable[[int], bytes]) -> Answer:
            request_id = next(ids)
            answer = client.ask(build(request_id), request_id)
            assert answer is not None, f"no answer after {client.sent} requests:\n{sub.output()}"
            return answer

        deadline = time.monotonic() + 20
        while not (served := Served(ask, start=ENTERPRISE)).rows:
            assert time.monotonic() < deadline, f"no rows through snmpd:\n{sub.output()}"
            time.sleep(0.2)
        names = [name for name in hostile_names(served)
                 if name[:len(ENTERPRISE)] == ENTERPRISE and well_formed(name)]
        for count, name in enumerate(names):
            for kind, repetitions, check in ((GET, 0, served.expect_get(name)),
                                             (GETNEXT, 0, served.expect_next(name, 1)),
                                             (GETBULK, 3, served.expect_next(name, 3))):
                check(ask(lambda rid: community_message(
                    V2C, b"public", pdu(kind, rid, [varbind(name)], 0, repetitions))))
            Served.expect_refused(ask(lambda rid: community_message(
                V2C, b"public", pdu(SET, rid, [varbind(name, integer(1))]))))
            if count % 100 == 0:
                assert sub.process.popen.poll() is None, sub.output()
        client.close()
        print(f"{client.sent} requests for {len(names)} OIDs through snmpd")
        assert client.sent >= 8000
        assert sub.process.popen.poll() is None and master.alive()


def long_oid_messages(campaign: Campaign) -> Iterator[bytes]:
    base = entry(1) + (3,)
    for length in (127, 128, 129, 130, 200, 1000, 5000):
        for filler in (1, MAX_SUB_ID):
            name = base + (filler,) * (length - len(base))
            for version in (V1, V2C):
                for kind in (GET, GETNEXT, GETBULK, SET):
                    value = integer(1) if kind == SET else NULL
                    yield community_message(version, b"private" if kind == SET else b"public",
                                            pdu(kind, campaign.new_id(), [varbind(name, value)],
                                                0, 5 if kind == GETBULK else 0))


def huge_field_messages(campaign: Campaign) -> Iterator[bytes]:
    name = campaign.served.instances(1)[0]
    for value in HUGE_INTEGERS:
        for version in (V1, V2C):
            for kind in (GET, GETNEXT, GETBULK, SET):
                yield community_message(version, b"public", pdu(kind, value, [varbind(name)]))
            # error status and index, or non-repeaters and max-repetitions
            for kind in (GET, GETBULK):
                for fields in ((value, 0), (0, value), (value, value)):
                    yield community_message(version, b"public", pdu(
                        kind, campaign.new_id(), [varbind(name), varbind(name)], *fields))
        # a version number no SNMP has
        yield community_message(value, b"public", pdu(GET, campaign.new_id(), [varbind(name)]))


def send_v3_messages(campaign: Campaign) -> None:
    """SNMPv3 GETBULKs of fifty rows with boundary header fields. Those whose header is valid
    (addressed to the agent's engine, without authentication) are answered, within the
    message size they announce."""
    name = campaign.served.instances(5)[0]
    for msg_id in (0, 2**31 - 1, 2**31, -1, 2**100):
        for max_size in (0, 483, 484, 2**31 - 1, 2**31, 2**32, -1):
            for flags in (b"", b"\x00", b"\x04", b"\x07", b"\x03", b"\xff\xff"):
                for model in (0, 3, 2**31, -1):
                    for engine in (ENGINE_ID, b""):
                        rid = campaign.new_id()
                        message = v3_message(msg_id, max_size, flags, model, engine,
                                             b"wirenoauth",
                                             pdu(GETBULK, rid, [varbind(name)], 0, 50))
                        valid = (0 <= msg_id < 2**31 and 484 <= max_size < 2**31
                                 and flags in (b"\x00", b"\x04") and model == 3
                                 and engine == ENGINE_ID)
                        campaign.send(message, rid,
                                      within_size(max_size) if valid else None)


def within_size(max_size: int) -> Callable[[Answer], None]:
    def check(answer: Answer) -> None:
        assert answer.kind == RESPONSE and answer.error_status == 0, answer
        assert answer.varbinds and answer.size <= max_size, (max_size, answer.size)
    return check


def base_messages(campaign: Campaign) -> list[bytes]:
    """A valid message per table, version and request type, and two SNMPv3 ones."""
    messages = []
    for table in TABLES:
        name = campaign.served.instances(table)[0]
        for version in (V1, V2C):
            for kind in (GET, GETNEXT, GETBULK, SET):
                value = integer(1) if kind == SET else NULL
                messages.append(community_message(
                    version, b"private" if kind == SET else b"public",
                    pdu(kind, campaign.new_id(), [varbind(name, value)], 0,
                        10 if kind == GETBULK else 0)))
        messages.append(v3_message(campaign.new_id(), 1500, b"\x04", 3, ENGINE_ID,
                                   b"wirenoauth", pdu(GETNEXT, campaign.new_id(),
                                                      [varbind(name)])))
    return messages


def test_long_oids_huge_fields_bad_lengths_and_mutations(campaign):
    rng = random.Random(20240531)
    bases = base_messages(campaign)
    # Every base message is answered before it is taken apart.
    for message in bases:
        decode_answer(campaign.client.request(message))
    families = {
        "long OIDs": long_oid_messages(campaign),
        "huge request ids and fields": huge_field_messages(campaign),
        "bad lengths": (bad for message in bases[::3] for bad in bad_lengths(message)),
        "byte mutations": (m for message in bases for m in byte_mutations(message, 40, rng)),
    }
    counts = {}
    for family, messages in families.items():
        before = campaign.client.sent
        for message in messages:
            campaign.send(message)
        counts[family] = campaign.client.sent - before
    before = campaign.client.sent
    send_v3_messages(campaign)
    counts["SNMPv3 headers"] = campaign.client.sent - before
    seconds = campaign.finish()
    print(f"{campaign.client.sent} messages in {seconds:.1f} s ({counts}); "
          f"{campaign.answers} answers")
    assert campaign.client.sent >= 8000, counts


def test_in_range_request_ids_are_echoed(campaign):
    name = campaign.served.instances(1)[0]
    for request_id in (0, 1, 2**31 - 1, -1, -2**31):
        for kind in (GET, GETNEXT, GETBULK):
            answer = decode_answer(campaign.client.request(community_message(
                V2C, b"public", pdu(kind, request_id, [varbind(name)], 0, 2))))
            assert answer.request_id == request_id and answer.kind == RESPONSE, answer
