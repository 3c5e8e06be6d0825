#include "util/chronex_trail/script/row_cells.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

template <typename number>
void append_number(std::string& out, number value) {
  std::array<char, 24> text;
  const char* const end =
      std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  out += std::string_view(text.data(), end);
}

}  // namespace

template <typename Append>
void row_cells::put(int column, const Append& append) {
  cell& mine = cells_[static_cast<std::size_t>(column) - 1];
  mine.is_null = false;
  mine.begin = text_.size();
  append();
  mine.end = text_.size();
}

void row_cells::begin(std::int64_t first) {
  text_.clear();
  std::ranges::fill(cells_, cell{});
  bind(1, first);
}

void row_cells::bind(int column, std::int64_t number) {
  put(column, [&] { append_number(text_, number); });
}

void row_cells::bind_natural(int column, std::uint64_t number) {
  put(column, [&] { append_number(text_, number); });
}

void row_cells::bind_decimal(int column, std::string_view digits) {
  const table_column& mine =
      table_.columns[static_cast<std::size_t>(column) - 1];
  put(column, [&] { syntax_.append_decimal(text_, mine, digits); });
}

void row_cells::bind_real(int column, double number) {
  put(column, [&] { syntax_.append_real(text_, number); });
}

void row_cells::bind_time(int column, const row_time& time) {
  put(column, [&] { syntax_.append_time(text_, time); });
}

void row_cells::bind_text(int column, std::string_view utf8) {
  put(column, [&] { syntax_.append_text(text_, utf8); });
}

void row_cells::bind_bytes(int column, std::span<const std::uint8_t> bytes) {
  put(column, [&] { syntax_.append_bytes(text_, bytes); });
}

std::size_t row_cells::footprint() const {
  std::size_t size = text_.capacity() + cells_.capacity() * sizeof(cell);
  for (const table_column& column : table_.columns) {
    size += sizeof column + column.name.capacity();
  }
  return size;
}

void row_cells::append_row(std::string& out, std::size_t columns) const {
  const row_marks& marks = syntax_.marks();
  const std::string_view text = text_;
  out += marks.begin;
  for (std::size_t i = 0; i < columns; ++i) {
    if (i > 0) out += marks.between_values;
    const cell& mine = cells_[i];
    out += mine.is_null ? marks.null
                        : text.substr(mine.begin, mine.end - mine.begin);
  }
}

void script_rows::end() {
  row_.clear();
  append_row(row_, table().columns.size());
  row_ += syntax_.marks().end;
  blocks_.add(table().name, block_begin_, row_);
}
