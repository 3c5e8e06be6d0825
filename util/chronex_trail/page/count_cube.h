#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_COUNT_CUBE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_COUNT_CUBE_H

// How many changes of which kind there were when: enough to count, in the page,
// whatever a reader selects, also where most changes themselves are left out.
//
// A mix is what changes have in common but for their time. Counts are kept per
// mix and local hour; where that would be too many, per day, month, or all in
// one. Mixes that come when there is no room for them any more are counted as
// those of others.

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "util/chronex_trail/page/local_time.h"

struct change_mix {
  // OP_PUT, OP_UPDATE or OP_DELETE.
  std::uint8_t op = 0;
  // Numbers of names, or name_list::OTHERS.
  std::uint16_t user = 0;
  std::uint16_t program = 0;
  std::uint16_t data_set = 0;
};

// The changes of a mix in one step of time.
struct cube_cell {
  // When the step begins.
  std::int64_t begin = 0;
  std::uint32_t mix = 0;
  std::uint32_t count = 0;
};

enum class time_step { hour, day, month, all };

class count_cube {
 public:
  static constexpr std::size_t HOURS_OF_WEEK = 168;
  static constexpr std::size_t MAX_MIXES = 16'384;
  static constexpr std::size_t MAX_CELLS = std::size_t{1} << 20;

  using hour_counts = std::array<std::uint32_t, HOURS_OF_WEEK>;

  // The number of a mix.
  std::uint32_t number(const change_mix& mix);
  void add(const calendar_hour& hour, std::uint32_t mix);

  // Ends counting, with at most that many cells.
  void finish(std::size_t most_cells);

  time_step step() const { return step_; }
  const std::vector<change_mix>& mixes() const { return mixes_; }
  // By time, and of one time by mix.
  const std::vector<cube_cell>& cells() const { return cells_; }
  // Of each mix by hour of week; complete whatever the step is.
  const std::vector<hour_counts>& hours() const { return hours_; }

 private:
  void put_step();
  void merge();
  void coarsen();
  void bound(std::size_t most_cells);

  std::vector<change_mix> mixes_;
  std::unordered_map<std::uint64_t, std::uint32_t> numbers_;
  std::vector<hour_counts> hours_;
  std::vector<cube_cell> cells_;
  time_step step_ = time_step::hour;
  // The counts of the hour that is in progress.
  std::int64_t hour_begin_ = 0;
  std::unordered_map<std::uint32_t, std::uint32_t> in_hour_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_COUNT_CUBE_H
