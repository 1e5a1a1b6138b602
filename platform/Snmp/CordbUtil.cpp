#include "Snmp/CordbUtil.h"

namespace Snmp::CordbUtil {

namespace {
struct State {
  Quill::Ptr<Config const> config = Quill::make<Config>();
  Quill::Ptr<Cordb::Dir> root;
  bool ignoreHints = false;
};
State& state() {
  static State s;
  return s;
}
}  // namespace

Quill::Ptr<Config const> getSnmpConfig() {
  return state().config;
}

void snmpConfigIs(Quill::Ptr<Config const> config) {
  state().ignoreHints = config && config->ignoreIteratorHints;
  state().config = std::move(config);
}

Quill::Ptr<Mox::Entity> getEntityRelative(std::string_view path) {
  return state().root ? state().root->lookup(path) : nullptr;
}

Quill::Ptr<Cordb::Dir> agentRoot() {
  return state().root;
}

void agentRootIs(Quill::Ptr<Cordb::Dir> root) {
  state().root = std::move(root);
}

bool ignoreIteratorHints() noexcept {
  return state().ignoreHints;
}

}  // namespace Snmp::CordbUtil
