#ifndef CHRONEX_COMMON_ID_INDEX_H
#define CHRONEX_COMMON_ID_INDEX_H

// A table of numbers, each under an id.
//
// With many ids nearly all the time of a search is the wait for memory, and the
// less memory there is, the nearer it stays to the processor. Ids are given one
// after the other, so the numbers of those that follow each other fill a cache
// line, without the ids, and a directory that is a thirtieth as large as a hash
// table of the ids tells where the line is.

#include <array>
#include <cstddef>
#include <cstdint>

#include "common/entry_index.h"
#include "common/slab.h"

class id_index {
 public:
  id_index() = default;
  id_index(const id_index&) = delete;
  id_index& operator=(const id_index&) = delete;
  ~id_index() {
    directory_.for_each([this](std::uint32_t at) { lines_.release(at); });
  }

  // Returns the number under an id, or 0.
  std::uint32_t find(std::uint32_t id) const {
    const std::uint32_t at = directory_.find(id / LINE_IDS);
    return at == 0 ? 0 : lines_[at][id % LINE_IDS];
  }

  // Adds a number, not 0, under an id that has none; false without memory.
  [[nodiscard]] bool insert(std::uint32_t id, std::uint32_t number) {
    std::uint32_t at = directory_.find(id / LINE_IDS);
    if (at == 0) at = add_line(id / LINE_IDS);
    if (at == 0) return false;
    lines_[at][id % LINE_IDS] = number;
    return true;
  }

  // Calls `visit` with every number, in no order.
  template <typename Visit>
  void for_each(Visit visit) const {
    directory_.for_each([this, &visit](std::uint32_t at) {
      for (const std::uint32_t number : lines_[at]) {
        if (number != 0) visit(number);
      }
    });
  }

  // Takes every number out for which `matches` holds.
  template <typename Matches>
  void remove_if(Matches matches) {
    directory_.remove_if([this, &matches](std::uint32_t at) {
      bool is_empty = true;
      for (std::uint32_t& number : lines_[at]) {
        if (number != 0 && matches(number)) number = 0;
        is_empty = is_empty && number == 0;
      }
      if (is_empty) lines_.release(at);
      return is_empty;
    });
  }

 private:
  static constexpr std::uint32_t LINE_IDS = CACHE_LINE / sizeof(std::uint32_t);
  // 0: no number.
  using line = std::array<std::uint32_t, LINE_IDS>;

  // Makes a line of no numbers; 0 without memory.
  std::uint32_t add_line(std::uint32_t key) {
    if (!directory_.reserve()) return 0;
    const std::uint32_t at = lines_.make();
    if (at != 0) directory_.insert(key, at);
    return at;
  }

  entry_index<std::uint32_t> directory_;
  slab<line> lines_;
};

#endif  // CHRONEX_COMMON_ID_INDEX_H
