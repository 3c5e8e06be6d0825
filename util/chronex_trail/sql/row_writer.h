#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_WRITER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_WRITER_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

struct row_time {
  // Since the epoch.
  std::uint32_t seconds = 0;
  // "YYYY-MM-DD HH:MM:SS", UTC.
  std::string_view text;
};

// Adds rows to a table, a value at a time; columns are counted from 1. What
// fails throws sql_error.
class row_writer {
 public:
  row_writer() = default;
  row_writer(const row_writer&) = delete;
  row_writer& operator=(const row_writer&) = delete;
  virtual ~row_writer() = default;

  // Begins the next row, all NULL but for its first column. Where that is the
  // table's key, no row has it yet.
  virtual void begin(std::int64_t first) = 0;
  // Values of the row that was begun, in any order, copied but for `literal`
  // texts, which live as long as the program.
  virtual void bind(int column, std::int64_t number) = 0;
  virtual void bind_natural(int column, std::uint64_t number) = 0;
  // Digits, with '-' in front of a negative number.
  virtual void bind_decimal(int column, std::string_view digits) = 0;
  virtual void bind_real(int column, double number) = 0;
  virtual void bind_time(int column, const row_time& time) = 0;
  virtual void bind_text(int column, std::string_view utf8) = 0;
  virtual void bind_literal(int column, std::string_view utf8) = 0;
  virtual void bind_bytes(int column, std::span<const std::uint8_t> bytes) = 0;
  // The row has all its values.
  virtual void end() = 0;

  // Adds the rows that were not yet.
  virtual void flush() = 0;
  // Bytes that it takes.
  virtual std::size_t footprint() const = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_WRITER_H
