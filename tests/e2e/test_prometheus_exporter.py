"""Prometheus scrapes qossnmpd: Debian's prometheus-snmp-exporter, configured with the shipped
contrib/prometheus/snmp.yml, walks a qossnmpd serving the bundled example (examples/default.json)
and the values it exposes are the ones net-snmp's snmpget and snmpbulkwalk read; every
per-interface series names its interface (label ifName, the exporter's lookup of IF-MIB's ifName,
which qossnmpd serves for the state file's interfaces).

The exporter is a client nobody here wrote (Go's gosnmp underneath); snmp.yml is the generator's
output for the documentation arc 32473, so a build with another arc skips these tests.
"""

from __future__ import annotations

import shutil
import socket
import time
import urllib.error
import urllib.parse
import urllib.request
from pathlib import Path

import pytest
import yaml
from prometheus_client.parser import text_string_to_metric_families

from conftest import REPO, Process
from snmpclient import ENTERPRISE_ARC, parse_oid, qos_instance

SNMP_YML = REPO / "contrib" / "prometheus" / "snmp.yml"
EXAMPLE = REPO / "examples" / "default.json"
EXPORTER_READY_TIMEOUT_S = 20
SCRAPE_TIMEOUT_S = 60

QOS = 2
INPUT, OUTPUT = 1, 2
STATS, ECN_COUNTERS, ECN_QUEUES, PER_INTF_STATS = 7, 8, 9, 11
PKTS_SENT, BYTES_MATCHED = 2, 6
ECN_COUNTER_VALUE, ECN_QUEUE_PKTS_MARKED = 2, 4
IF_NAME = (1, 3, 6, 1, 2, 1, 31, 1, 1, 1, 1)

pytestmark = pytest.mark.skipif(ENTERPRISE_ARC != 32473,
                                reason="contrib/prometheus/snmp.yml is made for arc 32473")


def free_tcp_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class Exporter:
    """prometheus-snmp-exporter on a free loopback port with one configuration file."""

    def __init__(self, exe: str, config: Path, workdir: Path):
        self.port = free_tcp_port()
        self.process = Process([exe, f"--config.file={config}",
                                f"--web.listen-address=127.0.0.1:{self.port}"],
                               workdir / "exporter.log")
        deadline = time.monotonic() + EXPORTER_READY_TIMEOUT_S
        while not self._answers():
            assert self.process.popen.poll() is None, (
                f"the exporter exited:\n{self.process.output()}")
            assert time.monotonic() < deadline, (
                f"the exporter did not answer within {EXPORTER_READY_TIMEOUT_S} s:\n"
                f"{self.process.output()}")
            time.sleep(0.1)

    def _answers(self) -> bool:
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{self.port}/", timeout=2):
                return True
        except (urllib.error.URLError, ConnectionError):
            return False

    def scrape(self, target: str, module: str) -> dict:
        """The metric families of one /snmp scrape, by name (counters without `_total`)."""
        query = urllib.parse.urlencode({"target": target, "module": module})
        url = f"http://127.0.0.1:{self.port}/snmp?{query}"
        with urllib.request.urlopen(url, timeout=SCRAPE_TIMEOUT_S) as response:
            assert response.status == 200
            text = response.read().decode()
        families = {f.name: f for f in text_string_to_metric_families(text)}
        assert "snmp_scrape_pdus_returned" in families, text[:2000]
        return families


@pytest.fixture(scope="module")
def snmp_yml() -> dict:
    return yaml.safe_load(SNMP_YML.read_text())


@pytest.fixture
def exporter(tmp_path):
    exe = shutil.which("prometheus-snmp-exporter")
    if exe is None:
        pytest.skip("prometheus-snmp-exporter is not installed")
    running = Exporter(exe, SNMP_YML, tmp_path)
    yield running
    running.process.kill()


@pytest.fixture
def example_agent(start_agent):
    """qossnmpd on the example, once its policing tables are filled too."""
    return start_agent(state_text=EXAMPLE.read_text()).wait_tables_ready()


