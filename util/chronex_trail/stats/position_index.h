#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_POSITION_INDEX_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_POSITION_INDEX_H

// Finds the entries of a table by their hash: an open-addressed table of
// positions, eight bytes for each.

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

class position_index {
 public:
  static constexpr std::uint32_t NONE = UINT32_MAX;

  // The position of the entry that has this hash and for which `matches` holds,
  // or NONE.
  template <typename Matches>
  std::uint32_t find(std::uint32_t hash, const Matches& matches) const {
    if (slots_.empty()) return NONE;
    for (std::size_t at = hash & mask();; at = (at + 1) & mask()) {
      const slot& place = slots_[at];
      if (place.position == NONE) return NONE;
      if (place.hash == hash && matches(place.position)) return place.position;
    }
  }

  // Adds an entry that is not there. Throws std::bad_alloc.
  void insert(std::uint32_t hash, std::uint32_t position) {
    if (used_ >= slots_.size() / 8 * 7) grow();
    put({hash, position});
    ++used_;
  }

 private:
  struct slot {
    std::uint32_t hash = 0;
    std::uint32_t position = NONE;
  };
  static constexpr std::size_t FIRST_SIZE = 64;

  // The number of slots is a power of two.
  std::size_t mask() const { return slots_.size() - 1; }

  void put(const slot& entry) {
    std::size_t at = entry.hash & mask();
    while (slots_[at].position != NONE) at = (at + 1) & mask();
    slots_[at] = entry;
  }

  void grow() {
    std::vector<slot> old(slots_.empty() ? FIRST_SIZE : slots_.size() * 2);
    old.swap(slots_);
    for (const slot& entry : old) {
      if (entry.position != NONE) put(entry);
    }
  }

  std::vector<slot> slots_;
  std::size_t used_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_POSITION_INDEX_H
