#include "StatusSource.h"

#include <set>
#include <vector>

#include "Quill/Assert.h"
#include "StateSimTrace.h"

namespace StateSim {

StatusSource::StatusSource(Quill::Ptr<Cordb::Dir> root)
    : root_(std::move(root)), qosMib_(QosSnmp::qosMibFactory("root")) {
  QUILL_ASSERT(root_);
  root_->mount(qosMibPath, qosMib_);
}

StatusSource::~StatusSource() {
  qosMib_->classMapTableDelAll();
  qosMib_->cmapByStaticTypeDelAll();
  if (root_->lookup(qosMibPath) == qosMib_) {
    root_->unmount(qosMibPath);
  }
}

Quill::Ptr<Qos::ClassMapStatus const> StatusSource::classMap(
    const QosSnmp::ClassMapTableIndex& index) const {
  auto it = classMaps_.find(index);
  return it == classMaps_.end() ? nullptr : it->second;
}

void StatusSource::load(const std::string& path) {
  State state = readStateFile(path);
  QTRACE(trace(), 1, "Applying state file {}", path);
  stateIs(state);
}

void StatusSource::stateIs(const State& state) {
  classMapsIs(state);
  state_ = state;
}

void StatusSource::classMapsIs(const State& state) {
  // Gone: the row, then the status object (rows and static-type members hold their own
  // references, so a reader holding a row still sees a valid status).
  for (auto it = classMaps_.begin(); it != classMaps_.end();) {
    if (state.classMaps.contains(it->first)) {
      ++it;
      continue;
    }
    QTRACE(trace(), 7, "Deleting class map {}", it->first.toString());
    qosMib_->classMapTableDel(it->first);
    it = classMaps_.erase(it);
  }
  std::set<Qos::ClassMapCpStaticType> staticTypes;
  for (const auto& [index, classMap] : state.classMaps) {
    if (classMap.staticType) {
      staticTypes.insert(*classMap.staticType);
    }
  }
  std::vector<Qos::ClassMapCpStaticType> staticTypesGone;
  for (const auto& [type, status] : qosMib_->cmapByStaticType()) {
    if (!staticTypes.contains(type)) {
      staticTypesGone.push_back(type);
    }
  }
  for (Qos::ClassMapCpStaticType type : staticTypesGone) {
    QTRACE(trace(), 7, "Deleting static class map {}", Mox::enumName(type));
    qosMib_->cmapByStaticTypeDel(type);
  }

  // New and changed: status objects are edited in place, so their rows stay.
  for (const auto& [index, classMap] : state.classMaps) {
    auto [it, isNew] = classMaps_.try_emplace(index);
    if (isNew) {
      QTRACE(trace(), 7, "Inserting class map {}", index.toString());
      it->second = Quill::make<Qos::ClassMapStatus>(classMap.name);
    } else if (it->second->name() != classMap.name) {
      it->second->nameIs(classMap.name);
    }
    it->second->matchConditionIs(classMap.matchCondition);
    qosMib_->classMapTableIs(index, Quill::Ptr<Qos::ClassMapStatus const>(it->second));
    if (classMap.staticType) {
      qosMib_->cmapByStaticTypeIs(*classMap.staticType, it->second);
    }
  }
}

}  // namespace StateSim
