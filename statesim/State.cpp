#include "State.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <set>
#include <sstream>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace StateSim {

StateFileError::StateFileError(std::string file, std::string where, const std::string& message)
    : std::runtime_error(fmt::format("{}: {}: {}", file, where, message)),
      file_(std::move(file)),
      where_(std::move(where)) {}

namespace {

using Json = nlohmann::json;

constexpr std::array mapTypeSpellings = {
    std::pair{std::string_view("controlPlane"), Qos::MapType::mapControlPlane_},
    std::pair{std::string_view("qos"), Qos::MapType::mapQos_},
    std::pair{std::string_view("qosStatic"), Qos::MapType::mapQosStatic_},
};
constexpr std::array matchConditionSpellings = {
    std::pair{std::string_view("any"), Qos::ClassMapMatchCondition::matchConditionAny_},
    std::pair{std::string_view("all"), Qos::ClassMapMatchCondition::matchConditionAll_},
};
constexpr std::array staticTypeSpellings = {
    std::pair{std::string_view("bgp"), Qos::ClassMapCpStaticType::cmapCpStaticBgp_},
    std::pair{std::string_view("ospf"), Qos::ClassMapCpStaticType::cmapCpStaticOspf_},
    std::pair{std::string_view("arp"), Qos::ClassMapCpStaticType::cmapCpStaticArp_},
    std::pair{std::string_view("igmp"), Qos::ClassMapCpStaticType::cmapCpStaticIgmp_},
    std::pair{std::string_view("lacp"), Qos::ClassMapCpStaticType::cmapCpStaticLacp_},
    std::pair{std::string_view("lldp"), Qos::ClassMapCpStaticType::cmapCpStaticLldp_},
};

// Walks the document, keeping the JSON pointer of the value at hand for error messages.
class Reader {
 public:
  explicit Reader(const std::string& file) : file_(file) {}

  [[noreturn]] void fail(const std::string& where, const std::string& message) const {
    throw StateFileError(file_, where.empty() ? "/" : where, message);
  }

  const Json::object_t& object(const Json& value, const std::string& where) const {
    if (!value.is_object()) {
      fail(where, fmt::format("expected an object, found {}", value.type_name()));
    }
    return value.get_ref<const Json::object_t&>();
  }

  const Json::array_t& array(const Json& value, const std::string& where) const {
    if (!value.is_array()) {
      fail(where, fmt::format("expected an array, found {}", value.type_name()));
    }
    return value.get_ref<const Json::array_t&>();
  }

  const std::string& string(const Json& value, const std::string& where) const {
    if (!value.is_string()) {
      fail(where, fmt::format("expected a string, found {}", value.type_name()));
    }
    return value.get_ref<const std::string&>();
  }

  template <typename E, size_t N>
  E spelled(const Json& value, const std::string& where,
            const std::array<std::pair<std::string_view, E>, N>& spellings,
            std::string_view what) const {
    const std::string& text = string(value, where);
    std::string known;
    for (const auto& [spelling, e] : spellings) {
      if (spelling == text) {
        return e;
      }
      known += known.empty() ? "" : ", ";
      known += spelling;
    }
    fail(where, fmt::format("'{}' is not a {} ({})", text, what, known));
  }

  void onlyMembers(const Json::object_t& object, const std::string& where,
                   std::initializer_list<std::string_view> known) const {
    for (const auto& [name, value] : object) {
      if (std::find(known.begin(), known.end(), name) == known.end()) {
        fail(pointer(where, name), "unknown member");
      }
    }
  }

  static std::string pointer(const std::string& where, std::string_view member) {
    return (Json::json_pointer(where) / std::string(member)).to_string();
  }
  static std::string pointer(const std::string& where, size_t element) {
    return fmt::format("{}/{}", where, element);
  }

