#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_STAGE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_STAGE_H

// Rows on their way into an SQLite database, a page of them at a time.
//
// To set parameters and to copy them into a row takes longer than all the rest
// of an insertion. The rows here are put together in the engine's own record
// format, and written over the only page of a table in a database in memory,
// from where `INSERT INTO table SELECT * FROM stage.table` takes them: between
// tables of the same column types the engine copies whole records. What is
// written to the database's file is the engine's work alone.
//
// A leaf page of a table, numbers in big-endian byte order:
//
//   offset  bytes
//        0      1  13
//        1      2  0: no free blocks
//        3      2  number of rows
//        5      2  where the first byte of a row is
//        7      1  0: no fragments
//        8      2  for each row, by key: where it begins

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "util/chronex_trail/sql/database.h"

// Rows of a page.
struct staged_rows {
  // One behind the other in the first `size` bytes, and where each of them
  // ends.
  std::vector<std::uint8_t> bytes;
  std::size_t size = 0;
  std::vector<std::uint16_t> ends;
};

class row_stage {
 public:
  static constexpr std::size_t PAGE_SIZE = std::size_t{32} * 1024;
  // Bytes of a page that rows have, and what each takes besides its own.
  static constexpr std::size_t ROOM = PAGE_SIZE - 8;
  static constexpr std::size_t ROW_POINTER = 2;
  // The longest record that a page holds all of.
  static constexpr std::size_t LONGEST_RECORD = PAGE_SIZE - 35;

  // No transaction may be open. The database stays the caller's.
  explicit row_stage(sql_database& database);
  row_stage(const row_stage&) = delete;
  row_stage& operator=(const row_stage&) = delete;
  // As before; statements that read of the stage must be gone.
  ~row_stage();

  // A table with columns of these types, of which the first is the key. `root`
  // is the number of its page; 0 = there is none yet.
  struct table {
    std::string name;
    std::uint32_t root = 0;
  };
  table find(const std::string& types) const;
  // Makes it; no transaction may be open. None when the stage is full, or the
  // engine does not see at once what is written.
  table make(const std::string& types);

  // The table has these rows from now on.
  void fill(std::uint32_t root, const staged_rows& rows);

 private:
  void attach();
  bool is_seen_at_once();
  bool shows(const table& probe, std::uint8_t key);

  sql_database& database_;
  // The database in memory, which the engine owns.
  std::span<std::uint8_t> image_;
  bool is_usable_ = false;
  std::map<std::string, table> tables_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_STAGE_H
