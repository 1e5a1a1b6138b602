// Snmp::RegVoidCollByContext: the registration records of the plug-in's tables, per context.
//
// A module registering a table in a context records the model entity that serves it with
// addRegVoid(context, tableName, entity) and gets back the table's registration record, whose
// address stays valid until delRegVoid(context, tableName). The record is what the table's
// iterator callbacks receive (iinfo->myvoid): the entity and the table's counters.
// Registering the same table twice in a context is a programming fault (assertion).
// A process singleton (Mox::singletonIs<RegVoidCollByContext>()).
#pragma once

#include <map>
#include <memory>
#include <utility>

#include "Mox/Entity.h"
#include "Quill/String.h"
#include "Snmp/TableCounters.h"

namespace Snmp {

struct RegVoid {
  void* entity = nullptr;  // the model entity; its owner keeps it alive while registered
  TableCounters tableCounters;
};

class RegVoidCollByContext : public Mox::Entity {
 public:
  RegVoidCollByContext() : Mox::Entity("regVoidCollByContext") {}

  RegVoid* addRegVoid(const Quill::String& context, const Quill::String& tableName, void* entity);
  // Removes the record; unknown names are ignored.
  void delRegVoid(const Quill::String& context, const Quill::String& tableName);
  // The record or null.
  RegVoid* regVoid(const Quill::String& context, const Quill::String& tableName) const;
  size_t size() const { return records_.size(); }

 private:
  std::map<std::pair<Quill::String, Quill::String>, std::unique_ptr<RegVoid>> records_;
};

}  // namespace Snmp
