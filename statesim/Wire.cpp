#include "Wire.h"

#include <cstring>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace StateSim {

namespace {

// The fields of each State record, in declared order, for both directions.
#define STATESIM_WIRE_FIELDS(Type, ...)           \
  [[maybe_unused]] auto fieldsOf(const Type& v) { \
    return std::tie(__VA_ARGS__);                 \
  }                                               \
  [[maybe_unused]] auto fieldsOf(Type& v) {       \
    return std::tie(__VA_ARGS__);                 \
  }

STATESIM_WIRE_FIELDS(HardwareState, v.coppBpsSupported, v.coppKbpsSupported, v.useEcnCountersShoal,
                     v.ecnQLocallyMarkedSupported,
                     v.interfacePolicingCountersPerLagMemberCounterInfo)
STATESIM_WIRE_FIELDS(InterfaceState, v.ifIndex, v.members)
STATESIM_WIRE_FIELDS(MatchState, v.type, v.name, v.dscp, v.dscpNamed, v.ecn, v.dscpRanges,
                     v.vlanValueMask, v.vlanValue, v.vlanMask, v.vlanRanges)
STATESIM_WIRE_FIELDS(Qos::DscpRange, v.low, v.high)
STATESIM_WIRE_FIELDS(Qos::VlanRange, v.low, v.high)
STATESIM_WIRE_FIELDS(ClassMapState, v.name, v.matchCondition, v.staticType, v.matches)
STATESIM_WIRE_FIELDS(ActionState, v.value, v.reference)
STATESIM_WIRE_FIELDS(PolicyClassState, v.classMapId, v.actions)
STATESIM_WIRE_FIELDS(PolicyMapState, v.name, v.classes)
STATESIM_WIRE_FIELDS(ServicePolicyState, v.policyMapId, v.policyMapType)
STATESIM_WIRE_FIELDS(Counts, v.dropPkts, v.dropBytes, v.outPkts, v.outBytes)
STATESIM_WIRE_FIELDS(HwCounts, v.dropPkts, v.dropBytes, v.outPkts, v.outBytes, v.shapeRate,
                     v.bandwidthRate)
STATESIM_WIRE_FIELDS(PolicerCounts, v.droppedPkts, v.conformPkts, v.exceedPkts, v.droppedBytes,
                     v.totalBytes)
STATESIM_WIRE_FIELDS(ClassCountersState, v.counts, v.hwStatus, v.interfaces, v.policers)
STATESIM_WIRE_FIELDS(EcnCounterState, v.entity, v.count)
STATESIM_WIRE_FIELDS(EcnQueueState, v.enabled, v.pktCount, v.locallyMarkedPktCount)
STATESIM_WIRE_FIELDS(EcnInterfaceState, v.slice, v.useEcnCountersShoal,
                     v.ecnQLocallyMarkedSupported, v.queues)
STATESIM_WIRE_FIELDS(PolicerRatesState, v.cir, v.cirUnit, v.bc, v.bcUnit, v.pir, v.pirUnit, v.be,
                     v.beUnit)
STATESIM_WIRE_FIELDS(PolicerProfileState, v.rates)
STATESIM_WIRE_FIELDS(PolicerInstanceState, v.profile)
STATESIM_WIRE_FIELDS(IntfPolicerCounts, v.pktsDropped, v.pktsSent, v.bytesDropped, v.bytesSent,
                     v.yellowPktsSent, v.yellowBytesSent)
STATESIM_WIRE_FIELDS(IntfPolicerKey, v.interface, v.member, v.direction)
STATESIM_WIRE_FIELDS(IntfPolicerState, v.profile, v.groupPolicer, v.counters)
STATESIM_WIRE_FIELDS(State, v.qosAgentRestarts, v.hardware, v.interfaces, v.classMaps, v.policyMaps,
                     v.servicePolicies, v.classCounters, v.ecnCounters, v.ecnQueues,
                     v.policerProfiles, v.policerInstances, v.interfacePolicers)
STATESIM_WIRE_FIELDS(StateDiff, v.restarts, v.qosMibChanged, v.lagCountersChanged, v.classMaps,
                     v.profiles, v.instances, v.intfPolicers, v.ifIndexes)
STATESIM_WIRE_FIELDS(StateEdits, v.diff, v.values)

#undef STATESIM_WIRE_FIELDS

template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};

