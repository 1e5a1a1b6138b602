// Cordb::Dir: a directory of the state database tree. Holds named entities, and further
// directories, which are entities too. Paths are relative and '/'-separated
// ("snmp/qos/root"); mount creates the directories on the way.
#pragma once

#include <map>
#include <string_view>

#include "Mox/Entity.h"
#include "Quill/Ptr.h"

namespace Cordb {

class Dir : public Mox::Entity {
 public:
  explicit Dir(Quill::String name) : Mox::Entity(std::move(name)) {}

  // Mounts `entity` at `path`, replacing what was there.
  void mount(std::string_view path, Quill::Ptr<Mox::Entity> entity);
  // Removes what is mounted at `path`; returns it, or null.
  Quill::Ptr<Mox::Entity> unmount(std::string_view path);
  // The entity at `path`, or null.
  Quill::Ptr<Mox::Entity> lookup(std::string_view path) const;

 private:
  std::map<Quill::String, Quill::Ptr<Mox::Entity>, std::less<>> children_;
};

}  // namespace Cordb
