// A reactive table of the policing shape added the way the README's layout section tells: the
// five pieces a new table needs, each written once, here in one test file of a test module
// ("probePolicingMib"), and the table filled by its Sm from the QoS agent's policing status and
// walked through net-snmp in-process.
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QosSnmp/SnmpTables/MibTable.h"
#include "QosSnmp/PolicingMib/PolicingMibTableSm.h"
#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/SnmpTables/SnmpModuleExports.h"
#include "QosSnmp/SnmpTables/SnmpModuleRegistration.h"
#include "QosSnmp/SnmpTables/SnmpTableCallbacks.h"
#include "QosSnmp/SnmpTables/SnmpTableDesc.h"
#include "QosSnmp/TestSupport/TableDriver.h"
#include "QosSnmp/SnmpTables/TableEntry.h"
#include "QosSnmp/TestSupport/TestAgent.h"
#include "Snmp/MibContext.h"

namespace QosSnmp::probe5 {

// 1. The row: its index and the status object its columns are read from.
class ProfileRateEntry : public TableEntry<ProfileRateEntry, PolicingProfileTableIndex,
                                           Quill::Ptr<InterfacePolicing::PolicerProfile const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"policerProfile"};
  static inline Mox::AllocationTracker memAllocationTracker_{"QosSnmp::probe5::ProfileRateEntry"};
  U64 cir() const { return arg<0>() && arg<0>()->config() ? arg<0>()->config()->cir() : 0; }
};

// 2. The model entity that holds the table, and where it is mounted.
class ProbePolicingMib : public Mox::Entity {
 public:
  enum Attr : U32 { profileRateTableAttr = 1 };
  static constexpr const char* typeName = "QosSnmp::probe5::ProbePolicingMib";
  static constexpr const char* mountPath = "test/probePolicingMib";
  ProbePolicingMib() : Mox::Entity("probePolicingMib") {}
  QOSSNMP_MIB_TABLE(profileRateTable, ProfileRateEntry);
};

// 3. The table's description: OID arc, index and columns.
struct ProfileRateTable {
  using Entity = ProbePolicingMib;
  using Entry = ProfileRateEntry;
  using I = PolicingProfileTableIndex;
  static constexpr const char* name = "probeProfileRateTable";
  static constexpr U32 arc = 1;
  static const auto& table(const ProbePolicingMib& mib) { return mib.profileRateTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::profileName>("probeProfileRateName", "profileName", 64)};
  static constexpr std::array columns = {
      counterColumn<Entry, &Entry::cir>(2, "probeProfileRateCir", "cir")};
};

// 5. The pipeline: from( qosStatus.policingStatus.profile[] ) into( profileRateTable[ name ] ).
inline constexpr Reactive::PolicingPipeline<Qos::PolicingStatus::ProfileColl, ProbePolicingMib,
                                            ProfileRateEntry>
    profileRatePipeline{
        .smClass = "ProfileRateTableSm",
        .stream = "profileRateStream",
        .from = {.childClass = "QosStatusSm0",
                 .nestedClass = "PolicingStatusSm1",
                 .taskNumber = Reactive::TaskNumber{0},
                 .stream = Reactive::StreamIndex{0},
                 .collOf = &Qos::PolicingStatus::profile,
                 .coll = "profile"},
        .keyName = "profileName",
        .valueName = "profileOpt",
        .indexOf = Reactive::nameIndex<PolicingProfileTableIndex>,
        .into = &ProbePolicingMib::profileRateTableColl,
        .table = "profileRateTable",
        .output = "probePolicingMibProfileRateTableOutput",
    };
class ProfileRateTableSm : public Reactive::PolicingTableSm<profileRatePipeline> {
  using PolicingTableSm::PolicingTableSm;
};
inline constexpr Factory<ProfileRateTableSm> profileRateTableSmFactory;

}  // namespace QosSnmp::probe5

