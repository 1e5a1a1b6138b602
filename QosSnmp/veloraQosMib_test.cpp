// The QoS MIB module as net-snmp drives it: registration per context, the iterator callbacks
// of the class map table (hints, counters, rows changing during a walk, context lifetimes) and
// the GET handler's answers and errors.
#include "QosSnmp/veloraQosMib.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Mox/Singleton.h"
#include "QosSnmp/QosMib.h"
#include "Quill/Trace.h"
#include "Snmp/MibContext.h"
#include "Snmp/RegVoidCollByContext.h"
#include "QosSnmp/SnmpModule.h"
#include "QosSnmp/TestAgent.h"

namespace {

using Qos::MapType;
using QosSnmp::ClassMapTableIndex;

// One agent, one model root for the whole test program.
class AgentEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { QosSnmp::test::ensureAgent(); }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new AgentEnvironment);

using QosSnmp::test::mib;

const QosSnmp::SnmpModule& Module() {
  return QosSnmp::veloraQosMibModule();
}

TEST(VeloraQosMibRegistrationTest, DefaultContextRegistersTablesAndUnregistersThemAll) {
  init_veloraQosMib("");
  const auto& regs = Module().handlerRegistrationsByContext().at("");
  ASSERT_FALSE(regs.empty());
  EXPECT_STREQ(regs.front()->handlerName, "veloraClassMapTable_");
  for (auto* reg : regs) {
    EXPECT_EQ(std::string(reg->handlerName).back(), '_');
  }
  EXPECT_EQ(Module().columnInfosByContext().at("").size(), regs.size());
  auto coll = Mox::singletonIs<Snmp::RegVoidCollByContext>();
  ASSERT_NE(coll->regVoid("", "veloraClassMapTable"), nullptr);
  EXPECT_EQ(coll->regVoid("", "veloraClassMapTable")->entity, &mib());
  EXPECT_TRUE(Snmp::mibContexts().at("").count("veloraQosMib"));

  unregister_veloraQosMib("");
  EXPECT_EQ(Module().handlerRegistrationsByContext().count(""), 0U);
  EXPECT_EQ(Module().columnInfosByContext().count(""), 0U);
  EXPECT_EQ(coll->regVoid("", "veloraClassMapTable"), nullptr);
  EXPECT_EQ(Snmp::mibContexts().count(""), 0U);
}

TEST(VeloraQosMibRegistrationTest, NamedContextGetsTheMibContextOnly) {
  init_veloraQosMib("vrf1");
  EXPECT_EQ(Module().handlerRegistrationsByContext().count("vrf1"), 0U);
  EXPECT_EQ(Module().columnInfosByContext().count("vrf1"), 0U);
  EXPECT_TRUE(Snmp::mibContexts().at("vrf1").count("veloraQosMib"));
  unregister_veloraQosMib("vrf1");
  EXPECT_EQ(Snmp::mibContexts().count("vrf1"), 0U);
  unregister_veloraQosMib("never-initialised");  // nothing registered: nothing to undo
  EXPECT_EQ(Module().handlerRegistrationsByContext().count("never-initialised"), 0U);
}

