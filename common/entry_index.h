#ifndef CHRONEX_COMMON_ENTRY_INDEX_H
#define CHRONEX_COMMON_ENTRY_INDEX_H

// A hash table of small values, each under a key.
//
// With many entries nearly all the time of a search is the wait for memory. So
// the key stands beside the value, and keys that follow each other, as ids do,
// share a cache line.
//
// Keys come from input files, so two things matter: the number of slots grows
// with the number of entries, and the order of the lines depends on numbers
// drawn once per process, so that no file can be made to crowd one place.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "common/owned_bytes.h"

// The odd multipliers of the hashes, drawn once per process.
extern const std::array<std::uint64_t, 3> HASH_MULTIPLIERS;

// One key made of three numbers; different numbers may give the same.
inline std::uint32_t keyed_hash(std::uint32_t a, std::uint32_t b,
                                std::uint32_t c) {
  return static_cast<std::uint32_t>((a * HASH_MULTIPLIERS[0] +
                                     b * HASH_MULTIPLIERS[1] +
                                     c * HASH_MULTIPLIERS[2]) >>
                                    32U);
}

// A Value made of nothing stands for no entry and cannot be inserted.
template <typename Value>
class entry_index {
 public:
  entry_index() = default;
  entry_index(const entry_index&) = delete;
  entry_index& operator=(const entry_index&) = delete;

  // Returns the value under this key, or Value().
  Value find(std::uint32_t key) const {
    std::size_t at = first_of(key);
    // A free slot has the key 0 and no value.
    while (slots_[at].key != key && !is_free(at)) at = next(at);
    return slots_[at].value;
  }

  // Returns the value under this key for which `matches` holds, or Value().
  template <typename Matches>
  Value find(std::uint32_t key, Matches matches) const {
    std::size_t at = first_of(key);
    while (!is_free(at) && !is_of(at, key, matches)) at = next(at);
    return slots_[at].value;
  }

  bool empty() const { return count_ == 0; }

  // Makes sure that an insert finds a slot; false without memory.
  [[nodiscard]] bool reserve() {
    if (!room_) return resize(INITIAL_SLOTS);
    if ((count_ + 1) * LEAST_SLOTS_PER_ENTRY <= slots_.size()) return true;
    // Without memory for more slots these just get fuller, but for the one that
    // ends every search.
    return resize(2 * slots_.size()) || count_ + 1 < slots_.size();
  }

  // Adds an entry, which must not be there yet; needs a reserve() before.
  void insert(std::uint32_t key, Value value) {
    slots_[free_slot(key)] = {key, value};
    ++count_;
  }

  // Takes the value under this key for which `matches` holds out and returns
  // it, or Value().
  template <typename Matches>
  Value remove(std::uint32_t key, Matches matches) {
    std::size_t at = first_of(key);
    while (!is_free(at) && !is_of(at, key, matches)) at = next(at);
    const Value value = slots_[at].value;
    if (value != Value()) make_free(at);
    return value;
  }

  // Calls `visit` with every value, in no order.
  template <typename Visit>
  void for_each(Visit visit) const {
    for (const slot& place : slots_) {
      if (place.value != Value()) visit(place.value);
    }
  }

  // Takes every value out for which `matches(key, value)` holds.
  template <typename Matches>
  void remove_if(Matches matches) {
    for (std::size_t at = 0; at < slots_.size();) {
      if (is_free(at) || !matches(slots_[at].key, slots_[at].value)) {
        ++at;
      } else {
        // Another entry may come to stand here.
        make_free(at);
      }
    }
  }

 private:
  struct slot {
    std::uint32_t key = 0;
    Value value = {};
  };

  static constexpr std::size_t LINE = CACHE_LINE / sizeof(slot);
  static_assert(CACHE_LINE % sizeof(slot) == 0);
  static constexpr std::size_t INITIAL_SLOTS = 32 * LINE;
  static constexpr std::size_t LEAST_SLOTS_PER_ENTRY = 2;
  // Where two lines of keys want the same line, each key of the second finds
  // its place in the line behind it after one step. An odd step also comes to
  // every slot.
  static constexpr std::size_t STEP = LINE + 1;

  // A hash chooses the line; its place in the line is the key's own.
  std::size_t first_of(std::uint32_t key) const {
    const std::uint64_t hash = key / LINE * HASH_MULTIPLIERS[0];
    return (hash >> line_shift_) * LINE + key % LINE;
  }

  std::size_t next(std::size_t at) const {
    return (at + STEP) & (slots_.size() - 1);
  }

  bool is_free(std::size_t at) const { return slots_[at].value == Value(); }

  template <typename Matches>
  bool is_of(std::size_t at, std::uint32_t key, Matches matches) const {
    return slots_[at].key == key && matches(slots_[at].value);
  }

  std::size_t free_slot(std::uint32_t key) const {
    std::size_t at = first_of(key);
    while (!is_free(at)) at = next(at);
    return at;
  }

  // Frees a slot. Entries that a search finds behind it move up, so that none
  // of them stands behind a free slot that its search would meet first.
  void make_free(std::size_t at) {
    std::size_t steps = 1;
    for (std::size_t from = next(at); !is_free(from); from = next(from)) {
      if (is_within(slots_[from].key, from, steps)) {
        ++steps;
        continue;
      }
      slots_[at] = slots_[from];
      at = from;
      steps = 1;
    }
    slots_[at] = {};
    --count_;
  }

  // Whether the search for a key comes to `at` in fewer than so many steps.
  bool is_within(std::uint32_t key, std::size_t at, std::size_t steps) const {
    std::size_t from = first_of(key);
    for (; steps > 0; --steps) {
      if (from == at) return true;
      from = next(from);
    }
    return false;
  }

  bool resize(std::size_t slots) {
    near_memory room;
    if (!room.allocate(slots * sizeof(slot))) return false;
    const std::span<slot> old = slots_;
    slots_ = {static_cast<slot*>(room.data()), slots};
    std::uninitialized_value_construct(slots_.begin(), slots_.end());
    line_shift_ = 64U - static_cast<unsigned>(std::countr_zero(slots / LINE));
    for (const slot& place : old) {
      if (place.value != Value()) slots_[free_slot(place.key)] = place;
    }
    room_ = std::move(room);
    return true;
  }

  // What is searched until there is room, so that searches need not ask.
  inline static std::array<slot, 2 * LINE> no_slots_ = {};

  std::span<slot> slots_ = no_slots_;
  unsigned line_shift_ = 63;
  std::size_t count_ = 0;
  near_memory room_;
};

#endif  // CHRONEX_COMMON_ENTRY_INDEX_H
