"""SNMP messages byte by byte, for the tests that send hostile ones.

Values are encoded by pyasn1's BER encoder; the structure around them (sequences, PDUs, their
lengths) is put together here, so that a test can give a field any value, a request id of 2^100
or a sub-identifier of 2^64 included, and can then break the lengths on purpose. Messages built
from valid fields are the bytes pysnmp sends (test_hostile_wire.py checks this).

`HostileClient` sends such messages to the agent over a plain UDP socket, and keeps every
datagram it gets back.
"""

from __future__ import annotations

import os
import random
import socket
import time
from dataclasses import dataclass
from typing import Iterator, Sequence

from pyasn1.codec.ber import encoder
from pyasn1.type import univ

ENTERPRISE_ARC = int(os.environ.get("VELORA_ENTERPRISE_ARC", "32473"))
ENTERPRISE = (1, 3, 6, 1, 4, 1, ENTERPRISE_ARC)
QOS_TABLES_ROOT = ENTERPRISE + (3, 13, 1)
SYS_UPTIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)

V1, V2C, V3 = 0, 1, 3
GET, GETNEXT, RESPONSE, SET, GETBULK, REPORT = 0xA0, 0xA1, 0xA2, 0xA3, 0xA5, 0xA8
SEQUENCE = 0x30
CONSTRUCTED_TAGS = {SEQUENCE, 0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8}


