#include "util/chronex_trail/summary/text_table.h"

#include <algorithm>

#include "util/chronex_trail/values/terminal_text.h"

namespace {

constexpr std::string_view GAP = "  ";

std::string title_of(std::string_view name) {
  std::string title(name);
  std::ranges::replace(title, '_', ' ');
  return title;
}

std::string padding(std::size_t width, std::string_view text) {
  const std::size_t taken = terminal_width(text);
  return std::string(width > taken ? width - taken : 0, ' ');
}

}  // namespace

text_table::text_table(const summary_part& part) {
  for (std::size_t i = 0; i < part.columns.size(); ++i) {
    const summary_column& column = part.columns[i];
    if (column.leaves == summary_column::DATA_ONLY) continue;
    const std::string title = title_of(column.name);
    columns_.push_back({title, column.leaves, title.size()});
    places_.push_back(i);
  }
}

text_table::text_cell text_table::shown(const summary_cell& cell) {
  switch (cell.is) {
    case summary_cell::kind::none:
      return {"-", true};
    case summary_cell::kind::text:
      return {terminal_text(cell.text)};
    case summary_cell::kind::number:
      return {std::to_string(cell.number), true};
    case summary_cell::kind::time:
      return {std::string(time_.text(static_cast<std::uint32_t>(cell.number)))};
    default:
      return {cell.number != 0 ? "yes" : "no"};
  }
}

void text_table::row(std::span<const summary_cell> cells) {
  text_row row;
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const summary_cell& cell = cells[places_[i]];
    row.push_back(shown(cell));
    text_column& column = columns_[i];
    column.width = std::max(column.width, terminal_width(row.back().text));
    if (cell.is != summary_cell::kind::none) {
      column.is_text = cell.is == summary_cell::kind::text;
    }
  }
  rows_.push_back(std::move(row));
}

std::size_t text_table::total_width() const {
  std::size_t total = (columns_.size() - 1) * GAP.size();
  for (const text_column& column : columns_) total += column.width;
  return total;
}

std::size_t text_table::least_width() const {
  std::size_t total = (columns_.size() - 1) * GAP.size();
  for (const text_column& column : columns_) {
    total += column.is_text ? std::min(column.width, LEAST_TEXT) : column.width;
  }
  return total;
}

// The first of those that leave next.
bool text_table::drop_column() {
  const auto next =
      std::ranges::max_element(columns_, {}, &text_column::leaves);
  if (next->leaves == 0) return false;
  const auto at = next - columns_.begin();
  columns_.erase(next);
  for (text_row& row : rows_) row.erase(row.begin() + at);
  return true;
}

// Takes columns of the window from the widest texts.
void text_table::narrow(std::size_t width) {
  while (total_width() > width) {
    const auto widest =
        std::ranges::max_element(columns_, {}, [](const text_column& column) {
          return column.is_text ? column.width : 0;
        });
    if (!widest->is_text || widest->width <= 1) return;
    --widest->width;
  }
}

void text_table::append_row(std::string& lines, const text_row& row) const {
  std::string line;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const std::size_t width = columns_[i].width;
    const std::string text = cut_to_width(row[i].text, width);
    const std::string blanks = padding(width, text);
    if (i > 0) line += GAP;
    line += row[i].is_number ? blanks + text : text + blanks;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  lines += line + '\n';
}

std::string text_table::lines(std::size_t width) {
  if (width > 0) {
    while (least_width() > width && drop_column()) continue;
    narrow(width);
  }
  text_row titles;
  text_row rules;
  for (const text_column& column : columns_) {
    titles.push_back({column.title, !column.is_text});
    rules.push_back({std::string(column.width, '-')});
  }
  std::string lines;
  append_row(lines, titles);
  append_row(lines, rules);
  for (const text_row& row : rows_) append_row(lines, row);
  return lines;
}

std::string text_table::list(std::size_t width) const {
  std::size_t title_width = 0;
  for (const text_column& column : columns_) {
    title_width = std::max(title_width, column.title.size());
  }
  std::string lines;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const std::string& title = columns_[i].title;
    const std::string line = title + padding(title_width, title) +
                             std::string(GAP) + rows_.front()[i].text;
    lines += (width > 0 ? cut_to_width(line, width) : line) + '\n';
  }
  return lines;
}
