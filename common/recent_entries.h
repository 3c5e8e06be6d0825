#ifndef CHRONEX_COMMON_RECENT_ENTRIES_H
#define CHRONEX_COMMON_RECENT_ENTRIES_H

// Remembers where the latest entries of a table were found.
//
// The operations of a log take turns among a few sessions and data sets. Each
// has a slot of its own here, under the low bits of its id, as long as no other
// id wants that slot.

#include <array>
#include <cstddef>
#include <cstdint>

// The entries stay the table's, which must have them forgotten before it
// releases one.
template <typename Entry>
class recent_entries {
 public:
  // The entry remembered for this id, or null.
  Entry* find(std::int32_t id) const {
    const slot& place = slots_[index_of(id)];
    return place.id == id ? place.entry : nullptr;
  }

  void remember(std::int32_t id, Entry* entry) {
    slots_[index_of(id)] = {id, entry};
  }

  void forget() { slots_ = {}; }

 private:
  static constexpr std::size_t SLOTS = 256;

  // The id stands beside the pointer: that of another entry would be fetched
  // from memory for nothing.
  struct slot {
    std::int32_t id = 0;
    Entry* entry = nullptr;
  };

  static std::size_t index_of(std::int32_t id) {
    return static_cast<std::uint32_t>(id) % SLOTS;
  }

  std::array<slot, SLOTS> slots_{};
};

#endif  // CHRONEX_COMMON_RECENT_ENTRIES_H
