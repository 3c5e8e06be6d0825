#ifndef CHRONEX_COMMON_ID_INDEX_H
#define CHRONEX_COMMON_ID_INDEX_H

// A table of numbers, each under an id, with a little of what they stand for.
//
// With many ids nearly all the time of a search is the wait for memory, so one
// place of memory must do. Ids are given one after the other: the low bits of
// an id choose its slot, in which the id itself stands beside the number, and
// those that follow each other share a cache line and never a slot. An id whose
// slot is another's is a stray and goes to a hash table, so that ids far from
// each other, or chosen to crowd a place, are found there as fast as in any.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "common/entry_index.h"
#include "common/owned_bytes.h"

// What an index has under an id. Two are the same if their numbers are.
template <typename Brief>
struct id_place {
  // 0: nothing.
  std::uint32_t number = 0;
  [[no_unique_address]] Brief brief = {};

  bool operator==(const id_place& other) const {
    return number == other.number;
  }
};

template <typename Brief>
class id_index {
 public:
  using place = id_place<Brief>;

  id_index() = default;
  id_index(const id_index&) = delete;
  id_index& operator=(const id_index&) = delete;

  // Returns what is under an id; its number is 0 if there is none.
  place find(std::uint32_t id) const {
    const slot& home = slots_[id & mask_];
    return home.id == id ? home.value : strays_.find(id);
  }

  // Adds a number, not 0, under an id that has none; false without memory.
  [[nodiscard]] bool insert(std::uint32_t id, place value) {
    // Without memory for more slots there are more strays.
    if (count_ >= slots_.size() / 8 * 7) grow();
    if (!settle(id, value)) {
      if (!strays_.reserve()) return false;
      strays_.insert(id, value);
    }
    ++count_;
    return true;
  }

  // Changes what stands beside the number of an id that has one.
  void set_brief(std::uint32_t id, Brief brief) {
    slot& home = slots_[id & mask_];
    if (home.id == id) {
      home.value.brief = brief;
      return;
    }
    const place known = strays_.remove(id, [](place) { return true; });
    strays_.insert(id, {known.number, brief});
  }

  // Calls `visit` with every number, in no order.
  template <typename Visit>
  void for_each(Visit visit) const {
    for (const slot& each : slots_) {
      if (each.value.number != 0) visit(each.value.number);
    }
    strays_.for_each([&visit](place value) { visit(value.number); });
  }

  // Takes every number out for which `matches` holds.
  template <typename Matches>
  void remove_if(Matches matches) {
    for (std::size_t at = 0; at < slots_.size(); ++at) {
      const std::uint32_t number = slots_[at].value.number;
      if (number == 0 || !matches(number)) continue;
      slots_[at] = free_slot(at);
      --count_;
    }
    strays_.remove_if([this, &matches](std::uint32_t /*id*/, place value) {
      if (!matches(value.number)) return false;
      --count_;
      return true;
    });
  }

 private:
  // A free slot has no number and an id that is at home in another.
  struct slot {
    std::uint32_t id = 0;
    place value = {};
  };

  static constexpr std::size_t INITIAL_SLOTS = 64;

  static slot free_slot(std::size_t at) {
    return {~static_cast<std::uint32_t>(at), {}};
  }

  // Puts an id into its slot; false if that is another's.
  bool settle(std::uint32_t id, place value) {
    slot& home = slots_[id & mask_];
    if (!room_ || home.value.number != 0) return false;
    home = {id, value};
    return true;
  }

  void grow() {
    const std::size_t count = room_ ? 2 * slots_.size() : INITIAL_SLOTS;
    near_memory room;
    if (!room.allocate(count * sizeof(slot))) return;
    const std::span<slot> old = slots_;
    slots_ = {static_cast<slot*>(room.data()), count};
    mask_ = static_cast<std::uint32_t>(count - 1);
    for (std::size_t at = 0; at < count; ++at) {
      std::construct_at(&slots_[at], free_slot(at));
    }
    for (const slot& each : old) {
      if (each.value.number != 0) slots_[each.id & mask_] = each;
    }
    room_ = std::move(room);
    strays_.remove_if(
        [this](std::uint32_t id, place value) { return settle(id, value); });
  }

  // What is searched until there is room, so that searches need not ask.
  inline static std::array<slot, 2> no_slots_ = {free_slot(0), free_slot(1)};

  std::span<slot> slots_ = no_slots_;
  std::uint32_t mask_ = 1;
  std::size_t count_ = 0;
  entry_index<place> strays_;
  near_memory room_;
};

#endif  // CHRONEX_COMMON_ID_INDEX_H
