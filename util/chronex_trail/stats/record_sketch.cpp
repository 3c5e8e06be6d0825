#include "util/chronex_trail/stats/record_sketch.h"

#include <algorithm>

#include "common/chained_table.h"
#include "util/chronex_trail/stats/top_list.h"

namespace {

constexpr std::size_t FIRST_PLACES = 256;

}  // namespace

record_sketch::entry& record_sketch::place_of(std::uint32_t data_set,
                                              std::uint32_t recno) {
  const std::size_t mask = places_.size() - 1;
  std::size_t at = keyed_hash(data_set, recno, 0) & mask;
  for (;; at = (at + 1) & mask) {
    entry& place = places_[at];
    if (place.at_most == 0 ||
        (place.recno == recno && place.data_set == data_set)) {
      return place;
    }
  }
}

record_sketch::entry& record_sketch::first_place(std::uint32_t data_set,
                                                 std::uint32_t recno) {
  places_.resize(FIRST_PLACES);
  return place_of(data_set, recno);
}

// The place is void when others have to go.
void record_sketch::come_in(entry& place, std::uint32_t data_set,
                            std::uint32_t recno) {
  place = {data_set, recno, bound_ + 1, bound_};
  ++watched_;
  if (watched_ >= capacity_) {
    bound_ = middle();
    rebuild(places_.size());
  } else if (watched_ >= places_.size() / 4 * 3) {
    rebuild(places_.size() * 2);
  }
}

// What half of the watched records have at most.
std::uint64_t record_sketch::middle() const {
  std::vector<std::uint64_t> counts;
  counts.reserve(watched_);
  for (const entry& each : places_) {
    if (each.at_most > 0) counts.push_back(each.at_most);
  }
  const auto half =
      counts.begin() + static_cast<std::ptrdiff_t>(counts.size() / 2);
  std::ranges::nth_element(counts, half);
  return *half;
}

// Keeps the records above the bound.
void record_sketch::rebuild(std::size_t places) {
  std::vector<entry> kept;
  for (const entry& each : places_) {
    if (each.at_most > bound_) kept.push_back(each);
  }
  places_.assign(places, {});
  for (const entry& each : kept) place_of(each.data_set, each.recno) = each;
  watched_ = kept.size();
}

// The order of equals goes by data set and number.
std::vector<record_figures> record_sketch::top(std::size_t limit) const {
  top_list<record_figures> largest(limit);
  for (const entry& each : places_) {
    const top_rank rank{each.at_most - each.error,
                        std::uint64_t{each.data_set} << 32U | each.recno};
    if (each.at_most == 0 || !largest.takes(rank)) continue;
    largest.add(rank, {each.data_set, each.recno, rank.changes, each.at_most});
  }
  return largest.take();
}
