#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_TOP_LIST_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_TOP_LIST_H

// The largest of what comes along, at most a given number of them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// How large something is: the number of its changes, and where it stands in the
// trail, by which the earlier of equals is the larger.
struct top_rank {
  std::uint64_t changes = 0;
  std::uint64_t order = 0;

  bool is_above(const top_rank& other) const {
    return changes != other.changes ? changes > other.changes
                                    : order < other.order;
  }
};

template <typename Entry>
class top_list {
 public:
  explicit top_list(std::size_t limit) : limit_(limit) {}

  // Whether an entry of this rank has a place.
  bool takes(const top_rank& rank) const {
    return entries_.size() < limit_ ||
           (limit_ > 0 && rank.is_above(entries_.front().rank));
  }

  // Adds an entry that has a place. Throws std::bad_alloc.
  void add(const top_rank& rank, Entry entry) {
    if (entries_.size() == limit_) {
      std::ranges::pop_heap(entries_, above);
      entries_.pop_back();
    }
    entries_.push_back({rank, std::move(entry)});
    std::ranges::push_heap(entries_, above);
  }

  // Takes all entries out, the largest first.
  std::vector<Entry> take() {
    std::ranges::sort(entries_, above);
    std::vector<Entry> sorted;
    sorted.reserve(entries_.size());
    for (ranked_entry& each : entries_) sorted.push_back(std::move(each.entry));
    entries_.clear();
    return sorted;
  }

 private:
  struct ranked_entry {
    top_rank rank;
    Entry entry;
  };
  static bool above(const ranked_entry& a, const ranked_entry& b) {
    return a.rank.is_above(b.rank);
  }

  std::size_t limit_;
  // A heap with the smallest at the front.
  std::vector<ranked_entry> entries_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_TOP_LIST_H
