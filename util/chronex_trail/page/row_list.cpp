#include "util/chronex_trail/page/row_list.h"

#include <utility>

bool row_list::wants_next() {
  const bool wanted = seen_ % step_ == 0;
  ++seen_;
  return wanted && most_ > 0;
}

void row_list::add(page_row row) {
  bytes_ += row.values.size();
  rows_.push_back(std::move(row));
  if (kept_ == kept_changes::latest) {
    drop_oldest();
    return;
  }
  // Twice as many, so that at the end the wanted number can be chosen.
  const bool too_many = rows_.size() > 2 * most_ || bytes_ > MAX_BYTES;
  if (too_many && rows_.size() > 1) keep_every_second();
}

void row_list::drop_oldest() {
  while (rows_.size() > most_ || (bytes_ > MAX_BYTES && rows_.size() > 1)) {
    bytes_ -= rows_.front().values.size();
    rows_.pop_front();
  }
}

void row_list::keep_every_second() {
  std::size_t kept = 0;
  for (std::size_t from = 0; from < rows_.size(); from += 2) move(from, kept++);
  cut(kept);
  step_ *= 2;
}

void row_list::move(std::size_t from, std::size_t to) {
  if (from != to) rows_[to] = std::move(rows_[from]);
}

void row_list::cut(std::size_t count) {
  rows_.resize(count);
  bytes_ = 0;
  for (const page_row& row : rows_) bytes_ += row.values.size();
}

void row_list::finish() {
  const std::size_t all = rows_.size();
  if (all <= most_) return;
  for (std::size_t i = 0; i < most_; ++i) move(i * all / most_, i);
  cut(most_);
}
