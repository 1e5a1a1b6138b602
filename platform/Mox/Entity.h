// Mox::Entity: a named, reference-counted object of the state database.
//
// Entities are mounted in the Cordb tree and found by path; the SNMP layer down-casts them to
// their concrete type. changes() publishes the id of an attribute whenever one of its members is
// added, replaced or removed, after the change (subscribers of a single table use that table's
// own publisher for the key).
#pragma once

#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Publisher.h"
#include "Quill/String.h"

namespace Mox {

class Entity : public Quill::Object {
 public:
  explicit Entity(Quill::String name) : name_(std::move(name)) {}
  const Quill::String& name() const noexcept { return name_; }

  Quill::Publisher<U32>& changes() const noexcept { return changes_; }

 private:
  Quill::String name_;
  mutable Quill::Publisher<U32> changes_;
};

}  // namespace Mox