def target(agent) -> str:
    return f"127.0.0.1:{agent.port}"


def sample_value(families: dict, name: str, **labels: str) -> float:
    matching = [s for s in families[name].samples if s.labels == labels]
    assert len(matching) == 1, (
        f"{name}{labels}: {len(matching)} series; the family has "
        f"{[s.labels for s in families[name].samples][:10]}")
    return matching[0].value


def test_scraped_counters_equal_what_snmpget_reads(example_agent, exporter):
    families = exporter.scrape(target(example_agent), "velora_qos")
    video = dict(veloraPolicyMapId="PM-EDGE-IN", veloraPolicyMapType="qos",
                 veloraClassMapId="VIDEO", veloraServicePolicyDirection="input")
    cells = {
        ("veloraQosPktsSent", tuple(video.items())):
            qos_instance(STATS, PKTS_SENT, b"PM-EDGE-IN", QOS, b"VIDEO", INPUT),
        ("veloraQosBytesMatched", tuple(video.items())):
            qos_instance(STATS, BYTES_MATCHED, b"PM-EDGE-IN", QOS, b"VIDEO", INPUT),
        ("veloraQosPerIntfPktsSent",
         tuple(video.items()) + (("veloraServicePolicyIfIndex", "2"), ("ifName", "Ethernet2"))):
            qos_instance(PER_INTF_STATS, PKTS_SENT, b"PM-EDGE-IN", QOS, b"VIDEO", INPUT, 2),
        ("veloraEcnCounterValue", (("veloraEcnCounterDescriptor", "ecn-ect-received"),)):
            qos_instance(ECN_COUNTERS, ECN_COUNTER_VALUE, b"ecn-ect-received"),
        ("veloraEcnQueuePktsMarked",
         (("veloraEcnIfIndex", "25"), ("veloraEcnEgressQueueIndex", "1"),
          ("ifName", "Ethernet25"))):
            qos_instance(ECN_QUEUES, ECN_QUEUE_PKTS_MARKED, 25, 1),
    }
    read = {v.oid: v for v in example_agent.netsnmp().get(*cells.values())}
    for (name, labels), oid in cells.items():
        got = read[oid]
        assert got.type == "Counter64", got
        assert got.value > 0, f"{name}: the example should count something here"
        assert families[name].type == "counter"
        assert sample_value(families, name, **dict(labels)) == float(got.value), name


def instance_oid(metric: dict, labels: dict[str, str]) -> tuple[int, ...]:
    """The OID of the cell a series comes from, rebuilt from its labels the way the MIB encodes
    the index: identifiers length-prefixed, enumerations by number, integers as they are."""
    arcs: list[int] = []
    for index in metric["indexes"]:
        value = labels[index["labelname"]]
        if index["type"] == "DisplayString":
            raw = value.encode()
            arcs += [len(raw), *raw]
        elif index["type"] == "EnumAsInfo":
            by_name = {name: number for number, name in index["enum_values"].items()}
            arcs.append(by_name[value])
        elif index["type"] == "gauge":
            arcs.append(int(value))
        else:
            raise AssertionError(f"index {index} of {metric['name']}: unexpected type")
    return parse_oid(metric["oid"]) + tuple(arcs)


NUMERIC = {"counter": "counter", "gauge": "gauge"}
SNMP_NUMBERS = {"Counter64", "INTEGER", "Gauge32"}


