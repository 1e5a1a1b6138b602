// The QoS MIB's table descriptions as registered: eleven tables in order under their arcs, and
// GETs through the registered callbacks for the tables whose indexes or encodings are unusual
// (the ECN counter table keyed by its descriptor string, the action value's low 32 bits, a
// queue number out of range).
#include "QosSnmp/QosMibTables.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QosSnmp/QosMib.h"
#include "QosSnmp/SnmpModule.h"
#include "QosSnmp/TestAgent.h"
#include "QosSnmp/veloraQosMib.h"

namespace {

using Quill::U32;
using Quill::U64;

using QosSnmp::test::mib;

const std::list<netsnmp_handler_registration*>& Registrations() {
  return QosSnmp::veloraQosMibModule().handlerRegistrationsByContext().at("");
}

class QosMibTablesTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { QosSnmp::test::ensureAgent(); }
  void SetUp() override { init_veloraQosMib(""); }
  void TearDown() override {
    unregister_veloraQosMib("");
    mib().ecnCounterTableDelAll();
    mib().policyMapActionTableDelAll();
    mib().ecnQueueCounterTableDelAll();
  }

  // What a GET of `column` answered for a row, with the row's index varbinds.
  struct Answer {
    int error = 0;  // the request's error status
    u_char type = 0;
    long integer = 0;
    U64 counter = 0;
    std::vector<std::string> index;  // octet strings as text, integers in decimal
  };

  // Walks table `name` to the row named by `hint` (or the first row) and GETs `column` of it.
  Answer Get(const char* name, Netsnmp_Node_Handler* handler, unsigned column,
             netsnmp_table_request_info* hint = nullptr) {
    netsnmp_handler_registration* reg = nullptr;
    for (auto* r : Registrations()) {
      if (std::string(r->handlerName) == std::string(name) + "_") {
        reg = r;
      }
    }
    EXPECT_NE(reg, nullptr) << name;
    auto* iinfo = static_cast<netsnmp_iterator_info*>(
        netsnmp_find_handler_by_name(reg, "table_iterator")->myvoid);
    netsnmp_variable_list* put = snmp_clone_varbind(iinfo->indexes);
    void* loop = hint;
    void* data = nullptr;
    Answer answer;
    netsnmp_variable_list* row = iinfo->get_first_data_point(&loop, &data, put, iinfo);
    for (auto* v = row; v; v = v->next_variable) {
      answer.index.push_back(v->type == ASN_OCTET_STR
                                 ? std::string(reinterpret_cast<char*>(v->val.string), v->val_len)
                                 : std::to_string(*v->val.integer));
    }
    if (row) {
      void* dataContext = iinfo->make_data_context(loop, iinfo);
      netsnmp_agent_request_info reqinfo{};
      reqinfo.mode = MODE_GET;
      netsnmp_table_request_info table{};
      table.colnum = column;
      netsnmp_request_info request{};
      request.agent_req_info = &reqinfo;
      snmp_varlist_add_variable(&request.requestvb, nullptr, 0, ASN_NULL, nullptr, 0);
      netsnmp_request_add_list_data(&request,
                                    netsnmp_create_data_list(TABLE_HANDLER_NAME, &table, nullptr));
      netsnmp_request_add_list_data(
          &request, netsnmp_create_data_list(TABLE_ITERATOR_NAME, dataContext, nullptr));
      handler(nullptr, reg, &reqinfo, &request);
      answer.error = request.status;
      answer.type = request.requestvb->type;
      if (answer.type == ASN_INTEGER) {
        answer.integer = *request.requestvb->val.integer;
      } else if (answer.type == ASN_COUNTER64) {
        const auto* c = request.requestvb->val.counter64;
        answer.counter = (U64{c->high} << 32) | c->low;
      }
      netsnmp_free_request_data_sets(&request);
      snmp_free_varbind(request.requestvb);
      iinfo->free_data_context(dataContext, iinfo);
    }
    iinfo->free_loop_context_at_end(loop, iinfo);
    snmp_free_varbind(put);
    return answer;
  }
};