// Drives the class map table's registered iterator callbacks as net-snmp's iterator does.
class ClassMapIteratorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    init_veloraQosMib("");
    auto* reg = Module().handlerRegistrationsByContext().at("").front();
    iinfo = static_cast<netsnmp_iterator_info*>(
        netsnmp_find_handler_by_name(reg, "table_iterator")->myvoid);
    regVoid = static_cast<Snmp::RegVoid*>(iinfo->myvoid);
    put = snmp_clone_varbind(iinfo->indexes);
    Quill::traceSinkIs(
        [this](std::string_view, int, std::string_view text) { traces.emplace_back(text); });
    Quill::traceSpecIs("QosSnmp/0-2");
  }
  void TearDown() override {
    Quill::traceSpecIs("");
    Quill::traceSinkIs({});
    if (loop) {
      iinfo->free_loop_context_at_end(loop, iinfo);
    }
    snmp_free_varbind(put);
    snmp_free_varbind(hint.indexes);
    mib().classMapTableDelAll();
    unregister_veloraQosMib("");
  }

  Quill::Ptr<QosSnmp::ClassMapTableEntry> Row(const char* id, MapType type, const char* name) {
    return mib().classMapTableIs(
        ClassMapTableIndex(id, type),
        Quill::Ptr<Qos::ClassMapStatus const>(Quill::make<Qos::ClassMapStatus>(name)));
  }

  // A request's parsed index: octet string id, then integer map type.
  netsnmp_table_request_info* Hint(const std::string& id, long type,
                                   u_char idType = ASN_OCTET_STR) {
    hint.number_indexes = 2;
    snmp_free_varbind(hint.indexes);
    hint.indexes = nullptr;
    snmp_varlist_add_variable(&hint.indexes, nullptr, 0, idType,
                              reinterpret_cast<const u_char*>(id.data()), id.size());
    snmp_varlist_add_variable(&hint.indexes, nullptr, 0, ASN_INTEGER,
                              reinterpret_cast<const u_char*>(&type), sizeof type);
    return &hint;
  }

  // get_first / get_next; return the row id written into the index varbinds, or "" at the end.
  std::string First(netsnmp_table_request_info* h = nullptr) {
    loop = h;
    return Indexed(iinfo->get_first_data_point(&loop, &data, put, iinfo));
  }
  std::string Next() { return Indexed(iinfo->get_next_data_point(&loop, &data, put, iinfo)); }
  std::string Indexed(netsnmp_variable_list* v) {
    if (!v) {
      return "";
    }
    std::string id(reinterpret_cast<char*>(v->val.string), v->val_len);
    return id + "/" + std::to_string(*v->next_variable->val.integer);
  }
  Quill::U64 Events(Quill::U32 type) const { return regVoid->tableCounters.orderedIterCntr(type); }
  std::vector<Quill::U64> EventsSince(const std::vector<Quill::U64>& before) const {
    std::vector<Quill::U64> d;
    for (Quill::U32 t = 0; t < 6; ++t) {
      d.push_back(Events(t) - before[t]);
    }
    return d;
  }
  std::vector<Quill::U64> Snapshot() const { return EventsSince(std::vector<Quill::U64>(6, 0)); }
  bool Traced(const std::string& fragment) const {
    for (const auto& t : traces) {
      if (t.find(fragment) != std::string::npos) {
        return true;
      }
    }
    return false;
  }

  netsnmp_iterator_info* iinfo = nullptr;
  Snmp::RegVoid* regVoid = nullptr;
  netsnmp_variable_list* put = nullptr;
  netsnmp_table_request_info hint{};
  void* loop = nullptr;
  void* data = nullptr;
  std::vector<std::string> traces;
};

TEST_F(ClassMapIteratorTest, EmptyTableEndsAtOnce) {
  auto before = Snapshot();
  EXPECT_EQ(First(), "");
  EXPECT_EQ(Next(), "");
  EXPECT_EQ(EventsSince(before), (std::vector<Quill::U64>{0, 0, 1, 1, 0, 0}));
}

TEST_F(ClassMapIteratorTest, WalksInOidOrderAndEncodesTheMapType) {
  Row("bb", MapType::mapQos_, "b");
  Row("a", MapType::mapQosStatic_, "a2");  // folds onto the MIB's qos (2)
  Row("a", MapType::mapControlPlane_, "a0");
  auto before = Snapshot();
  std::vector<std::string> walk{First()};
  for (std::string id = Next(); !id.empty(); id = Next()) {
    walk.push_back(id);
  }
  EXPECT_EQ(walk, (std::vector<std::string>{"a/1", "a/2", "bb/2"}));
  EXPECT_EQ(EventsSince(before), (std::vector<Quill::U64>{0, 0, 1, 0, 1, 2}));
}

TEST_F(ClassMapIteratorTest, HintForAnExistingRowStartsThere) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  auto before = Snapshot();
  EXPECT_EQ(First(Hint("b", 2)), "b/2");
  EXPECT_EQ(EventsSince(before), (std::vector<Quill::U64>{0, 1, 0, 0, 0, 0}));
  EXPECT_TRUE(Traced("hintMatched=true"));
}

