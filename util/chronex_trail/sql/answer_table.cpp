#include "util/chronex_trail/sql/answer_table.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "util/chronex_trail/sql/answer_cell.h"
#include "util/chronex_trail/values/terminal_text.h"

namespace {

constexpr std::size_t MEASURED_ROWS = 1000;

struct table_cell {
  std::string text;
  bool is_number = false;
};
using table_row = std::vector<table_cell>;

class table_writer {
 public:
  table_writer(sql_statement& rows, byte_sink& sink)
      : rows_(rows), sink_(sink) {}

  int write() {
    for (const std::string& name : column_names(rows_)) {
      header_.push_back({terminal_text(name)});
    }
    widths_.resize(header_.size());
    measure(header_);
    std::vector<table_row> first;
    while (first.size() < MEASURED_ROWS && rows_.step()) {
      first.push_back(next_row());
      measure(first.back());
    }
    const bool more = first.size() == MEASURED_ROWS;
    if (write_head() != 0) return -1;
    for (const table_row& row : first) {
      if (write_row(row) != 0) return -1;
    }
    while (more && rows_.step()) {
      if (write_row(next_row()) != 0) return -1;
    }
    return 0;
  }

 private:
  table_row next_row() const {
    table_row row;
    for (int i = 0; i < static_cast<int>(header_.size()); ++i) {
      row.push_back({terminal_text(cell_text(rows_, i)), is_number(rows_, i)});
    }
    return row;
  }

  void measure(const table_row& row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths_[i] = std::max(widths_[i], terminal_width(row[i].text));
    }
  }

  int write_head() {
    table_row line;
    for (const std::size_t width : widths_) {
      line.push_back({std::string(width, '-')});
    }
    return write_row(header_) == 0 ? write_row(line) : -1;
  }

  int write_row(const table_row& row) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::size_t width = terminal_width(row[i].text);
      const std::string padding(widths_[i] > width ? widths_[i] - width : 0,
                                ' ');
      if (i > 0) line += "  ";
      line += row[i].is_number ? padding + row[i].text : row[i].text + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return sink_.write(line + '\n');
  }

  sql_statement& rows_;
  byte_sink& sink_;
  table_row header_;
  std::vector<std::size_t> widths_;
};

}  // namespace

int write_answer_table(sql_statement& rows, byte_sink& sink) {
  return table_writer(rows, sink).write();
}
