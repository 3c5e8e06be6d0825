#ifndef CHRONEX_COMMON_ID_TABLE_H
#define CHRONEX_COMMON_ID_TABLE_H

// A table of entries, each under an id of its own.

#include <cstdint>

#include "common/id_index.h"
#include "common/slab.h"

struct no_brief {};

// Entries are the table's and stay where they are until they are removed. Of
// each the table can keep something in brief that is found without a look at
// the entry.
template <typename Entry, typename Brief = no_brief>
class id_table {
 public:
  id_table() = default;
  id_table(const id_table&) = delete;
  id_table& operator=(const id_table&) = delete;
  ~id_table() {
    index_.for_each([this](std::uint32_t number) { entries_.release(number); });
  }

  // Returns the entry of an id, or null.
  Entry* find(std::int32_t id) const { return entry_at(locate(id)); }

  // The same in two steps: what the table has of an id, and the entry that is
  // there, or null.
  id_place<Brief> locate(std::int32_t id) const {
    return index_.find(key_of(id));
  }
  Entry* entry_at(const id_place<Brief>& place) const {
    return place.number == 0 ? nullptr : &entries_[place.number];
  }

  // Changes what is kept of an entry in brief.
  void set_brief(std::int32_t id, Brief brief) {
    index_.set_brief(key_of(id), brief);
  }

  // Makes the entry of an id that has none; null without memory.
  Entry* add(std::int32_t id) {
    const std::uint32_t number = entries_.make();
    if (number == 0) return nullptr;
    if (index_.insert(key_of(id), {number})) return &entries_[number];
    entries_.release(number);
    return nullptr;
  }

  // Calls `visit` with every entry, in no order.
  template <typename Visit>
  void for_each(Visit visit) const {
    index_.for_each(
        [this, &visit](std::uint32_t number) { visit(entries_[number]); });
  }

  // Removes every entry for which `matches` holds.
  template <typename Matches>
  void remove_if(Matches matches) {
    index_.remove_if([this, &matches](std::uint32_t number) {
      if (!matches(entries_[number])) return false;
      entries_.release(number);
      return true;
    });
  }

 private:
  static std::uint32_t key_of(std::int32_t id) {
    return static_cast<std::uint32_t>(id);
  }

  id_index<Brief> index_;
  slab<Entry> entries_;
};

#endif  // CHRONEX_COMMON_ID_TABLE_H