def ber_length(n: int) -> bytes:
    if n < 0x80:
        return bytes([n])
    body = n.to_bytes((n.bit_length() + 7) // 8, "big")
    return bytes([0x80 | len(body)]) + body


def tlv(tag: int, content: bytes) -> bytes:
    return bytes([tag]) + ber_length(len(content)) + content


def integer(value: int) -> bytes:
    return encoder.encode(univ.Integer(value))


def octets(value: bytes) -> bytes:
    return encoder.encode(univ.OctetString(value))


def oid(arcs: Sequence[int]) -> bytes:
    return encoder.encode(univ.ObjectIdentifier(tuple(arcs)))


NULL = encoder.encode(univ.Null(""))


def varbind(name: Sequence[int], value: bytes = NULL) -> bytes:
    return tlv(SEQUENCE, oid(name) + value)


def pdu(kind: int, request_id: int, varbinds: Sequence[bytes], error_status: int = 0,
        error_index: int = 0) -> bytes:
    """A PDU; for GETBULK error_status and error_index are non-repeaters and max-repetitions."""
    return tlv(kind, integer(request_id) + integer(error_status) + integer(error_index) +
               tlv(SEQUENCE, b"".join(varbinds)))


def community_message(version: int, community: bytes, the_pdu: bytes) -> bytes:
    return tlv(SEQUENCE, integer(version) + octets(community) + the_pdu)


def v3_message(msg_id: int, max_size: int, flags: bytes, security_model: int,
               engine_id: bytes, user: bytes, the_pdu: bytes, context: bytes = b"",
               boots: int = 0, engine_time: int = 0) -> bytes:
    """An SNMPv3 message with USM parameters and a plaintext scoped PDU (no authentication)."""
    header = tlv(SEQUENCE, integer(msg_id) + integer(max_size) + octets(flags) +
                 integer(security_model))
    usm = tlv(SEQUENCE, octets(engine_id) + integer(boots) + integer(engine_time) +
              octets(user) + octets(b"") + octets(b""))
    scoped = tlv(SEQUENCE, octets(engine_id) + octets(context) + the_pdu)
    return tlv(SEQUENCE, integer(V3) + header + octets(usm) + scoped)


@dataclass(frozen=True)
class Tlv:
    """Where one TLV of a message lies: its tag at `start`, its content at `content`."""
    start: int
    content: int
    length: int

    @property
    def end(self) -> int:
        return self.content + self.length


def tlvs(message: bytes) -> list[Tlv]:
    """Every TLV of a well-formed message, outermost first, descending into constructed ones."""
    found: list[Tlv] = []

    def walk(start: int, end: int) -> None:
        pos = start
        while pos < end:
            first = message[pos + 1]
            if first < 0x80:
                length, content = first, pos + 2
            else:
                count = first & 0x7F
                length = int.from_bytes(message[pos + 2:pos + 2 + count], "big")
                content = pos + 2 + count
            found.append(Tlv(pos, content, length))
            if message[pos] in CONSTRUCTED_TAGS:
                walk(content, content + length)
            pos = content + length

    walk(0, len(message))
    return found


def with_length(message: bytes, where: Tlv, header: bytes) -> bytes:
    """`message` with the length octets of `where` replaced by `header`."""
    return message[:where.start + 1] + header + message[where.content:]


def bad_lengths(message: bytes) -> Iterator[bytes]:
    """Copies of `message` with one length wrong, for every TLV of it: one more and one less
    than the content, zero, indefinite (0x80), long forms that claim far more than the message
    holds or use more length octets than net-snmp reads, a long form with no octets, and the
    message cut off right after the length."""
    for where in tlvs(message):
        n = where.length
        for header in (ber_length(n + 1), ber_length(max(n - 1, 0)), b"\x00", b"\x80",
                       b"\x81\xff", b"\x82\xff\xff", b"\x84\x7f\xff\xff\xff",
                       b"\x84\xff\xff\xff\xff", b"\x88" + b"\xff" * 8, b"\x85\x00\x00\x00\x00\x10",
                       b"\xff"):
            yield with_length(message, where, header)
        yield message[:where.content]


def byte_mutations(message: bytes, count: int, rng: random.Random) -> Iterator[bytes]:
    """`count` copies of `message` with one to four random bytes flipped, set to boundary
    values, inserted or deleted."""
    for _ in range(count):
        data = bytearray(message)
        for _ in range(rng.randint(1, 4)):
            pos = rng.randrange(len(data))
            action = rng.randrange(4)
            if action == 0:
                data[pos] ^= 1 << rng.randrange(8)
            elif action == 1:
                data[pos] = rng.choice((0x00, 0x7F, 0x80, 0x81, 0xFF))
            elif action == 2:
                data.insert(pos, rng.randrange(256))
            elif len(data) > 1:
                del data[pos]
        yield bytes(data)


class Malformed(ValueError):
    """A datagram that is not well-formed BER, or not an SNMP message."""


@dataclass(frozen=True)
class Node:
    tag: int
    content: bytes
    children: tuple["Node", ...] = ()


def parse(data: bytes) -> Node:
    """The BER tree of one datagram; strict: definite lengths only, no octet left over."""

    def read(start: int, end: int) -> tuple[Node, int]:
        if end - start < 2:
            raise Malformed(f"TLV cut short at {start}")
        tag, first = data[start], data[start + 1]
        if first < 0x80:
            length, content = first, start + 2
        else:
            count = first & 0x7F
            if count == 0 or count > 4 or start + 2 + count > end:
                raise Malformed(f"bad length octets at {start}")
            length = int.from_bytes(data[start + 2:start + 2 + count], "big")
            content = start + 2 + count
        if content + length > end:
            raise Malformed(f"TLV at {start} runs past its container")
        children: tuple[Node, ...] = ()
        if tag in CONSTRUCTED_TAGS:
            items, pos = [], content
            while pos < content + length:
                child, pos = read(pos, content + length)
                items.append(child)
            children = tuple(items)
        return Node(tag, data[content:content + length], children), content + length

    node, end = read(0, len(data))
    if end != len(data):
        raise Malformed(f"{len(data) - end} octets after the message")
    return node


def decode_integer(node: Node) -> int:
    if node.tag != 0x02 or not node.content:
        raise Malformed(f"not an INTEGER: tag {node.tag:#x}")
    return int.from_bytes(node.content, "big", signed=True)


def decode_oid(node: Node) -> tuple[int, ...]:
    if node.tag != 0x06 or not node.content:
        raise Malformed(f"not an OBJECT IDENTIFIER: tag {node.tag:#x}")
    arcs, value = [], 0
    for octet in node.content:
        value = (value << 7) | (octet & 0x7F)
        if not octet & 0x80:
            arcs.append(value)
            value = 0
    first = min(arcs[0] // 40, 2)
    return (first, arcs[0] - 40 * first, *arcs[1:])


@dataclass(frozen=True)
class Answer:
    """An SNMP message the agent sent: its size in octets, version, PDU tag, request id, error
    status and index, and varbinds as (OID, value node)."""
    size: int
    version: int
    kind: int
    request_id: int
    error_status: int
    error_index: int
    varbinds: tuple[tuple[tuple[int, ...], Node], ...]


def decode_answer(data: bytes) -> Answer:
    """Decodes a datagram of the agent: SNMPv1, v2c or v3 without privacy, strictly."""
    message = parse(data)
    if message.tag != SEQUENCE or len(message.children) < 3:
        raise Malformed("not an SNMP message")
    version = decode_integer(message.children[0])
    if version in (V1, V2C):
        if len(message.children) != 3 or message.children[1].tag != 0x04:
            raise Malformed("bad community message")
        the_pdu = message.children[2]
    elif version == V3:
        if len(message.children) != 4:
            raise Malformed("bad SNMPv3 message")
        parse(message.children[2].content)  # the USM parameters are BER in an OCTET STRING
        scoped = message.children[3]
        if scoped.tag != SEQUENCE or len(scoped.children) != 3:
            raise Malformed("bad scoped PDU")
        the_pdu = scoped.children[2]
    else:
        raise Malformed(f"version {version}")
    if the_pdu.tag not in (RESPONSE, REPORT) or len(the_pdu.children) != 4:
        raise Malformed(f"PDU tag {the_pdu.tag:#x}")
    varbinds = []
    for vb in the_pdu.children[3].children:
        if vb.tag != SEQUENCE or len(vb.children) != 2:
            raise Malformed("bad varbind")
        varbinds.append((decode_oid(vb.children[0]), vb.children[1]))
    return Answer(len(data), version, the_pdu.tag, decode_integer(the_pdu.children[0]),
                  decode_integer(the_pdu.children[1]), decode_integer(the_pdu.children[2]),
                  tuple(varbinds))


class HostileClient:
    """A UDP socket aimed at the agent. `send` fires a message without waiting; `sync` sends a
    GET of sysUpTime.0 and waits for its answer: the agent serves its socket in order, so every
    message sent before has then been handled. `sync` returns the datagrams that came back
    before that answer."""

    def __init__(self, port: int, timeout: float = 10.0):
        self.address = ("127.0.0.1", port)
        self.timeout = timeout
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
        self.socket.bind(("127.0.0.1", 0))
        self.sent = 0
        self._sync_id = 0x5EED0000
        self._received: list[bytes] = []

    def close(self) -> None:
        self.socket.close()

    def send(self, message: bytes) -> None:
        self.socket.sendto(message, self.address)
        self.sent += 1

    def request(self, message: bytes) -> bytes:
        """Sends a message that must be answered with one datagram, and returns it."""
        self.send(message)
        answers = self.sync()
        assert len(answers) == 1, f"{len(answers)} answers to {message.hex()}"
        return answers[0]

    def ask(self, message: bytes, request_id: int) -> Answer | None:
        """Sends a message and waits for the answer carrying `request_id`, for agents that may
        answer out of order (a master that hands requests to its sub-agents); datagrams with
        other ids are dropped. None after `timeout` seconds without it."""
        self.send(message)
        deadline = time.monotonic() + self.timeout
        while (remaining := deadline - time.monotonic()) > 0:
            self.socket.settimeout(remaining)
            try:
                data, _ = self.socket.recvfrom(65535)
            except socket.timeout:
                break
            answer = decode_answer(data)
            if answer.request_id == request_id:
                return answer
        return None

    def sync(self) -> list[bytes]:
        self._sync_id += 1
        probe = community_message(V2C, b"public", pdu(GET, self._sync_id, [varbind(SYS_UPTIME)]))
        self.socket.sendto(probe, self.address)
        marker = integer(self._sync_id)
        deadline = time.monotonic() + self.timeout
        while True:
            remaining = deadline - time.monotonic()
            if remaining <= 0:
                raise AssertionError(f"the agent did not answer a GET within {self.timeout} s, "
                                     f"after {self.sent} messages")
            self.socket.settimeout(remaining)
            try:
                data, _ = self.socket.recvfrom(65535)
            except socket.timeout:
                continue
            if data[0] == SEQUENCE and marker in data:
                answers, self._received = self._received, []
                return answers
            self._received.append(data)
