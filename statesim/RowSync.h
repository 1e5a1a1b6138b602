// StateSim::syncRows: brings one QoS MIB table to the rows a state calls for, key by key;
// syncRow does it for one row (a key-level edit); deleteUnwanted does it for the members of a
// status object's map.
//
// `desired` maps each index to the row's constructor arguments (a tuple). A row that exists
// with the same arguments (the same status objects, the same values) is left alone, so it
// publishes nothing; a row whose arguments changed is deleted and created again (rows are
// immutable); rows that are not desired are deleted; new ones are created. Deletions come first.
#pragma once

#include <map>
#include <tuple>
#include <vector>

namespace StateSim {

// REQUIRES: `is(index, args...)` creates a row of the table, `del(index)` deletes one.
template <typename Rows, typename Index, typename Args, typename Is, typename Del>
void syncRows(const Rows& rows, const std::map<Index, Args>& desired, Is&& is, Del&& del) {
  std::vector<Index> stale;
  for (const auto& row : rows) {
    auto it = desired.find(row.index());
    if (it == desired.end() ||
        !std::apply([&](const auto&... args) { return row.sameArgs(args...); }, it->second)) {
      stale.push_back(row.index());
    }
  }
  for (const Index& index : stale) {
    del(index);
  }
  for (const auto& [index, args] : desired) {
    std::apply([&](const auto&... a) { is(index, a...); }, args);
  }
}

// Brings the row at `index` to `args`: left alone when it holds them, deleted and created again
// when it holds others, created when absent. REQUIRES: as syncRows; `find(index)` returns the
// row or null.
template <typename Find, typename Is, typename Del, typename Index, typename... Args>
void syncRow(Find&& find, Is&& is, Del&& del, const Index& index, const Args&... args) {
  if (auto row = find(index); row && !row->sameArgs(args...)) {
    del(index);
  }
  is(index, args...);
}

// Deletes the members of `map` (a map or hash map) whose key `wanted(key)` rejects. The keys are
// collected first, so `del(key)` may erase from `map`.
template <typename Map, typename Wanted, typename Del>
void deleteUnwanted(const Map& map, Wanted&& wanted, Del&& del) {
  std::vector<typename Map::key_type> unwanted;
  for (const auto& [key, member] : map) {
    if (!wanted(key)) {
      unwanted.push_back(key);
    }
  }
  for (const auto& key : unwanted) {
    del(key);
  }
}

}  // namespace StateSim

// Syncs table `name` of QosMib `mib` (a reference) to `desired`.
#define STATESIM_SYNC_ROWS(mib, name, desired)                                            \
  ::StateSim::syncRows((mib).name(), (desired),                                           \
                       [&](const auto& i, const auto&... a) { (mib).name##Is(i, a...); }, \
                       [&](const auto& i) { (mib).name##Del(i); })

// Syncs the row at `index` of table `name` of QosMib `mib` to the arguments that follow.
#define STATESIM_SYNC_ROW(mib, name, index, ...)                                         \
  ::StateSim::syncRow([&](const auto& i) { return (mib).name(i); },                      \
                      [&](const auto& i, const auto&... a) { (mib).name##Is(i, a...); }, \
                      [&](const auto& i) { (mib).name##Del(i); }, (index), __VA_ARGS__)
