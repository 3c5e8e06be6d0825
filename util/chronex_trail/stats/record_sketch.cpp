#include "util/chronex_trail/stats/record_sketch.h"

#include <algorithm>
#include <span>

#include "common/entry_index.h"
#include "util/chronex_trail/stats/top_list.h"

namespace {

constexpr std::size_t FIRST_PLACES = 256;

}  // namespace

record_sketch::entry& record_sketch::place_of(const record_key& key) {
  const std::size_t mask = places_.size() - 1;
  for (std::size_t at = first_place(key);; at = (at + 1) & mask) {
    entry& place = places_[at];
    if (place.at_most == 0 || place.key == key) return place;
  }
}

// All places are looked at before any is changed: what the processor has to
// fetch for them it fetches side by side.
void record_sketch::add_waiting() {
  if (places_.empty()) places_.resize(FIRST_PLACES);
  const std::span keys = std::span(waiting_).first(waiting_count_);
  waiting_count_ = 0;
  std::uint64_t sum = 0;
  for (const record_key& key : keys) sum += places_[first_place(key)].at_most;
  fetched_ = sum;
  for (const record_key& key : keys) add_now(key);
}

std::size_t record_sketch::first_place(const record_key& key) const {
  return keyed_hash(key.data_set, key.recno, 0) & (places_.size() - 1);
}

void record_sketch::add_now(const record_key& key) {
  entry& mine = place_of(key);
  if (mine.at_most == 0) {
    come_in(mine, key);
  } else {
    ++mine.at_most;
  }
}

// The place is void when others have to go.
void record_sketch::come_in(entry& place, const record_key& key) {
  place = {key, bound_ + 1, bound_};
  ++watched_;
  if (watched_ >= capacity_) {
    bound_ = middle();
    rebuild(places_.size());
  } else if (watched_ >= places_.size() / 4 * 3) {
    rebuild(places_.size() * 2);
  }
}

// What half of the watched records have at most. Where records seldom change
// twice that is what the latest came in with, which takes no sorting to see.
std::uint64_t record_sketch::middle() const {
  const auto is_new = [this](const entry& each) {
    return each.at_most == bound_ + 1;
  };
  const auto half = static_cast<std::ptrdiff_t>(watched_ / 2);
  if (std::ranges::count_if(places_, is_new) >= half) return bound_ + 1;
  std::vector<std::uint64_t> counts;
  counts.reserve(watched_);
  for (const entry& each : places_) {
    if (each.at_most > 0) counts.push_back(each.at_most);
  }
  std::ranges::nth_element(counts, counts.begin() + half);
  return counts[watched_ / 2];
}

// Keeps the records above the bound.
void record_sketch::rebuild(std::size_t places) {
  const auto stays = [this](const entry& each) {
    return each.at_most > bound_;
  };
  std::vector<entry> kept(
      static_cast<std::size_t>(std::ranges::count_if(places_, stays)));
  std::ranges::copy_if(places_, kept.begin(), stays);
  places_.assign(places, {});
  for (const entry& each : kept) place_of(each.key) = each;
  watched_ = kept.size();
}

// The order of equals goes by data set and number.
std::vector<record_figures> record_sketch::top(std::size_t limit) const {
  top_list<record_figures> largest(limit);
  for (const entry& each : places_) {
    const top_rank rank{
        each.at_most - each.error,
        std::uint64_t{each.key.data_set} << 32U | each.key.recno};
    if (each.at_most == 0 || !largest.takes(rank)) continue;
    largest.add(
        rank, {each.key.data_set, each.key.recno, rank.changes, each.at_most});
  }
  return largest.take();
}
