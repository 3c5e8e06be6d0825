#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_ROW_CELLS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_ROW_CELLS_H

#include <string>
#include <utility>
#include <vector>

#include "util/chronex_trail/script/script_blocks.h"
#include "util/chronex_trail/script/script_syntax.h"
#include "util/chronex_trail/sql/row_writer.h"

// The values of a row as text, in whatever order they come.
class row_cells : public row_writer {
 public:
  // The syntax stays the caller's.
  row_cells(const script_syntax& syntax, table_form table)
      : syntax_(syntax),
        table_(std::move(table)),
        cells_(table_.columns.size()) {}

  void begin(std::int64_t first) override;
  void bind(int column, std::int64_t number) override;
  void bind_natural(int column, std::uint64_t number) override;
  void bind_decimal(int column, std::string_view digits) override;
  void bind_real(int column, double number) override;
  void bind_time(int column, const row_time& time) override;
  void bind_text(int column, std::string_view utf8) override;
  void bind_literal(int column, std::string_view utf8) override {
    bind_text(column, utf8);
  }
  void bind_bytes(int column, std::span<const std::uint8_t> bytes) override;
  void end() override {}

  void flush() override {}
  std::size_t footprint() const override;

  const table_form& table() const { return table_; }
  // Appends the first columns of the row, with what stands between them.
  void append_row(std::string& out, std::size_t columns) const;

 private:
  struct cell {
    bool is_null = true;
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  // Calls what appends a value to text_.
  template <typename Append>
  void put(int column, const Append& append);

  const script_syntax& syntax_;
  const table_form table_;
  std::string text_;
  std::vector<cell> cells_;
};

// Rows that go to the block of their table.
class script_rows : public row_cells {
 public:
  script_rows(const script_syntax& syntax, script_blocks& blocks,
              const table_form& table)
      : row_cells(syntax, table),
        syntax_(syntax),
        blocks_(blocks),
        block_begin_(syntax.block_begin(table)) {}

  void end() override;
  std::size_t footprint() const override {
    return row_cells::footprint() + block_begin_.capacity() + row_.capacity();
  }

 private:
  const script_syntax& syntax_;
  script_blocks& blocks_;
  const std::string block_begin_;
  std::string row_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_ROW_CELLS_H
