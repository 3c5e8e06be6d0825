#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BATCH_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BATCH_H

// Rows of a table whose first column is its key, inserted several at a time: to
// run a statement for each would take longer.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/sql/database.h"

class row_batch {
 public:
  // `table` is quoted. Values are bound a column at a time; columns are counted
  // from 1. `row_size` is about what the texts of a row take, in bytes.
  void prepare(sql_database& database, const std::string& table, int columns,
               std::size_t row_size);

  // Begins the next row, all NULL but for its key, which no row has yet.
  void begin(std::int64_t key);
  // Values of the row that was begun, copied but for `literal` texts, which
  // live as long as the program.
  void bind(int column, std::int64_t number) {
    statement_.bind(first_ + column, number);
  }
  void bind_real(int column, double number) {
    statement_.bind_real(first_ + column, number);
  }
  void bind_text(int column, std::string_view utf8);
  void bind_literal(int column, std::string_view utf8) {
    statement_.bind_text(first_ + column, utf8);
  }
  void bind_bytes(int column, std::span<const std::uint8_t> bytes);
  // The row has all its values. Throws sql_error, as flush() does.
  void end();

  // Inserts the rows that were not yet.
  void flush();
  // Lets go of the statement; all rows must have been inserted.
  void release() { statement_ = sql_statement(); }

  // Bytes that it takes.
  std::size_t footprint() const;

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
