#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_RECORD_SKETCH_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_RECORD_SKETCH_H

// Finds the records that are changed most, in bounded memory.
//
// A number of records is watched, each with its changes since it came in. When
// there are too many, the less changed half goes, and the bound rises to the
// most that one of these had: a record that comes in, for the first time or
// again, may have had as many changes before. With n changes and room for m
// records the bound is 2n/m at most, so a record that makes up more of the
// trail than that cannot be missed.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "util/chronex_trail/stats/figures.h"

class record_sketch {
 public:
  // Records that are watched at the same time.
  static constexpr std::size_t CAPACITY = std::size_t{24} * 1024;

  explicit record_sketch(std::size_t capacity = CAPACITY)
      : capacity_(capacity) {}

  // A change of a record. Changes wait until there are some, so that the
  // processor fetches their places at the same time. Throws std::bad_alloc.
  void add(std::uint32_t data_set, std::uint32_t recno) {
    waiting_[waiting_count_] = {data_set, recno};
    if (++waiting_count_ == waiting_.size()) add_waiting();
  }
  // Must be called before anything is asked. Throws std::bad_alloc.
  void add_waiting();

  // Changes that a record which is not watched can have at most.
  std::uint64_t bound() const { return bound_; }
  std::size_t watched() const { return watched_; }

  // The records with the most changes that are certain, the largest first.
  std::vector<record_figures> top(std::size_t limit) const;

 private:
  struct record_key {
    std::uint32_t data_set = 0;
    std::uint32_t recno = 0;

    bool operator==(const record_key&) const = default;
  };
  struct entry {
    record_key key;
    // 0: the place is free.
    std::uint64_t at_most = 0;
    // The bound when it came in.
    std::uint64_t error = 0;
  };

  static constexpr std::size_t WAITING = 64;

  std::size_t first_place(const record_key& key) const;
  entry& place_of(const record_key& key);
  void add_now(const record_key& key);
  void come_in(entry& place, const record_key& key);
  std::uint64_t middle() const;
  void rebuild(std::size_t places);

  std::size_t capacity_;
  // Open addressing; the number of places is a power of two.
  std::vector<entry> places_;
  std::size_t watched_ = 0;
  std::uint64_t bound_ = 0;
  std::array<record_key, WAITING> waiting_{};
  std::size_t waiting_count_ = 0;
  // Of no meaning: what is fetched must be used for something.
  std::uint64_t fetched_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_RECORD_SKETCH_H
