#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_SYNTAX_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_SYNTAX_H

// How an engine's client wants statements and values to be written.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/sql/engine.h"
#include "util/chronex_trail/sql/row_writer.h"
#include "util/chronex_trail/sql/table_form.h"

// What stands between the values of a block of rows.
struct row_marks {
  std::string_view between_rows;
  std::string_view begin;
  std::string_view between_values;
  std::string_view end;
  std::string_view null;
};

class script_syntax {
 public:
  script_syntax() = default;
  script_syntax(const script_syntax&) = delete;
  script_syntax& operator=(const script_syntax&) = delete;
  virtual ~script_syntax() = default;

  virtual const engine_limits& limits() const = 0;
  virtual std::string type_name(const table_column& column) const = 0;
  virtual std::size_t column_size(const table_column& column) const = 0;
  // Names of tables that the script itself uses.
  virtual std::vector<std::string> own_tables() const { return {}; }

  // Statements, each with the end of its line: what comes first and last, and
  // what makes a table and its index, which may be nothing.
  virtual std::string head() const = 0;
  virtual std::string create(const table_form& table) const = 0;
  virtual std::string index_records(const table_form& table,
                                    const std::string& name) const = 0;
  virtual std::string tail() const = 0;

  // Blocks of rows.
  virtual std::string block_begin(const table_form& table) const = 0;
  virtual std::string_view block_end() const = 0;
  virtual const row_marks& marks() const = 0;

  // Append a value.
  virtual void append_decimal(std::string& out, const table_column& column,
                              std::string_view digits) const = 0;
  virtual void append_real(std::string& out, double number) const = 0;
  virtual void append_time(std::string& out, const row_time& time) const = 0;
  virtual void append_text(std::string& out, std::string_view utf8) const = 0;
  virtual void append_bytes(std::string& out,
                            std::span<const std::uint8_t> bytes) const = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_SYNTAX_H
