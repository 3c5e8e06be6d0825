#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_NAME_TALLY_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_NAME_TALLY_H

// Numbers the names of users, programs, hosts and data sets, from 0.

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "util/chronex_trail/stats/figures.h"
#include "util/chronex_trail/stats/position_index.h"

// A hash of names that no file can foresee.
std::uint32_t name_hash(std::string_view name);

// Keeps texts side by side, which takes less room than a string for each.
class text_store {
 public:
  // A copy that stays as long as the store; never without an address. Throws
  // std::bad_alloc.
  std::string_view keep(std::string_view text);

 private:
  std::vector<std::unique_ptr<char[]>> blocks_;
  std::span<char> free_;
};

class name_tally {
 public:
  // The list stays the caller's.
  explicit name_tally(std::deque<name_figures>& names) : names_(names) {}

  // The number of a name, which is added if it is new. None = not known.
  // Throws std::bad_alloc.
  std::uint32_t number_of(std::optional<std::string_view> name);

  name_figures& at(std::uint32_t number) { return names_[number]; }

 private:
  std::deque<name_figures>& names_;
  text_store texts_;
  position_index index_;
};

class set_tally {
 public:
  // The list stays the caller's.
  explicit set_tally(std::deque<set_figures>& sets) : sets_(sets) {}

  // The number of a data set, which is added if it is new. Throws
  // std::bad_alloc.
  std::uint32_t number_of(std::optional<std::string_view> database,
                          std::string_view name);

 private:
  std::deque<set_figures>& sets_;
  position_index index_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_NAME_TALLY_H
