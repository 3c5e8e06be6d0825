#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_BLOCKS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_BLOCKS_H

// The rows of a script, put together in blocks.
//
// Rows of different tables follow one another in no order, and engines load few
// large blocks much faster than many small ones. So the rows of each table are
// collected, and written when all together take a number of bytes.

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/script/script_syntax.h"

class script_blocks {
 public:
  // Both stay the caller's.
  script_blocks(byte_sink& sink, const script_syntax& syntax)
      : sink_(sink), syntax_(syntax) {}

  // Writes statements. The rows that were added before come behind them. Throws
  // write_error, as the others do.
  void write(std::string_view text);
  // Adds a row to the block of a table; `begin` is what its blocks begin with.
  void add(const std::string& table, const std::string& begin,
           std::string_view row);
  // Writes all rows.
  void flush();

 private:
  struct block {
    std::string begin;
    std::string rows;
  };

  static constexpr std::size_t KEPT_BYTES = std::size_t{8} << 20;

  void write_block(block& full);
  void write_blocks(std::size_t smallest);

  byte_sink& sink_;
  const script_syntax& syntax_;
  // Under the names of tables.
  std::map<std::string, block> blocks_;
  // Bytes of all rows that wait.
  std::size_t kept_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_BLOCKS_H