TEST_F(ClassMapIteratorTest, HintForAnAbsentKeyWalksFromTheFirstRow) {
  Row("a", MapType::mapQos_, "a");
  Row("c", MapType::mapQos_, "c");
  auto before = Snapshot();
  EXPECT_EQ(First(Hint("b", 2)), "a/2");
  EXPECT_EQ(EventsSince(before), (std::vector<Quill::U64>{1, 0, 1, 0, 0, 0}));
  EXPECT_TRUE(Traced("key 'classMapId=\"b\", classMapType=mapQos_' not found in table"));
}

TEST_F(ClassMapIteratorTest, BadHintComponentsAreReportedAndIgnored) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  EXPECT_EQ(First(Hint("b", 2, ASN_INTEGER)), "a/2");
  EXPECT_TRUE(Traced("hint for veloraClassMapId has incorrect type! Expecting 4 but got 2"));
  EXPECT_TRUE(Traced("needed 2 components, found only 1"));
  iinfo->free_loop_context_at_end(loop, iinfo);
  traces.clear();
  EXPECT_EQ(First(Hint("b", 3)), "a/2");
  EXPECT_TRUE(
      Traced("hint for index veloraClassMapType of veloraClassMapTable is out of range! "
             "too big for Qos::MapType"));
}

TEST_F(ClassMapIteratorTest, HintsAreIgnoredWhenTheAgentSaysSo) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  auto config = Quill::make<Snmp::Config>();
  config->ignoreIteratorHints = true;
  Snmp::CordbUtil::snmpConfigIs(config);
  EXPECT_EQ(First(Hint("b", 2)), "a/2");
  Snmp::CordbUtil::snmpConfigIs(Quill::make<Snmp::Config>());
}

TEST_F(ClassMapIteratorTest, RowRemovedDuringTheWalkContinuesAfterIt) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  Row("c", MapType::mapQos_, "c");
  EXPECT_EQ(First(), "a/2");
  EXPECT_EQ(Next(), "b/2");
  mib().classMapTableDel(ClassMapTableIndex("b", MapType::mapQos_));
  mib().classMapTableDel(ClassMapTableIndex("a", MapType::mapQos_));
  EXPECT_EQ(Next(), "c/2");
  EXPECT_EQ(Next(), "");
}

TEST_F(ClassMapIteratorTest, RowAddedDuringTheWalkIsSeenWhenItComesLater) {
  Row("a", MapType::mapQos_, "a");
  Row("c", MapType::mapQos_, "c");
  EXPECT_EQ(First(), "a/2");
  Row("b", MapType::mapQos_, "b");
  Row("0", MapType::mapQos_, "before");  // "0" sorts before "a": already passed
  EXPECT_EQ(Next(), "b/2");
  EXPECT_EQ(Next(), "c/2");
  EXPECT_EQ(Next(), "");
}

TEST_F(ClassMapIteratorTest, DataContextKeepsItsRowAfterTheTableDropsIt) {
  auto row = Row("a", MapType::mapQos_, "kept");
  EXPECT_EQ(First(), "a/2");
  void* dataContext = iinfo->make_data_context(loop, iinfo);
  Quill::U32 refs = row->refCount();
  mib().classMapTableDel(ClassMapTableIndex("a", MapType::mapQos_));
  EXPECT_EQ(row->refCount(), refs - 1);
  iinfo->free_loop_context_at_end(loop, iinfo);
  loop = nullptr;
  EXPECT_EQ(row->refCount(), refs - 2);  // only the data context and `row` remain
  iinfo->free_data_context(dataContext, iinfo);
  EXPECT_EQ(row->refCount(), 1U);
}

// GET requests for the row the iterator chose, as the iterator hands them to the handler.
class ClassMapHandlerTest : public ClassMapIteratorTest {
 protected:
  struct Request {
    netsnmp_request_info info{};
    netsnmp_table_request_info table{};
  };