class Writer {
 public:
  template <typename T>
  void put(const T& v) {
    if constexpr (std::is_same_v<T, bool>) {
      put(static_cast<unsigned char>(v));
    } else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
      out_.append(reinterpret_cast<const char*>(&v), sizeof v);
    } else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view>) {
      put(static_cast<U32>(v.size()));
      out_ += v;
    } else if constexpr (requires { v.str(); }) {  // Snmp::String, PolicerName
      put(v.str());
    } else if constexpr (std::is_same_v<T, Linko::IntfId>) {
      put(v.value());
    } else if constexpr (IsOptional<T>::value) {
      put(v.has_value());
      if (v) {
        put(*v);
      }
    } else if constexpr (requires { v.first, v.second; }) {
      put(v.first);
      put(v.second);
    } else if constexpr (requires { v.begin(), v.size(); }) {
      put(static_cast<U64>(v.size()));
      for (const auto& element : v) {
        put(element);
      }
    } else if constexpr (requires { T::fields(); }) {  // index records
      std::apply([&](const auto&... f) { (put(v.*(f.member)), ...); }, T::fields());
    } else {
      std::apply([&](const auto&... field) { (put(field), ...); }, fieldsOf(v));
    }
  }
  std::string take() { return std::move(out_); }

 private:
  std::string out_;
};

class Reader {
 public:
  explicit Reader(std::string_view in) : in_(in) {}

  template <typename T>
  void get(T& v) {
    if constexpr (std::is_same_v<T, bool>) {
      unsigned char byte = 0;
      get(byte);
      if (byte > 1) {
        throw WireError("a flag is neither 0 nor 1");
      }
      v = byte == 1;
    } else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
      std::memcpy(&v, bytes(sizeof v), sizeof v);
    } else if constexpr (std::is_same_v<T, std::string>) {
      U32 size = 0;
      get(size);
      v.assign(bytes(size), size);
    } else if constexpr (requires { v.str(); }) {
      std::string text;
      get(text);
      if (text.size() > T::maxLength) {
        throw WireError("a name is longer than its type allows");
      }
      v = T(text);
    } else if constexpr (std::is_same_v<T, Linko::IntfId>) {
      U32 value = 0;
      get(value);
      v = Linko::IntfId(value);
    } else if constexpr (IsOptional<T>::value) {
      bool present = false;
      get(present);
      if (present) {
        typename T::value_type value{};
        get(value);
        v = std::move(value);
      } else {
        v.reset();
      }
    } else if constexpr (requires { v.first, v.second; }) {
      get(v.first);
      get(v.second);
    } else if constexpr (requires { v.begin(), v.size(); }) {
      U64 count = 0;
      get(count);
      v.clear();
      for (U64 i = 0; i < count; ++i) {
        if constexpr (requires { typename T::mapped_type; }) {
          std::pair<typename T::key_type, typename T::mapped_type> element;
          get(element);
          v.emplace_hint(v.end(), std::move(element));
        } else if constexpr (requires { typename T::key_type; }) {
          typename T::value_type element;
          get(element);
          v.emplace_hint(v.end(), std::move(element));
        } else {
          get(v.emplace_back());
        }
      }
    } else if constexpr (requires { T::fields(); }) {
      std::apply([&](const auto&... f) { (get(v.*(f.member)), ...); }, T::fields());
    } else {
      std::apply([&](auto&... field) { (get(field), ...); }, fieldsOf(v));
    }
  }
  bool done() const noexcept { return in_.empty(); }

 private:
  const char* bytes(size_t n) {
    if (n > in_.size()) {
      throw WireError("the message ends early");
    }
    const char* at = in_.data();
    in_.remove_prefix(n);
    return at;
  }

  std::string_view in_;
};

}  // namespace

std::string encode(const StateEdits& edits) {
  Writer writer;
  writer.put(edits);
  return writer.take();
}

StateEdits decode(std::string_view bytes) {
  Reader reader(bytes);
  StateEdits edits;
  reader.get(edits);
  if (!reader.done()) {
    throw WireError("the message goes on past its end");
  }
  return edits;
}

}  // namespace StateSim
