#include "Mox/Singleton.h"

namespace Mox {

namespace detail {
std::map<std::type_index, Quill::Ptr<Entity>>& singletons() {
  static std::map<std::type_index, Quill::Ptr<Entity>> s;
  return s;
}
}  // namespace detail

void singletonDelAll() {
  detail::singletons().clear();
}

}  // namespace Mox