TEST_F(QosMibTablesTest, ElevenTablesRegisterInOrderUnderTheirArcs) {
  const std::vector<std::string> names = {
      "veloraClassMapTable_",        "veloraClassMapMatchTable_",   "veloraPolicyMapTable_",
      "veloraPolicyMapClassTable_",  "veloraPolicyMapActionTable_", "veloraServicePolicyTable_",
      "veloraQosStatsTable_",        "veloraEcnCounterTable_",      "veloraEcnQueueCounterTable_",
      "veloraQosPolicerStatsTable_", "veloraQosPerIntfStatsTable_"};
  std::vector<std::string> registered;
  U32 arc = 0;
  for (auto* reg : Registrations()) {
    registered.emplace_back(reg->handlerName);
    ASSERT_EQ(reg->rootoid_len, 11u);
    EXPECT_EQ(reg->rootoid[7], 3u);
    EXPECT_EQ(reg->rootoid[8], 13u);
    EXPECT_EQ(reg->rootoid[9], 1u);
    EXPECT_EQ(reg->rootoid[10], ++arc) << reg->handlerName;
  }
  EXPECT_EQ(registered, names);
  EXPECT_EQ(QosSnmp::veloraQosMibModule().columnInfosByContext().at("").size(), 11u);
}

TEST_F(QosMibTablesTest, EcnCounterRowsAreKeyedByTheirDescriptor) {
  auto chip = Quill::make<Qos::ChipCounter>(0x100000001ULL);
  mib().ecnCounterTableIs("zz-last", chip, U32{2});
  mib().ecnCounterTableIs("ecn-b", chip, U32{7});
  Answer a = Get("veloraEcnCounterTable", veloraEcnCounterTable_handler, 2);
  EXPECT_EQ(a.index, std::vector<std::string>{"ecn-b"});  // shorter descriptors first
  EXPECT_EQ(a.type, ASN_COUNTER64);
  EXPECT_EQ(a.counter, 0x100000001ULL);
  EXPECT_EQ(Get("veloraEcnCounterTable", veloraEcnCounterTable_handler, 3).integer, 7);

  // A hint naming the second row starts there.
  netsnmp_table_request_info hint{};
  hint.number_indexes = 1;
  const std::string last = "zz-last";
  snmp_varlist_add_variable(&hint.indexes, nullptr, 0, ASN_OCTET_STR,
                            reinterpret_cast<const u_char*>(last.data()), last.size());
  Answer b = Get("veloraEcnCounterTable", veloraEcnCounterTable_handler, 3, &hint);
  snmp_free_varbind(hint.indexes);
  EXPECT_EQ(b.index, std::vector<std::string>{"zz-last"});
  EXPECT_EQ(b.integer, 2);
}

TEST_F(QosMibTablesTest, EcnCounterRowCannotBeRecreatedWithOtherArguments) {
  auto chip = Quill::make<Qos::ChipCounter>(1);
  auto row = mib().ecnCounterTableIs("ecn-a", chip, U32{1});
  EXPECT_EQ(mib().ecnCounterTableIs("ecn-a", chip, U32{1}), row);
  try {
    mib().ecnCounterTableIs("ecn-a", chip, U32{2});
    ADD_FAILURE() << "re-created with other arguments";
  } catch (const Mox::MutatorReinstantiationException& e) {
    EXPECT_NE(std::string(e.what()).find("row \"ecn-a\" exists"), std::string::npos) << e.what();
  }
  EXPECT_EQ(mib().ecnCounterTableDel("ecn-a"), row);
}

TEST_F(QosMibTablesTest, ActionValueIsReportedAsItsLow32Bits) {
  auto action = Quill::make<Qos::Action>(0xfffffffe);
  mib().policyMapActionTableIs(QosSnmp::PolicyMapActionTableIndex("pm", Qos::MapType::mapQos_, "cm",
                                                                  Qos::ActionType::actionSetShape_),
                               Quill::make<Qos::ClassAction>("cm"), action, nullptr,
                               Quill::make<Qos::HwStatus>(true, true));
  Answer value = Get("veloraPolicyMapActionTable", veloraPolicyMapActionTable_handler, 3);
  EXPECT_EQ(value.index, (std::vector<std::string>{"pm", "2", "cm", "1"}));
  EXPECT_EQ(value.integer, -2);
  EXPECT_EQ(Get("veloraPolicyMapActionTable", veloraPolicyMapActionTable_handler, 2).integer, 1);
}

TEST_F(QosMibTablesTest, QueueOutOfRangeFailsTheGet) {
  auto slice = Quill::make<Qos::SliceHwStatus>();
  auto status = Quill::make<Qos::EcnIntfCounterStatus>();
  slice->ecnIntfCounterStatusIs(Linko::IntfId(1), status);
  mib().ecnQueueCounterTableIs(QosSnmp::EcnQueueCounterTableIndex(3, 17), Linko::IntfId(1), slice,
                               nullptr, false, false);
  Answer a = Get("veloraEcnQueueCounterTable", veloraEcnQueueCounterTable_handler, 4);
  EXPECT_EQ(a.index, (std::vector<std::string>{"3", "17"}));
  EXPECT_EQ(a.error, SNMP_ERR_GENERR);
}

}  // namespace
