#include "util/chronex_trail/page/count_cube.h"

#include <algorithm>
#include <tuple>

#include "util/chronex_trail/page/name_list.h"

namespace {

std::uint64_t key_of(const change_mix& mix) {
  return std::uint64_t{mix.user} << 48 | std::uint64_t{mix.program} << 32 |
         std::uint64_t{mix.data_set} << 16 | mix.op;
}

std::int64_t begin_of_step(time_step step, std::int64_t time) {
  switch (step) {
    case time_step::hour:
      return time;
    case time_step::day:
      return begin_of_day(time);
    case time_step::month:
      return begin_of_month(time);
    default:
      return 0;
  }
}

}  // namespace

std::uint32_t count_cube::number(const change_mix& mix) {
  const auto known = numbers_.find(key_of(mix));
  if (known != numbers_.end()) return known->second;
  // Each operation keeps a place for the others.
  constexpr std::uint16_t OTHERS = name_list::OTHERS;
  const bool is_others =
      mix.user == OTHERS && mix.program == OTHERS && mix.data_set == OTHERS;
  if (mixes_.size() >= MAX_MIXES && !is_others) {
    return number({mix.op, OTHERS, OTHERS, OTHERS});
  }
  const auto number = static_cast<std::uint32_t>(mixes_.size());
  mixes_.push_back(mix);
  hours_.emplace_back();
  numbers_.emplace(key_of(mix), number);
  return number;
}

void count_cube::add(const calendar_hour& hour, std::uint32_t mix) {
  if (hour.begin != hour_begin_) {
    put_step();
    hour_begin_ = hour.begin;
  }
  ++in_hour_[mix];
  ++hours_[mix][hour.of_week];
}

void count_cube::put_step() {
  const std::int64_t begin = begin_of_step(step_, hour_begin_);
  for (const auto& [mix, count] : in_hour_) {
    cells_.push_back({begin, mix, count});
  }
  in_hour_.clear();
  if (cells_.size() > MAX_CELLS) bound(MAX_CELLS / 2);
}

void count_cube::merge() {
  const auto place = [](const cube_cell& cell) {
    return std::tie(cell.begin, cell.mix);
  };
  std::sort(cells_.begin(), cells_.end(),
            [&](const cube_cell& a, const cube_cell& b) {
              return place(a) < place(b);
            });
  std::size_t kept = 0;
  for (const cube_cell& cell : cells_) {
    if (kept > 0 && place(cells_[kept - 1]) == place(cell)) {
      cells_[kept - 1].count += cell.count;
    } else {
      cells_[kept++] = cell;
    }
  }
  cells_.resize(kept);
}

void count_cube::coarsen() {
  step_ = static_cast<time_step>(static_cast<int>(step_) + 1);
  for (cube_cell& cell : cells_) cell.begin = begin_of_step(step_, cell.begin);
  merge();
}

void count_cube::bound(std::size_t most_cells) {
  merge();
  while (cells_.size() > most_cells && step_ != time_step::all) coarsen();
}

void count_cube::finish(std::size_t most_cells) {
  put_step();
  bound(most_cells);
}
