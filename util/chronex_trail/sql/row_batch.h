#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BATCH_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BATCH_H

// Rows of an SQLite table, inserted several at a time where the first column is
// a key: to run a statement for each would take longer.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/row_writer.h"

class row_batch : public row_writer {
 public:
  // `table` is quoted. `row_size` is about what the texts of a row take, in
  // bytes; 0: every row is inserted at once, and the first column need not be a
  // key.
  row_batch(sql_database& database, const std::string& table, int columns,
            std::size_t row_size);

  void begin(std::int64_t first) override;
  void bind(int column, std::int64_t number) override {
    statement_.bind(first_ + column, number);
  }
  void bind_natural(int column, std::uint64_t number) override {
    bind_text(column, std::to_string(number));
  }
  void bind_decimal(int column, std::string_view digits) override {
    bind_text(column, digits);
  }
  void bind_real(int column, double number) override {
    statement_.bind_real(first_ + column, number);
  }
  void bind_time(int column, const row_time& time) override {
    bind_text(column, time.text);
  }
  void bind_text(int column, std::string_view utf8) override;
  void bind_literal(int column, std::string_view utf8) override {
    statement_.bind_text(first_ + column, utf8);
  }
  void bind_bytes(int column, std::span<const std::uint8_t> bytes) override;
  void end() override;

  void flush() override;
  std::size_t footprint() const override;

 private:
  static constexpr int MAX_ROWS = 16;
  // Bounds the size of the statement.
  static constexpr int MAX_PARAMETERS = 640;
  // Bounds what is kept of texts, in bytes.
  static constexpr std::size_t MAX_KEPT = std::size_t{16} * 1024;

  // A copy that stays until the rows are inserted; null = there is no room.
  const char* keep(const char* bytes, std::size_t size);

  sql_statement statement_;
  int columns_ = 0;
  int rows_ = 1;
  int filled_ = 0;
  // Parameters before those of the row.
  int first_ = 0;
  std::int64_t first_key_ = 0;
  std::vector<char> kept_;
  std::size_t kept_size_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BATCH_H
