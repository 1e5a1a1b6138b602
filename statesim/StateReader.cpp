#include "StateReader.h"

#include "Quill/Exception.h"

namespace StateSim {

void Reader::fail(const Where& where, const std::string& message) const {
  std::string pointer = where.pointer();
  throw StateFileError(file_, pointer.empty() ? "/" : std::move(pointer), message);
}

const Json::array_t& Reader::array(const Json& value, const Where& where) const {
  if (!value.is_array()) {
    fail(where, fmt::format("expected an array, found {}", value.type_name()));
  }
  return value.get_ref<const Json::array_t&>();
}

const Json::object_t& Reader::object(const Json& value, const Where& where) const {
  if (!value.is_object()) {
    fail(where, fmt::format("expected an object, found {}", value.type_name()));
  }
  return value.get_ref<const Json::object_t&>();
}

const std::string& Reader::string(const Json& value, const Where& where) const {
  if (!value.is_string()) {
    fail(where, fmt::format("expected a string, found {}", value.type_name()));
  }
  return value.get_ref<const std::string&>();
}

bool Reader::boolean(const Json& value, const Where& where) const {
  if (!value.is_boolean()) {
    fail(where, fmt::format("expected true or false, found {}", value.type_name()));
  }
  return value.get<bool>();
}

U64 Reader::number(const Json& value, const Where& where, U64 max) const {
  if (!value.is_number_unsigned() || value.get<U64>() > max) {
    fail(where, fmt::format("expected a whole number from 0 to {}, found {}", max, shown(value)));
  }
  return value.get<U64>();
}

const std::string& Reader::identifier(const Json& value, const Where& where, std::string_view what,
                                      size_t maxLength) const {
  const std::string& id = string(value, where);
  if (id.empty() || id.size() > maxLength) {
    fail(where, fmt::format("{} {} is 1 to {} bytes long, not {}", article(what), what, maxLength,
                            id.size()));
  }
  if (id.find('\0') != std::string::npos) {
    fail(where, fmt::format("{} {} has no NUL byte, not '{}'", article(what), what, excerpt(id)));
  }
  return id;
}

Linko::IntfId Reader::interface(const Json& value, const Where& where) const {
  const std::string& name = string(value, where);
  try {
    return Linko::IntfId::fromName(name);
  } catch (const Quill::RangeException&) {
    fail(where, fmt::format("'{}' is not an interface name (Ethernet<n>, Port-Channel<n>)",
                            excerpt(name)));
  }
}

JsonObject::JsonObject(const Reader& r, const Json& value, std::string where,
                       std::initializer_list<std::string_view> known)
    : r_(r), where_(std::move(where)) {
  object_ = &r_.object(value, where_);
  for (const auto& [name, member] : *object_) {
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      r_.fail(at(name), "unknown member");
    }
  }
}

const Json* JsonObject::member(std::string_view name) const {
  auto it = object_->find(std::string(name));
  return it == object_->end() ? nullptr : &it->second;
}

const Json& JsonObject::required(std::string_view name) const {
  const Json* v = member(name);
  if (!v) {
    r_.fail(where_, fmt::format("missing member '{}'", name));
  }
  return *v;
}

std::string JsonObject::string(std::string_view name, std::string_view otherwise) const {
  const Json* v = member(name);
  return v ? r_.string(*v, at(name)) : std::string(otherwise);
}

bool JsonObject::boolean(std::string_view name, bool otherwise) const {
  const Json* v = member(name);
  return v ? r_.boolean(*v, at(name)) : otherwise;
}

U64 JsonObject::number(std::string_view name, U64 max, U64 otherwise) const {
  const Json* v = member(name);
  return v ? r_.number(*v, at(name), max) : otherwise;
}

}  // namespace StateSim