  // Builds a chain of GET requests for `columns` of the row `First()` lands on.
  void Get(std::vector<unsigned> columns) {
    ASSERT_NE(First(), "");
    dataContext = iinfo->make_data_context(loop, iinfo);
    reqinfo.mode = MODE_GET;
    requests.resize(columns.size());
    for (size_t i = 0; i < columns.size(); ++i) {
      Request& r = requests[i];
      r.table.colnum = columns[i];
      r.info.agent_req_info = &reqinfo;
      snmp_varlist_add_variable(&r.info.requestvb, nullptr, 0, ASN_NULL, nullptr, 0);
      netsnmp_request_add_list_data(
          &r.info, netsnmp_create_data_list(TABLE_HANDLER_NAME, &r.table, nullptr));
      netsnmp_request_add_list_data(
          &r.info, netsnmp_create_data_list(TABLE_ITERATOR_NAME, dataContext, nullptr));
      if (i > 0) {
        requests[i - 1].info.next = &r.info;
      }
    }
  }
  int Handle() {
    return veloraClassMapTable_handler(nullptr, nullptr, &reqinfo, &requests[0].info);
  }
  void TearDown() override {
    for (Request& r : requests) {
      netsnmp_free_request_data_sets(&r.info);
      snmp_free_varbind(r.info.requestvb);
    }
    if (dataContext) {
      iinfo->free_data_context(dataContext, iinfo);
    }
    ClassMapIteratorTest::TearDown();
  }
  const netsnmp_variable_list& Var(size_t i) const { return *requests[i].info.requestvb; }

  netsnmp_agent_request_info reqinfo{};
  std::vector<Request> requests;
  void* dataContext = nullptr;
};

TEST_F(ClassMapHandlerTest, AnswersNameAndMatchCondition) {
  auto status = Quill::make<Qos::ClassMapStatus>("voice");
  status->matchConditionIs(Qos::ClassMapMatchCondition::matchConditionAll_);
  mib().classMapTableIs(ClassMapTableIndex("cm", MapType::mapQos_),
                        Quill::Ptr<Qos::ClassMapStatus const>(status));
  Get({3, 4});
  EXPECT_EQ(Handle(), SNMP_ERR_NOERROR);
  EXPECT_EQ(Var(0).type, ASN_OCTET_STR);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(Var(0).val.string), Var(0).val_len), "voice");
  EXPECT_EQ(Var(1).type, ASN_INTEGER);
  EXPECT_EQ(*Var(1).val.integer, 2);
}

TEST_F(ClassMapHandlerTest, UnknownColumnAnswersNoSuchObjectAndLeavesLaterRequests) {
  Row("cm", MapType::mapQos_, "voice");
  Get({5, 3});
  EXPECT_EQ(Handle(), SNMP_ERR_NOERROR);
  EXPECT_EQ(Var(0).type, SNMP_NOSUCHOBJECT);
  EXPECT_EQ(Var(1).type, ASN_NULL);
  EXPECT_EQ(requests[1].info.processed, 0);
  EXPECT_TRUE(Traced("veloraClassMapTable invalid column 5"));
}

TEST_F(ClassMapHandlerTest, NameOfTheMaximumLengthIsReturnedWhole) {
  Row("cm", MapType::mapQos_, std::string(255, 'n').c_str());
  Get({3});
  EXPECT_EQ(Handle(), SNMP_ERR_NOERROR);
  EXPECT_EQ(Var(0).val_len, 255U);
}

TEST_F(ClassMapHandlerTest, OverlongNameFailsTheRequestWithGenErr) {
  Row("cm", MapType::mapQos_, std::string(256, 'n').c_str());
  Get({3});
  EXPECT_EQ(Handle(), SNMP_ERR_GENERR);
  EXPECT_EQ(requests[0].info.status, SNMP_ERR_GENERR);
  EXPECT_TRUE(
      Traced("handle_veloraClassMapTable - entity /localhost/snmp/qos/root length out of "
             "range: classMapName (256)"));
}

TEST_F(ClassMapHandlerTest, WritesAreRefused) {
  Row("cm", MapType::mapQos_, "voice");
  Get({3});
  reqinfo.mode = MODE_SET_RESERVE1;
  EXPECT_EQ(Handle(), SNMP_ERR_NOERROR);
  EXPECT_EQ(requests[0].info.status, SNMP_ERR_NOTWRITABLE);
}

}  // namespace
