#include "util/chronex/report/view_cache.h"

namespace {

// What a view takes besides its own bytes: its place in the list and the table.
constexpr std::size_t PLACE_SIZE = 128;

std::size_t bytes_of(const record_view& view) {
  return view.bytes() + PLACE_SIZE;
}

}  // namespace

const record_view& view_cache::find_or_make(const set_context& set,
                                            const item_choice& choice) {
  const auto found = by_layout_.find(set.layout_id);
  if (found != by_layout_.end()) {
    views_.splice(views_.begin(), views_, found->second);
    return views_.front();
  }
  view_list made;
  made.emplace_back().make(set, choice);
  const std::size_t size = bytes_of(made.front());
  make_room(size);
  by_layout_.emplace(set.layout_id, made.begin());
  views_.splice(views_.begin(), made);
  bytes_ += size;
  return views_.front();
}

void view_cache::make_room(std::size_t wanted) {
  while (!views_.empty() && bytes_ + wanted > BUDGET) {
    bytes_ -= bytes_of(views_.back());
    by_layout_.erase(views_.back().layout_id());
    views_.pop_back();
  }
}
