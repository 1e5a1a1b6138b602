// Process-wide singleton entities, found by type: singletonExists<T>() and singletonIs<T>()
// (find or create). Singletons live until singletonDelAll() (the agent calls it at exit).
#pragma once

#include <map>
#include <typeindex>

#include "Mox/Entity.h"
#include "Quill/Ptr.h"

namespace Mox {

namespace detail {
std::map<std::type_index, Quill::Ptr<Entity>>& singletons();
}

template <typename T>
Quill::Ptr<T> singletonExists() {
  auto& s = detail::singletons();
  auto it = s.find(typeid(T));
  return it == s.end() ? nullptr : Quill::dynamicPtrCast<T>(it->second);
}

template <typename T>
Quill::Ptr<T> singletonIs() {
  if (auto existing = singletonExists<T>()) {
    return existing;
  }
  auto created = Quill::make<T>();
  detail::singletons().emplace(typeid(T), created);
  return created;
}

void singletonDelAll();

}  // namespace Mox
