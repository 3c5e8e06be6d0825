#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_TEXT_TABLE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_TEXT_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

#include "util/chronex/report/local_time.h"
#include "util/chronex_trail/summary/summary_part.h"

// The rows of a part as columns side by side, within a window.
class text_table : public row_sink {
 public:
  explicit text_table(const summary_part& part);

  void row(std::span<const summary_cell> cells) override;
  bool is_empty() const { return rows_.empty(); }

  // The table as lines of at most `width` columns; 0 = any. Columns that are
  // the first to leave do so until the others fit, with texts that are cut.
  std::string lines(std::size_t width);
  // The only row, with a line a column.
  std::string list(std::size_t width) const;

 private:
  struct text_cell {
    std::string text;
    bool is_number = false;
  };
  using text_row = std::vector<text_cell>;
  struct text_column {
    std::string title;
    int leaves = 0;
    // Of its widest cell, and what it gets.
    std::size_t width = 0;
    bool is_text = true;
  };

  text_cell shown(const summary_cell& cell);
  std::size_t total_width() const;
  // The same with texts cut as far as they may be.
  std::size_t least_width() const;
  bool drop_column();
  void narrow(std::size_t width);
  void append_row(std::string& lines, const text_row& row) const;

  // Texts are not cut to less.
  static constexpr std::size_t LEAST_TEXT = 12;

  // Without the columns that only data have.
  std::vector<text_column> columns_;
  // Their places in the part.
  std::vector<std::size_t> places_;
  std::vector<text_row> rows_;
  local_time time_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_TEXT_TABLE_H
