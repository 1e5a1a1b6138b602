// The state file's fuzz target: each input is the text of a state file, read as a reload reads
// it (parseState), compared with the state in force (diff) and applied a few keys at a time
// (StatusSource::editsIs, applyEdits), with the policing tables' state machines following the
// edits. Then the base state is applied again, so that every input is diffed both ways.
//
// Checked on every input, beside the sanitizers' own checks:
//   - a refused file changes nothing that is served: the state in force and every table's rows
//     are as they were, and its message is one short line;
//   - an accepted file is in force once its edits are applied: the status source's state is the
//     file's, and the policing collections hold exactly the file's keys.
//
// Built with libFuzzer (clang, QOSSNMP_FUZZ) as qossnmp_state_fuzzer, and with ReplayMain.cpp as
// qossnmp_state_replay for any build.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Cordb/Dir.h"
#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"
#include "QosSnmp/IfPolicerMib/IfPolicerMibTableSm.h"
#include "QosSnmp/PolicingMib/PolicingMib.h"
#include "QosSnmp/PolicingMib/PolicingMibTableSm.h"
#include "StateDiff.h"
#include "StatusSource.h"
#include "Wire.h"

namespace {

// The longest line a refused file may produce.
constexpr size_t maxMessage = 600;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "fuzz harness: %s\n", what.c_str());
  std::abort();
}

struct Harness {
  Harness() {
    Rivo::SmControl control;
    control.synchronousMode = 1;  // the Sms follow every edit inline
    profiles = QosSnmp::policingProfileTableSmFactory(policingMib, source.qosStatus(), control);
    instances = QosSnmp::policerInstanceTableSmFactory(policingMib, source.qosStatus(), control);
    ingress = QosSnmp::ifPolicerInStatsTableSmFactory(
        ifPolicerMib, source.qosStatus(), source.aclHwStatus(), source.ifMib(), control);
    base =
        std::make_shared<const StateSim::State>(StateSim::readStateFile(QOSSNMP_FUZZ_BASE_STATE));
    apply(base);
  }

  // Applies `state` the way the agent applies a reload, yielding every few keys: as edits that
  // went through the state reader's wire form.
  void apply(const std::shared_ptr<const StateSim::State>& state) {
    StateSim::StateEdits edits = StateSim::editsFrom(source.state(), *state, false);
    StateSim::StateEdits sent = StateSim::decode(StateSim::encode(edits));
    if (!(sent == edits)) {
      fail("the edits do not come back from the wire as they went");
    }
    source.editsIs(std::move(sent));
    unsigned steps = 0;
    while (!source.applyEdits([&steps] { return ++steps % 7 == 0; })) {
    }
    if (!(source.state() == *state)) {
      fail("the applied state is not in force");
    }
    const auto& policing = *source.qosStatus()->policingStatus();
    if (policing.profile().size() != state->policerProfiles.size() ||
        policing.policerInstance().size() != state->policerInstances.size() ||
        policingMib->policingProfileTableColl().size() != state->policerProfiles.size() ||
        policingMib->policerInstanceTableColl().size() != state->policerInstances.size()) {
      fail("the policing collections or tables do not hold the state's keys");
    }
  }

  // What is served, in short: the number of rows of every table. (The interface policer table
  // is left out: a row whose interface lost its ifIndex stays by design, so applying the base
  // state again need not bring the table back.)
  std::string served() const {
    const auto& mib = *source.qosMib();
    std::string rows;
    for (size_t n :
         {mib.classMapTable().size(), mib.classMapMatchTable().size(), mib.policyMapTable().size(),
          mib.policyMapClassTable().size(), mib.policyMapActionTable().size(),
          mib.servicePolicyTable().size(), mib.qosStatsTable().size(),
          mib.qosPerIntfStatsTable().size(), mib.qosPolicerStatsTable().size(),
          mib.ecnCounterTable().size(), mib.ecnQueueCounterTable().size(),
          policingMib->policingProfileTableColl().size(),
          policingMib->policerInstanceTableColl().size()}) {
      rows += std::to_string(n) + " ";
    }
    return rows;
  }

  Quill::Ptr<Cordb::Dir> root = Quill::make<Cordb::Dir>("sysdb");
  StateSim::StatusSource source{root};
  Quill::Ptr<QosSnmp::PolicingMib> policingMib = QosSnmp::PolicingMibIs("policingMib");
  Quill::Ptr<QosSnmp::IfPolicerMib> ifPolicerMib = QosSnmp::IfPolicerMibIs("ifPolicerMib");
  Quill::Ptr<QosSnmp::PolicingProfileTableSm> profiles;
  Quill::Ptr<QosSnmp::PolicerInstanceTableSm> instances;
  Quill::Ptr<QosSnmp::IfPolicerInStatsTableSm> ingress;
  std::shared_ptr<const StateSim::State> base;
};

Harness* harness = nullptr;  // lives until the process exits

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  harness = new Harness;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string before = harness->served();
  const size_t ingressRows = harness->ifPolicerMib->ifPolicerInStatsTableColl().size();
  std::shared_ptr<const StateSim::State> state;
  try {
    state = std::make_shared<const StateSim::State>(StateSim::parseState(text, "fuzz.json"));
  } catch (const StateSim::StateFileError& e) {
    const std::string_view message = e.what();
    if (message.size() > maxMessage || message.find('\n') != std::string_view::npos) {
      fail("a refusal's message is not one short line: " +
           std::string(message.substr(0, maxMessage)));
    }
    if (harness->served() != before || !(harness->source.state() == *harness->base) ||
        harness->ifPolicerMib->ifPolicerInStatsTableColl().size() != ingressRows) {
      fail("a refused file changed what is served");
    }
    return 0;
  }
  harness->apply(state);
  harness->apply(harness->base);
  if (harness->served() != before) {
    fail("applying the base state again does not serve what it served before");
  }
  return 0;
}
