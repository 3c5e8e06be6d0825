#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_PAGE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_PAGE_H

// Rows of an SQLite table whose first column is its key, put together as
// records, which a stage hands over a page at a time.
//
// A row is the record's length, the key, and the record: the length of its
// header, a type for each column, and the columns' bytes, numbers in big-endian
// byte order. Lengths, keys and types are 7 bits a byte, the highest first and
// all but the last byte with the high bit set. Types are:
//
//         0  NULL, or the key
//    1 to 6  a whole number of 1, 2, 3, 4, 6 and 8 bytes
//         7  a double
//      8, 9  the numbers 0 and 1, without bytes
//   12 + 2n  n bytes
//   13 + 2n  a text of n bytes

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/row_stage.h"
#include "util/chronex_trail/sql/row_writer.h"

class row_page : public row_writer {
 public:
  // `table` is quoted; the stage, which must outlive this, has `staged` for it.
  // Rows are handed over when they fill `room` bytes, at most row_stage::ROOM.
  row_page(sql_database& database, row_stage& stage,
           const row_stage::table& staged, const std::string& table,
           int columns, std::size_t room = row_stage::ROOM);

  void begin(std::int64_t first) override;
  void bind(int column, std::int64_t number) override;
  void bind_natural(int column, std::uint64_t number) override {
    bind_text(column, std::to_string(number));
  }
  void bind_decimal(int column, std::string_view digits) override {
    bind_text(column, digits);
  }
  void bind_real(int column, double number) override;
  void bind_time(int column, const row_time& time) override {
    bind_text(column, time.text);
  }
  void bind_text(int column, std::string_view utf8) override {
    keep(column, utf8.data(), utf8.size(), TEXT);
  }
  void bind_literal(int column, std::string_view utf8) override {
    bind_text(column, utf8);
  }
  void bind_bytes(int column, std::span<const std::uint8_t> bytes) override {
    keep(column, bytes.data(), bytes.size(), BYTES);
  }
  void end() override;

  void flush() override;
  std::size_t footprint() const override;

 private:
  // Types of columns.
  enum : std::uint64_t { NUMBER_8 = 6, REAL = 7, ZERO = 8, BYTES = 12, TEXT };

  // Of a number its bytes, the first one first in memory; of texts and bytes
  // where they begin in `kept_`.
  struct cell {
    std::uint64_t bits = 0;
    std::uint64_t type = 0;

    bool is_kept() const { return type >= BYTES; }
    std::size_t kept_size() const { return (type - BYTES) / 2; }
  };

  void keep(int column, const void* bytes, std::size_t size,
            std::uint64_t type);
  void set(int column, std::uint64_t bits, std::uint64_t type,
           std::size_t size);
  std::uint8_t* put_columns(std::uint8_t* types, std::uint8_t* body) const;
  void add_record(std::size_t header_size, std::size_t record_size);
  void insert_alone();
  void bind_alone(row_writer& row, int column) const;

  sql_database& database_;
  row_stage& stage_;
  const std::uint32_t root_;
  const std::string table_;
  const std::size_t room_;
  sql_statement insertion_;
  std::int64_t key_ = 0;
  std::vector<cell> cells_;
  std::vector<std::uint8_t> kept_;
  std::size_t kept_size_ = 0;
  // Of the row: bytes of its types, and of its columns.
  std::size_t types_size_ = 0;
  std::size_t body_size_ = 0;
  staged_rows rows_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_PAGE_H
