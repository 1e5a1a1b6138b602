#include "Cordb/Dir.h"

#include "Quill/Assert.h"

namespace Cordb {

namespace {
// Splits "a/b/c" into "a" and "b/c".
std::pair<std::string_view, std::string_view> head(std::string_view path) {
  size_t slash = path.find('/');
  if (slash == std::string_view::npos) {
    return {path, {}};
  }
  return {path.substr(0, slash), path.substr(slash + 1)};
}
}  // namespace

void Dir::mount(std::string_view path, Quill::Ptr<Mox::Entity> entity) {
  auto [name, rest] = head(path);
  QUILL_ASSERT(!name.empty());
  if (rest.empty()) {
    children_.insert_or_assign(Quill::String(name), std::move(entity));
    return;
  }
  auto it = children_.find(name);
  Quill::Ptr<Dir> sub = it == children_.end() ? nullptr : Quill::dynamicPtrCast<Dir>(it->second);
  if (!sub) {
    sub = Quill::make<Dir>(Quill::String(name));
    children_.insert_or_assign(Quill::String(name), sub);
  }
  sub->mount(rest, std::move(entity));
}

Quill::Ptr<Mox::Entity> Dir::unmount(std::string_view path) {
  auto [name, rest] = head(path);
  auto it = children_.find(name);
  if (it == children_.end()) {
    return nullptr;
  }
  if (rest.empty()) {
    Quill::Ptr<Mox::Entity> e = it->second;
    children_.erase(it);
    return e;
  }
  auto sub = Quill::dynamicPtrCast<Dir>(it->second);
  return sub ? sub->unmount(rest) : nullptr;
}

Quill::Ptr<Mox::Entity> Dir::lookup(std::string_view path) const {
  auto [name, rest] = head(path);
  auto it = children_.find(name);
  if (it == children_.end()) {
    return nullptr;
  }
  if (rest.empty()) {
    return it->second;
  }
  auto sub = Quill::dynamicPtrCast<Dir>(it->second);
  return sub ? sub->lookup(rest) : nullptr;
}

}  // namespace Cordb
