#include "QosSnmp/QosMib/QosMib.h"

namespace QosSnmp {

Quill::Ptr<Qos::ClassMapStatus const> QosMib::cmapByStaticType(
    Qos::ClassMapCpStaticType type) const {
  auto it = cmapByStaticType_.find(type);
  return it == cmapByStaticType_.end() ? nullptr : it->second;
}

void QosMib::cmapByStaticTypeIs(Qos::ClassMapCpStaticType type,
                                Quill::Ptr<Qos::ClassMapStatus const> status) {
  auto it = cmapByStaticType_.find(type);
  if (!status) {
    if (it != cmapByStaticType_.end()) {
      cmapByStaticTypeDel(type);
    }
    return;
  }
  if (it != cmapByStaticType_.end()) {
    if (it->second == status) {
      return;
    }
    it->second = std::move(status);
  } else {
    cmapByStaticType_.emplace(type, std::move(status));
  }
  changes().publish(cmapByStaticTypeAttr);
}

void QosMib::cmapByStaticTypeDel(Qos::ClassMapCpStaticType type) {
  if (cmapByStaticType_.erase(type) != 0) {
    changes().publish(cmapByStaticTypeAttr);
  }
}

void QosMib::cmapByStaticTypeDelAll() {
  while (!cmapByStaticType_.empty()) {
    cmapByStaticTypeDel(cmapByStaticType_.begin()->first);
  }
}

}  // namespace QosSnmp
