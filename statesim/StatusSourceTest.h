// Test support for the status source: a source over a fresh agent root, the notifications of
// its QoS MIB, and small verbs to apply a state and read the class map table.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "StatusSource.h"

namespace StateSim::test {

using Qos::ClassMapCpStaticType;
using Qos::MapType;
using QosSnmp::ClassMapTableIndex;
using QosSnmp::QosMib;
using Quill::U32;
using Quill::U64;

class StatusSourceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    changes = source.qosMib()->changes().subscribe(
        [this](const U32& attr) { published.push_back(attr); });
  }
  void TearDown() override { std::filesystem::remove(path); }

  void Apply(std::string_view text) { source.stateIs(StateSim::parseState(text, "test.json")); }
  void Write(std::string_view text) { std::ofstream(path) << text; }
  Quill::Ptr<QosSnmp::ClassMapTableEntry> Row(std::string_view id, MapType type) const {
    return source.qosMib()->classMapTable(ClassMapTableIndex(Snmp::String(id), type));
  }
  std::vector<std::string> RowIds() const {
    std::vector<std::string> ids;
    for (const auto& row : source.qosMib()->classMapTable()) {
      ids.emplace_back(row.classMapId().str());
    }
    return ids;
  }

  Quill::Ptr<Cordb::Dir> root = Quill::make<Cordb::Dir>("sysdb");
  StateSim::StatusSource source{root};
  std::vector<U32> published;
  Quill::Publisher<U32>::Subscription changes;
  std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("statesim-" + std::to_string(::getpid()) + ".json");
};

}  // namespace StateSim::test
