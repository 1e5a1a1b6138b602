// Enumerations of the QoS agent's model. All are one byte wide and zero-based; their SNMP
// encodings (one-based) belong to the plug-in's conversions.
#pragma once

#include <array>
#include <string_view>

#include "Mox/Enum.h"
#include "Quill/IntTypes.h"

namespace Qos {

enum class MapType : U8 {
  mapControlPlane_ = 0,  // control-plane (CoPP) policy and class maps
  mapQos_ = 1,           // QoS policy and class maps
  mapQosStatic_ = 2,     // built-in QoS maps; reported as QoS maps
  mapCoppCli_ = 3,       // configuration-only, never published
  mapQosCli_ = 4,        // configuration-only, never published
};

enum class Direction : U8 { directionInput_ = 0, directionOutput_ = 1 };

enum class ActionType : U8 {
  actionSetShape_ = 0,
  actionSetBandwidth_ = 1,
  actionSetCos_ = 2,
  actionSetDscp_ = 3,
  actionSetTc_ = 4,
  actionSetDropPrecedence_ = 5,
  actionPolice_ = 6,
  actionUnknown_ = 7,
};

enum class ClassMapMatchCondition : U8 { matchConditionAny_ = 0, matchConditionAll_ = 1 };

enum class RateUnit : U8 {
  rateUnitBps_ = 0,
  rateUnitKbps_ = 1,
  rateUnitMbps_ = 2,
  rateUnitPps_ = 3
};

enum class BurstUnit : U8 {
  burstUnitBytes_ = 0,
  burstUnitKBytes_ = 1,
  burstUnitMBytes_ = 2,
  burstUnitPackets_ = 3,
};

// Built-in control-plane class maps, by purpose.
enum class ClassMapCpStaticType : U8 {
  cmapCpStaticUnknown_ = 0,
  cmapCpStaticBgp_ = 1,
  cmapCpStaticOspf_ = 2,
  cmapCpStaticArp_ = 3,
  cmapCpStaticIgmp_ = 4,
  cmapCpStaticLacp_ = 5,
  cmapCpStaticLldp_ = 6,
};

}  // namespace Qos

template <>
struct Mox::EnumNames<Qos::MapType> {
  static constexpr std::string_view typeName = "Qos::MapType";
  static constexpr std::array<std::string_view, 5> names = {
      "mapControlPlane_", "mapQos_", "mapQosStatic_", "mapCoppCli_", "mapQosCli_"};
};
template <>
struct Mox::EnumNames<Qos::Direction> {
  static constexpr std::string_view typeName = "Qos::Direction";
  static constexpr std::array<std::string_view, 2> names = {"directionInput_", "directionOutput_"};
};
template <>
struct Mox::EnumNames<Qos::ActionType> {
  static constexpr std::string_view typeName = "Qos::ActionType";
  static constexpr std::array<std::string_view, 8> names = {
      "actionSetShape_", "actionSetBandwidth_",      "actionSetCos_", "actionSetDscp_",
      "actionSetTc_",    "actionSetDropPrecedence_", "actionPolice_", "actionUnknown_"};
};
template <>
struct Mox::EnumNames<Qos::ClassMapMatchCondition> {
  static constexpr std::string_view typeName = "Qos::ClassMapMatchCondition";
  static constexpr std::array<std::string_view, 2> names = {"matchConditionAny_",
                                                            "matchConditionAll_"};
};
template <>
struct Mox::EnumNames<Qos::RateUnit> {
  static constexpr std::string_view typeName = "Qos::RateUnit";
  static constexpr std::array<std::string_view, 4> names = {"rateUnitBps_", "rateUnitKbps_",
                                                            "rateUnitMbps_", "rateUnitPps_"};
};
template <>
struct Mox::EnumNames<Qos::BurstUnit> {
  static constexpr std::string_view typeName = "Qos::BurstUnit";
  static constexpr std::array<std::string_view, 4> names = {
      "burstUnitBytes_", "burstUnitKBytes_", "burstUnitMBytes_", "burstUnitPackets_"};
};
template <>
struct Mox::EnumNames<Qos::ClassMapCpStaticType> {
  static constexpr std::string_view typeName = "Qos::ClassMapCpStaticType";
  static constexpr std::array<std::string_view, 7> names = {
      "cmapCpStaticUnknown_", "cmapCpStaticBgp_",  "cmapCpStaticOspf_", "cmapCpStaticArp_",
      "cmapCpStaticIgmp_",    "cmapCpStaticLacp_", "cmapCpStaticLldp_"};
};
