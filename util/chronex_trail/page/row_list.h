#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_ROW_LIST_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_ROW_LIST_H

// Keeps as many changes as a page may list: the latest, or of all of them every
// second, fourth ... one.

#include <cstddef>
#include <cstdint>
#include <deque>

#include "util/chronex_trail/page/page_row.h"

enum class kept_changes { evenly, latest };

class row_list {
 public:
  // What all values together may take; when it would be more, fewer changes
  // are kept.
  static constexpr std::size_t MAX_BYTES = std::size_t{64} << 20;

  row_list(std::size_t most, kept_changes kept) : most_(most), kept_(kept) {}

  // Tells of the next change; returns whether it is wanted.
  bool wants_next();
  void add(page_row row);

  // Ends with at most the wanted number of rows.
  void finish();

  kept_changes kept() const { return kept_; }
  const std::deque<page_row>& rows() const { return rows_; }
  std::uint64_t left_out() const { return seen_ - rows_.size(); }

 private:
  void drop_oldest();
  void keep_every_second();
  void move(std::size_t from, std::size_t to);
  void cut(std::size_t count);

  std::size_t most_;
  kept_changes kept_;
  std::deque<page_row> rows_;
  std::size_t bytes_ = 0;
  std::uint64_t seen_ = 0;
  // Every so many-th is kept.
  std::uint64_t step_ = 1;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_ROW_LIST_H
