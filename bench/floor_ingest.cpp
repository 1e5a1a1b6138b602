// The read-parse-build floor of the agent's start-up: what the least program does that turns a
// state file into the four policing tables. It reads the file, parses it once into a nlohmann
// DOM, and builds the tables as std::maps keyed as the MIB tables are (profiles and instances
// by name, the interface policer tables by ifIndex, a row holding its members' counters), then
// prints the phases' wall times, the rows and its peak RSS as one JSON line.
//
//   g++ -O2 -std=c++20 bench/floor_ingest.cpp -o /tmp/floor_ingest && /tmp/floor_ingest FILE
//
// Compare with the agent's start to "ready" of its last table Sm (bench/scan_cost_bench.py
// prints the Sms' part; the agent's log stamps the rest).
#include <sys/resource.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace {

using Clock = std::chrono::steady_clock;

struct Profile {
  std::uint64_t cir, bc, pir, be;
  std::string cirUnit, bcUnit, pirUnit, beUnit;
};

using Counters = std::array<std::uint64_t, 6>;
struct IfPolicerRow {
  std::string profile, groupPolicer;
  std::vector<Counters> members;
};

double since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s STATE-FILE\n", argv[0]);
    return 2;
  }
  const auto start = Clock::now();
  std::ifstream in(argv[1], std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  const double read = since(start);

  auto phase = Clock::now();
  const nlohmann::json doc = nlohmann::json::parse(text.str());
  const double parse = since(phase);

  phase = Clock::now();
  std::map<std::string, Profile> profiles;
  std::map<std::string, std::string> instances;
  for (const auto& p : doc.value("policerProfiles", nlohmann::json::array())) {
    profiles.emplace(p.at("name").get<std::string>(),
                     Profile{p.value("cir", 0ULL), p.value("bc", 0ULL), p.value("pir", 0ULL),
                             p.value("be", 0ULL), p.value("cirUnit", ""), p.value("bcUnit", ""),
                             p.value("pirUnit", ""), p.value("beUnit", "")});
  }
  for (const auto& i : doc.value("policerInstances", nlohmann::json::array())) {
    instances.emplace(i.at("name").get<std::string>(), i.value("profile", ""));
  }
  std::map<std::string, std::uint32_t> ifIndexes;
  for (const auto& i : doc.value("interfaces", nlohmann::json::array())) {
    ifIndexes.emplace(i.at("name").get<std::string>(), i.at("ifIndex").get<std::uint32_t>());
  }
  std::array<std::map<std::uint32_t, IfPolicerRow>, 2> ifPolicers;  // in, out
  static constexpr std::array<const char*, 6> counterNames{
      "pktsDropped", "pktsSent", "bytesDropped", "bytesSent", "yellowPktsSent", "yellowBytesSent"};
  for (const auto& p : doc.value("interfacePolicers", nlohmann::json::array())) {
    auto ifIndex = ifIndexes.find(p.at("interface").get<std::string>());
    if (ifIndex == ifIndexes.end()) {
      continue;
    }
    IfPolicerRow& row =
        ifPolicers[p.value("direction", "input") == "input" ? 0 : 1][ifIndex->second];
    if (row.members.empty()) {
      row.profile = p.value("profile", "");
      row.groupPolicer = p.value("groupPolicer", "");
    }
    Counters counters{};
    const auto& given = p.value("counters", nlohmann::json::object());
    for (size_t c = 0; c < counterNames.size(); ++c) {
      counters[c] = given.value(counterNames[c], 0ULL);
    }
    row.members.push_back(counters);
  }
  const double build = since(phase);

  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf(
      "{\"read_s\": %.3f, \"parse_s\": %.3f, \"build_s\": %.3f, \"total_s\": %.3f, "
      "\"profiles\": %zu, \"instances\": %zu, \"in\": %zu, \"out\": %zu, \"peak_rss_mb\": %ld}\n",
      read, parse, build, since(start), profiles.size(), instances.size(), ifPolicers[0].size(),
      ifPolicers[1].size(), usage.ru_maxrss / 1024);
  return 0;
}