@pytest.mark.parametrize("module", ["velora_qos", "velora_policing", "velora_if_policer"])
def test_every_numeric_series_is_one_cell_of_the_walk(example_agent, exporter, snmp_yml, module):
    """Each counter and gauge column of the module: the exporter's series are exactly the
    column's rows (none lost, none made up), each labelled so that it names its row, with the
    row's value."""
    families = exporter.scrape(target(example_agent), module)
    walk = {}
    for root in snmp_yml[module]["walk"]:
        walk |= {v.oid: v for v in example_agent.netsnmp().bulkwalk(parse_oid(root), "-Cr50")}
    numeric = [m for m in snmp_yml[module]["metrics"] if m["type"] in NUMERIC]
    assert numeric
    for metric in numeric:
        column = parse_oid(metric["oid"])
        rows = {oid: v for oid, v in walk.items() if oid[:len(column)] == column}
        assert rows, f"{metric['name']}: no rows in the example"
        scraped = {instance_oid(metric, s.labels): s.value
                   for s in families[metric["name"]].samples}
        assert scraped.keys() == rows.keys(), metric["name"]
        assert all(rows[oid].type in SNMP_NUMBERS for oid in rows), metric["name"]
        assert scraped == {oid: float(v.value) for oid, v in rows.items()}, metric["name"]
        assert families[metric["name"]].type == NUMERIC[metric["type"]]


def test_enumerations_and_texts_read_by_name(example_agent, exporter):
    families = exporter.scrape(target(example_agent), "velora_qos")
    action = sample_value(families, "veloraPolicyMapActionValue", veloraPolicyMapId="PM-CORE-OUT",
                          veloraPolicyMapType="qos", veloraClassMapId="VIDEO",
                          veloraPolicyMapActionType="bandwidth")
    unit = families["veloraPolicyMapActionRateUnit_info"].samples
    video_unit = [s for s in unit if s.labels.get("veloraClassMapId") == "VIDEO"
                  and s.labels.get("veloraPolicyMapActionType") == "bandwidth"]
    names = {s.labels["veloraClassMapId"]: s.labels["veloraClassMapName"]
             for s in families["veloraClassMapName"].samples}
    assert action == 4000000
    assert [s.labels["veloraPolicyMapActionRateUnit"] for s in video_unit] == ["kbps"]
    assert names["VOICE"] == "voice"
    directions = {s.labels["veloraServicePolicyDirection"]
                  for s in families["veloraQosPktsSent"].samples}
    assert directions == {"input", "output"}


def test_interface_policer_series_carry_their_profile_name(example_agent, exporter):
    families = exporter.scrape(target(example_agent), "velora_if_policer")
    in_profile = (1, 3, 6, 1, 4, 1, ENTERPRISE_ARC, 3, 43, 1, 1, 1, 2)
    profiles = {v.oid[-1]: v.value.decode()
                for v in example_agent.netsnmp().walk(in_profile)}
    dropped = families["veloraIfPolicerInStatsPktsDropped"].samples
    labelled = {int(s.labels["veloraIfPolicerInStatsIfIndex"]):
                s.labels["veloraIfPolicerInStatsProfile"] for s in dropped}
    assert profiles and labelled == profiles


@pytest.mark.parametrize("module", ["velora_qos", "velora_if_policer"])
def test_every_per_interface_series_carries_the_interface_name(example_agent, exporter, snmp_yml,
                                                               module):
    """Each series of a table indexed by an interface (service policies, per-interface and
    policer statistics, ECN queues, interface policers) has an ifName label, the name the agent
    serves for that ifIndex."""
    names = {v.oid[-1]: v.value.decode() for v in example_agent.netsnmp().walk(IF_NAME)}
    assert names, "the agent serves no ifName"
    families = exporter.scrape(target(example_agent), module)
    per_interface = {}
    for metric in snmp_yml[module]["metrics"]:
        labels = [i["labelname"] for i in metric.get("indexes", [])]
        if_index = [label for label in labels if label.endswith("IfIndex")]
        if if_index:
            per_interface[metric["name"]] = if_index[0]
    assert per_interface, f"{module}: no per-interface series"
    for name, if_index in per_interface.items():
        family = families.get(name) or families.get(f"{name}_info")
        assert family is not None and family.samples, f"{name}: no series in the example"
        for sample in family.samples:
            assert "ifName" in sample.labels, f"{name}{sample.labels}: no ifName"
            assert sample.labels["ifName"] == names[int(sample.labels[if_index])], name