 private:
  const std::string& file_;
};

void readClassMaps(const Reader& r, const Json& value, const std::string& where, State& state) {
  std::set<Qos::ClassMapCpStaticType> staticTypes;
  const auto& classMaps = r.array(value, where);
  for (size_t i = 0; i < classMaps.size(); ++i) {
    const std::string at = Reader::pointer(where, i);
    const auto& object = r.object(classMaps[i], at);
    r.onlyMembers(object, at, {"id", "type", "name", "matchCondition", "staticType"});
    auto member = [&](std::string_view name) -> const Json* {
      auto it = object.find(std::string(name));
      return it == object.end() ? nullptr : &it->second;
    };
    auto required = [&](std::string_view name) -> const Json& {
      const Json* v = member(name);
      if (!v) {
        r.fail(at, fmt::format("missing member '{}'", name));
      }
      return *v;
    };

    const std::string idAt = Reader::pointer(at, "id");
    const std::string& id = r.string(required("id"), idAt);
    if (id.empty() || id.size() > Snmp::String::maxLength) {
      r.fail(idAt, fmt::format("a class map id is 1 to {} bytes long, not {}",
                               Snmp::String::maxLength, id.size()));
    }
    const std::string typeAt = Reader::pointer(at, "type");
    Qos::MapType type = r.spelled(required("type"), typeAt, mapTypeSpellings, "class map type");

    ClassMapState classMap;
    classMap.name = id;
    if (const Json* name = member("name")) {
      classMap.name = r.string(*name, Reader::pointer(at, "name"));
    }
    if (const Json* condition = member("matchCondition")) {
      classMap.matchCondition = r.spelled(*condition, Reader::pointer(at, "matchCondition"),
                                          matchConditionSpellings, "match condition");
    }
    if (const Json* staticType = member("staticType")) {
      const std::string staticAt = Reader::pointer(at, "staticType");
      if (type != Qos::MapType::mapControlPlane_) {
        r.fail(staticAt, "only a controlPlane class map has a static type");
      }
      classMap.staticType =
          r.spelled(*staticType, staticAt, staticTypeSpellings, "control-plane static type");
      if (!staticTypes.insert(*classMap.staticType).second) {
        r.fail(staticAt, fmt::format("static type '{}' is already given to another class map",
                                     r.string(*staticType, staticAt)));
      }
    }

    QosSnmp::ClassMapTableIndex index(Snmp::String(id), type);
    if (!state.classMaps.emplace(index, std::move(classMap)).second) {
      r.fail(at, fmt::format("class map '{}' of type '{}' appears twice", id,
                             r.string(required("type"), typeAt)));
    }
    // The MIB reports qosStatic maps as qos maps: one id under both would be one row twice.
    if (type != Qos::MapType::mapControlPlane_) {
      Qos::MapType twin =
          type == Qos::MapType::mapQos_ ? Qos::MapType::mapQosStatic_ : Qos::MapType::mapQos_;
      if (state.classMaps.contains(QosSnmp::ClassMapTableIndex(Snmp::String(id), twin))) {
        r.fail(typeAt, fmt::format("class map '{}' is both a qos and a qosStatic map; the MIB "
                                   "reports both as qos, so their rows would collide",
                                   id));
      }
    }
  }
}

std::string lineAndColumn(std::string_view text, size_t byte) {
  // nlohmann reports the count of bytes read, so the offending byte is the one before.
  size_t offset = byte == 0 ? 0 : std::min(byte - 1, text.size());
  size_t line = 1;
  size_t lineStart = 0;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
      ++line;
      lineStart = i + 1;
    }
  }
  return fmt::format("line {}, column {}", line, offset - lineStart + 1);
}

}  // namespace

State parseState(std::string_view text, const std::string& file) {
  Json document;
  try {
    document = Json::parse(text);
  } catch (const Json::parse_error& e) {
    // e.what() is "[json.exception.parse_error.101] parse error at line 1, column 2: ...".
    std::string message = e.what();
    size_t colon = message.find(": ");
    throw StateFileError(file, lineAndColumn(text, e.byte),
                         colon == std::string::npos ? message : message.substr(colon + 2));
  }

  Reader r(file);
  State state;
  const auto& top = r.object(document, "");
  r.onlyMembers(top, "", {"classMaps"});
  if (auto it = top.find("classMaps"); it != top.end()) {
    readClassMaps(r, it->second, "/classMaps", state);
  }
  return state;
}

State readStateFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw StateFileError(path, "open", std::strerror(errno));
  }
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) {
    throw StateFileError(path, "read", "cannot read the file");
  }
  return parseState(text.str(), path);
}

}  // namespace StateSim
