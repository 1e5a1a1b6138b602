#include "Mox/AllocationTracker.h"

#include <algorithm>

namespace Mox {

namespace {
std::vector<const AllocationTracker*>& trackers() {
  static auto* v = new std::vector<const AllocationTracker*>;  // outlives static trackers
  return *v;
}
}  // namespace

AllocationTracker::AllocationTracker(std::string typeName) : typeName_(std::move(typeName)) {
  trackers().push_back(this);
}

AllocationTracker::~AllocationTracker() {
  std::erase(trackers(), this);
}

std::vector<const AllocationTracker*> AllocationTracker::all() {
  return trackers();
}

}  // namespace Mox
