// StateSim::copyAfter: a copy of a large collection made in slices on the agent's thread.
//
// A copy that would hold the thread for hundreds of milliseconds (a million status objects) is
// made in calls that each stop when the scheduler says so; the next call resumes after the last
// entry the copy holds. No cursor is kept between the calls, so the collection is only looked up
// again, never iterated from a stale position; it must not change between them.
#pragma once

#include <cstddef>
#include <functional>
#include <iterator>

namespace StateSim {

// How many entries are copied between two questions to `yield`.
inline constexpr size_t copyAfterBatch = 64;

// Appends `entryOf(entry)` to `out`, for each entry of `from` after the one whose key is `*last`
// (from the first when `last` is null), in `from`'s order, asking `yield()` every
// copyAfterBatch entries; false when it said to stop (the entries may all be in by then). `from` is
// an ordered map or a Mox::WatchedMap (which resumes in its hash order); `out` anything with
// insert(end(), value): a vector, or a map whose keys come in order.
template <typename Coll, typename Out, typename EntryOf>
bool copyAfter(const Coll& from, const typename Coll::key_type* last, Out& out, EntryOf&& entryOf,
               const std::function<bool()>& yield) {
  auto it = from.begin();
  if (last) {
    if constexpr (requires { from.resumeAt(*last); }) {
      it = from.resumeAt(*last);
    } else {
      it = from.lower_bound(*last);
    }
    if (it != from.end() && it->first == *last) {
      ++it;
    }
  }
  for (size_t n = 1; it != from.end(); ++n) {
    out.insert(out.end(), entryOf(*it++));
    if (n % copyAfterBatch == 0 && yield()) {
      return false;
    }
  }
  return true;
}

// Copies more of `from` into `to`, which holds its first entries (`entryOf` each; a vector of
// pairs or a map): from after the last, until yield() says to stop; true once all are in. Nothing
// may change `from` between the calls: the sizes tell when `to` is complete.
template <typename Coll, typename Out, typename EntryOf>
bool copySection(const Coll& from, Out& to, EntryOf&& entryOf, const std::function<bool()>& yield) {
  if (to.size() >= from.size()) {
    return true;
  }
  if constexpr (requires { to.reserve(from.size()); }) {
    to.reserve(from.size());
  }
  return copyAfter(from, to.empty() ? nullptr : &std::prev(to.end())->first, to, entryOf, yield);
}

// The same, entries copied as they are.
template <typename Map>
bool copySection(const Map& from, Map& to, const std::function<bool()>& yield) {
  return copySection(
      from, to, [](const auto& entry) { return entry; }, yield);
}

}  // namespace StateSim
