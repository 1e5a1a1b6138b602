"""What a walk of veloraClassMapTable must return for the class maps of a state file.

Worked out here from the state file alone, independently of the agent: each class map is one
row keyed by its id (length-prefixed octets) and its map type as served (controlPlane 1, qos and
qosStatic 2); a walk returns the name column for every row, then the match condition column,
rows in OID order.
"""

from __future__ import annotations

from typing import Sequence

from conftest import MIB_MAP_TYPE, MIB_MATCH_CONDITION
from snmpclient import COL_MATCH_CONDITION, COL_NAME, Varbind, class_map_instance


def row_key(class_map: dict) -> tuple[bytes, int]:
    return class_map["id"].encode("utf-8"), MIB_MAP_TYPE[class_map["type"]]


def expected_walk(class_maps: Sequence[dict]) -> list[Varbind]:
    rows = sorted(class_maps, key=lambda cm: class_map_instance(0, *row_key(cm)))
    walk = []
    for cm in rows:
        name = cm.get("name", cm["id"]).encode("utf-8")
        walk.append(Varbind(class_map_instance(COL_NAME, *row_key(cm)), "STRING", name))
    for cm in rows:
        condition = MIB_MATCH_CONDITION[cm.get("matchCondition", "any")]
        walk.append(Varbind(class_map_instance(COL_MATCH_CONDITION, *row_key(cm)), "INTEGER",
                            condition))
    return walk


def generated_class_maps(count: int) -> list[dict]:
    """`count` class maps with ids of varying length, both map types and both conditions."""
    maps = []
    for i in range(count):
        maps.append({
            "id": f"cm{i:x}" if i % 3 else f"class-map-{i}",
            "type": ("qos", "controlPlane", "qosStatic")[i % 3],
            "name": f"class map number {i}",
            "matchCondition": ("any", "all")[i % 2],
        })
    return maps


def assert_strictly_increasing(walk: Sequence[Varbind]) -> None:
    for before, after in zip(walk, walk[1:]):
        assert before.oid < after.oid, f"OID not increasing: {before.oid} then {after.oid}"