// 4. The module's list of tables (in a module's header), and its definitions (in its source).
#define PROBE_POLICING_MIB_TABLES(X, module) \
  X(module, probeProfileRateTable, QosSnmp::probe5::ProfileRateTable)

QOSSNMP_MODULE_DECLARATIONS(probePolicingMib, PROBE_POLICING_MIB_TABLES)

namespace {
QosSnmp::SnmpModule probePolicingMib("probePolicingMib",
                                     {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 98},
                                     "a test module of one policing table");
}  // namespace

QOSSNMP_MODULE_DEFINITIONS(probePolicingMib, PROBE_POLICING_MIB_TABLES)

namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerProfile;
using InterfacePolicing::PolicerRateBurst;
using QosSnmp::probe5::ProbePolicingMib;

class FifthTableTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    QosSnmp::test::ensureAgent();
    Snmp::CordbUtil::agentRoot()->mount(ProbePolicingMib::mountPath,
                                        Quill::make<ProbePolicingMib>());
  }
  static void TearDownTestSuite() {
    Snmp::CordbUtil::agentRoot()->unmount(ProbePolicingMib::mountPath);
  }
  FifthTableTest()
      : status_(Quill::make<Qos::Status>("status")),
        policing_(Quill::make<Qos::PolicingStatus>("policingStatus")),
        scheduler_(Quill::make<Dovo::TaskScheduler>("test")) {
    status_->policingStatusIs(policing_);
  }
  void SetUp() override { init_probePolicingMib(""); }
  void TearDown() override {
    Mib()->profileRateTableDelAll();
    unregister_probePolicingMib("");
  }

  static Quill::Ptr<ProbePolicingMib> Mib() {
    return Quill::dynamicPtrCast<ProbePolicingMib>(
        Snmp::CordbUtil::getEntityRelative(ProbePolicingMib::mountPath));
  }
  void Profile(const std::string& name, Quill::U64 cir) {
    policing_->profileIs(PolicerName(name),
                         Quill::make<PolicerProfile>(
                             PolicerName(name),
                             Quill::make<PolicerRateBurst>(PolicerRateBurst::Values{.cir = cir})));
  }
  Rivo::SmControl Asynchronous() const {
    Rivo::SmControl control;
    control.scheduler = scheduler_;
    return control;
  }
  static QosSnmp::test::TableDriver Table() {
    return QosSnmp::test::TableDriver(QosSnmp::probePolicingMibModule(), "probeProfileRateTable",
                                      probeProfileRateTable_handler);
  }
  // The cir column of the row at `name`, read with a GET.
  static Quill::U64 Cir(const char* name) {
    QosSnmp::test::Hint hint;
    return Table().getOne(2, &hint.octets(name)).counter;
  }

  Quill::Ptr<Qos::Status> status_;
  Quill::Ptr<Qos::PolicingStatus> policing_;
  Quill::Ptr<Dovo::TaskScheduler> scheduler_;
};

TEST_F(FifthTableTest, ItsSmFillsItAndNetSnmpWalksIt) {
  Profile("gold", 5000);
  Profile("a", 10);
  Profile("silver", 2000);
  auto sm = QosSnmp::probe5::profileRateTableSmFactory(Mib(), status_, Asynchronous());
  EXPECT_FALSE(sm->ready());
  scheduler_->runUntilIdle();
  ASSERT_TRUE(sm->ready());
  EXPECT_EQ(Table().walk(), (std::vector<std::string>{"a", "gold", "silver"}));
  EXPECT_EQ(Cir("gold"), 5000U);

  // From then on every change of the status shows at once.
  policing_->profileDel(PolicerName("a"));
  Profile("gold", 7000);
  Profile("bronze", 1);
  EXPECT_EQ(Table().walk(), (std::vector<std::string>{"gold", "bronze", "silver"}));
  EXPECT_EQ(Cir("gold"), 7000U);
  EXPECT_EQ(sm->smClass(), "ProfileRateTableSm");
  EXPECT_EQ(sm->qosStatusSm()->task(), nullptr);  // scanned and done with
}

}  // namespace
