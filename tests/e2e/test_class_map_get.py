"""Reading single cells of veloraClassMapTable, and the writes it refuses."""

import pytest

from snmpclient import (CLASS_MAP_ENTRY, CLASS_MAP_TABLE, NO_SUCH_INSTANCE, NO_SUCH_OBJECT,
                        SnmpError, Varbind, class_map_instance)

CLASS_MAPS = [
    {"id": "cm-voice", "type": "qos", "name": "voice", "matchCondition": "all"},
    {"id": "cm-voice", "type": "controlPlane", "name": "copp voice"},
    {"id": "CM-DSCP-EF", "type": "qosStatic", "name": "dscp-ef", "matchCondition": "any"},
]

VOICE_NAME = class_map_instance(3, b"cm-voice", 2)
VOICE_CONDITION = class_map_instance(4, b"cm-voice", 2)

READ_WRITE_CONFIG = "rocommunity public 127.0.0.1\nrwcommunity private 127.0.0.1\n"


@pytest.fixture
def agent(start_agent):
    return start_agent(CLASS_MAPS, config=READ_WRITE_CONFIG)


class TestGet:
    def test_snmpget_returns_name_and_match_condition_of_each_row(self, agent):
        got = agent.netsnmp().get(
            VOICE_NAME, VOICE_CONDITION,
            class_map_instance(3, b"cm-voice", 1), class_map_instance(4, b"cm-voice", 1),
            class_map_instance(3, b"CM-DSCP-EF", 2), class_map_instance(4, b"CM-DSCP-EF", 2))
        assert [(v.type, v.value) for v in got] == [
            ("STRING", b"voice"), ("INTEGER", 2),
            ("STRING", b"copp voice"), ("INTEGER", 1),
            ("STRING", b"dscp-ef"), ("INTEGER", 1)]

    def test_pysnmp_get_agrees(self, agent):
        oids = [VOICE_NAME, VOICE_CONDITION, class_map_instance(3, b"CM-DSCP-EF", 2)]
        assert agent.pysnmp().get(*oids) == agent.netsnmp().get(*oids)

    @pytest.mark.parametrize("column", [1, 2, 5])
    def test_columns_other_than_name_and_condition_are_no_such_object(self, agent, column):
        oid = class_map_instance(column, b"cm-voice", 2)
        assert agent.netsnmp().get(oid) == [Varbind(oid, NO_SUCH_OBJECT, None)]
        assert agent.pysnmp().get(oid) == [Varbind(oid, NO_SUCH_OBJECT, None)]

    def test_unknown_column_does_not_spoil_the_other_varbinds_of_the_request(self, agent):
        bad = class_map_instance(5, b"cm-voice", 2)
        assert agent.netsnmp().get(VOICE_NAME, bad, VOICE_CONDITION) == [
            Varbind(VOICE_NAME, "STRING", b"voice"), Varbind(bad, NO_SUCH_OBJECT, None),
            Varbind(VOICE_CONDITION, "INTEGER", 2)]

    @pytest.mark.parametrize("missing", [
        class_map_instance(3, b"cm-video", 2),       # no such id
        class_map_instance(3, b"CM-DSCP-EF", 1),     # the id exists, with the other type
        class_map_instance(4, b"cm-voic", 2),        # a prefix of an id
        CLASS_MAP_ENTRY + (3, 8) + tuple(b"cm-voice"),   # the type left out
    ], ids=["unknown-id", "other-type", "id-prefix", "incomplete-index"])
    def test_a_missing_row_is_no_such_instance(self, agent, missing):
        assert agent.netsnmp().get(missing) == [Varbind(missing, NO_SUCH_INSTANCE, None)]
        assert agent.pysnmp().get(missing) == [Varbind(missing, NO_SUCH_INSTANCE, None)]

    def test_get_of_the_table_or_entry_object_itself_is_not_a_row(self, agent):
        for oid in (CLASS_MAP_TABLE, CLASS_MAP_ENTRY, CLASS_MAP_ENTRY + (3,)):
            [got] = agent.netsnmp().get(oid)
            assert got.type in (NO_SUCH_OBJECT, NO_SUCH_INSTANCE), got


class TestWritesAreRefused:
    @pytest.mark.parametrize("oid,kind,value", [
        (VOICE_NAME, "s", "renamed"),
        (VOICE_CONDITION, "i", "1"),
        (class_map_instance(3, b"cm-new", 2), "s", "created"),
    ], ids=["name", "match-condition", "new-row"])
    def test_snmpset_is_not_writable_and_changes_nothing(self, agent, oid, kind, value):
        rw = agent.netsnmp(("-v2c", "-c", "private"))
        before = agent.netsnmp().walk(CLASS_MAP_TABLE)
        with pytest.raises(SnmpError) as failure:
            rw.set(oid, kind, value)
        assert "notWritable" in failure.value.stdout + failure.value.stderr
        assert agent.netsnmp().walk(CLASS_MAP_TABLE) == before
        assert rw.get(VOICE_NAME, VOICE_CONDITION) == [
            Varbind(VOICE_NAME, "STRING", b"voice"), Varbind(VOICE_CONDITION, "INTEGER", 2)]

    def test_read_only_community_cannot_write_either(self, agent):
        with pytest.raises(SnmpError) as failure:
            agent.netsnmp().set(VOICE_NAME, "s", "renamed")
        assert "noAccess" in failure.value.stdout + failure.value.stderr
        assert agent.netsnmp().get(VOICE_NAME) == [Varbind(VOICE_NAME, "STRING", b"voice")]


# 255 octets in 254 characters: the limit counts octets.
NAME_255 = "n" * 253 + "\u00e9"


class TestNameLength:
    """veloraClassMapName holds at most 255 octets."""

    @pytest.fixture
    def agent(self, start_agent):
        return start_agent([
            {"id": "n255", "type": "qos", "name": NAME_255},
            {"id": "n256", "type": "qos", "name": "m" * 256},
            {"id": "n257", "type": "qos", "name": "p" * 257, "matchCondition": "all"},
        ])

    def test_name_of_255_octets_is_returned_whole(self, agent):
        oid = class_map_instance(3, b"n255", 2)
        [got] = agent.netsnmp().get(oid)
        assert got == Varbind(oid, "STRING", NAME_255.encode())
        assert agent.pysnmp().get(oid) == [got]

    @pytest.mark.parametrize("class_map_id", [b"n256", b"n257"])
    def test_longer_name_fails_its_get_with_gen_err(self, agent, class_map_id):
        oid = class_map_instance(3, class_map_id, 2)
        with pytest.raises(SnmpError) as failure:
            agent.netsnmp().get(oid)
        assert "genError" in failure.value.stdout + failure.value.stderr

    def test_match_condition_of_a_row_with_an_overlong_name_is_still_served(self, agent):
        oid = class_map_instance(4, b"n257", 2)
        assert agent.netsnmp().get(oid) == [Varbind(oid, "INTEGER", 2)]
