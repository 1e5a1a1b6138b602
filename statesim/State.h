// StateSim::State: what the switch's QoS agent publishes, as read from a JSON state file.
//
// A state file is one JSON object. Its members name the kinds of status the agent holds; each
// is an array of objects whose unknown members are rejected, so a typo is an error and not a
// silently missing row:
//
//   {
//     "classMaps": [
//       { "id": "CM-VOICE", "type": "qos", "name": "voice", "matchCondition": "all" },
//       { "id": "copp-system-bgp", "type": "controlPlane", "staticType": "bgp" }
//     ]
//   }
//
// Class map members: "id" (required, at most 255 bytes; the MIB serves the first 40), "type"
// (required: "controlPlane", "qos" or "qosStatic"), "name" (default: the id),
// "matchCondition" ("any", the default, or "all"), "staticType" (control-plane maps only: the
// built-in purpose "bgp", "ospf", "arp", "igmp", "lacp" or "lldp", each on one map at most).
// (id, type) identifies a class map; it appears at most once, and an id is not both a "qos" and
// a "qosStatic" map (the MIB reports both kinds as qos maps).
//
// parseState() and readStateFile() validate everything, so applying a State never fails on its
// content. Errors are StateFileError: the file, where in it (line and column for malformed
// JSON, a JSON pointer such as "/classMaps/2/type" for a bad field) and what is wrong.
#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Qos/Types.h"
#include "QosMibIndexes.h"
#include "Quill/String.h"

namespace StateSim {

struct ClassMapState {
  Mox::String name;
  Qos::ClassMapMatchCondition matchCondition = Qos::ClassMapMatchCondition::matchConditionAny_;
  std::optional<Qos::ClassMapCpStaticType> staticType;

  friend bool operator==(const ClassMapState&, const ClassMapState&) = default;
};

struct State {
  std::map<QosSnmp::ClassMapTableIndex, ClassMapState> classMaps;

  friend bool operator==(const State&, const State&) = default;
};

class StateFileError : public std::runtime_error {
 public:
  // what() is "<file>: <where>: <message>".
  StateFileError(std::string file, std::string where, const std::string& message);
  const std::string& file() const noexcept { return file_; }
  // "line L, column C" or a JSON pointer.
  const std::string& where() const noexcept { return where_; }

 private:
  std::string file_;
  std::string where_;
};

// Parses the text of a state file; `file` names it in errors.
State parseState(std::string_view text, const std::string& file);
// Reads and parses the state file at `path`; an unreadable file is a StateFileError too.
State readStateFile(const std::string& path);

}  // namespace StateSim
