#include "Sections.h"

namespace StateSim {

namespace {

constexpr U64 maxEntity = 2147483647;  // reported as an Integer32
constexpr U8 maxQueue = 15;
constexpr U8 defaultQueues = 8;

}  // namespace

void readEcnCounters(const Reader& r, const Json& value, const std::string& where, State& state) {
  const auto& counters = r.array(value, where);
  for (size_t i = 0; i < counters.size(); ++i) {
    JsonObject object(r, counters[i], Reader::pointer(where, i), {"descriptor", "entity", "count"});
    const std::string& descriptor =
        r.identifier(object.required("descriptor"), object.at("descriptor"), "descriptor",
                     maxEcnDescriptorLength);
    EcnCounterState counter;
    counter.entity = static_cast<U32>(object.number("entity", maxEntity, 0));
    counter.count = object.number("count", UINT64_MAX, 0);
    if (!state.ecnCounters.emplace(Snmp::String(descriptor), counter).second) {
      r.fail(object.at("descriptor"), fmt::format("descriptor '{}' appears twice", descriptor));
    }
  }
}

void readEcnQueues(const Reader& r, const Json& value, const std::string& where, State& state) {
  const auto& interfaces = r.array(value, where);
  for (size_t i = 0; i < interfaces.size(); ++i) {
    JsonObject object(
        r, interfaces[i], Reader::pointer(where, i),
        {"interface", "slice", "useEcnCountersShoal", "ecnQLocallyMarkedSupported", "queues"});
    Linko::IntfId intf = object.interface("interface");
    if (!state.interfaces.contains(intf)) {
      r.fail(object.at("interface"), fmt::format("no interface {} in /interfaces", intf.name()));
    }
    if (!state.interfaces.at(intf).ifIndex) {
      r.fail(object.at("interface"),
             fmt::format("{} has no ifIndex, so no QoS MIB row can show its queues", intf.name()));
    }
    EcnInterfaceState ecn;
    ecn.slice = static_cast<U32>(object.number("slice", UINT32_MAX, 0));
    ecn.useEcnCountersShoal =
        object.boolean("useEcnCountersShoal", state.hardware.useEcnCountersShoal);
    ecn.ecnQLocallyMarkedSupported =
        object.boolean("ecnQLocallyMarkedSupported", state.hardware.ecnQLocallyMarkedSupported);
    if (!object.member("queues")) {
      for (U8 q = 0; q < defaultQueues; ++q) {
        ecn.queues[q] = EcnQueueState{};
      }
    }
    forEach(object, "queues", [&](const Json& queue, const std::string& at) {
      JsonObject q(r, queue, at, {"queue", "enabled", "pktCount", "locallyMarkedPktCount"});
      U8 number = static_cast<U8>(r.number(q.required("queue"), q.at("queue"), maxQueue));
      EcnQueueState queueState;
      queueState.enabled = q.boolean("enabled", true);
      queueState.pktCount = q.number("pktCount", UINT64_MAX, 0);
      queueState.locallyMarkedPktCount = q.number("locallyMarkedPktCount", UINT64_MAX, 0);
      if (q.member("locallyMarkedPktCount") && !ecn.useEcnCountersShoal) {
        r.fail(q.at("locallyMarkedPktCount"),
               "only the shared-memory counters (useEcnCountersShoal) count locally marked "
               "packets");
      }
      if (!ecn.queues.emplace(number, queueState).second) {
        r.fail(q.at("queue"), fmt::format("queue {} appears twice", number));
      }
    });
    if (!state.ecnQueues.emplace(intf, std::move(ecn)).second) {
      r.fail(object.at("interface"), fmt::format("{} appears twice", intf.name()));
    }
  }
}

}  // namespace StateSim
