#include "util/chronex_trail/sql/answer_cell.h"

#include <array>
#include <charconv>
#include <cmath>
#include <unordered_set>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/csv_text.h"
#include "util/chronex_trail/values/item_value.h"
#include "util/chronex_trail/values/utf8_text.h"

namespace {

// Takes every number there is.
constexpr std::size_t NUMBER_ROOM = 32;

int type_of(const sql_statement& rows, int column) {
  return sqlite3_column_type(rows.handle(), column);
}

// The shortest text that reads back, and is not taken for a whole number.
std::string real_text(double value) {
  std::array<char, NUMBER_ROOM> room;
  const char* const end =
      std::to_chars(room.data(), room.data() + room.size(), value).ptr;
  std::string text(static_cast<const char*>(room.data()), end);
  if (text.find_first_not_of("-0123456789") == text.npos) text += ".0";
  return text;
}

std::string hex_text(const sql_statement& rows, int column) {
  const void* const bytes = sqlite3_column_blob(rows.handle(), column);
  const auto size =
      static_cast<std::size_t>(sqlite3_column_bytes(rows.handle(), column));
  std::string hex(size * 2, '\0');
  put_hex_digits({static_cast<const std::uint8_t*>(bytes), size}, hex.data());
  return hex;
}

}  // namespace

std::vector<std::string> column_names(const sql_statement& rows) {
  std::vector<std::string> names;
  const int count = sqlite3_column_count(rows.handle());
  names.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    names.push_back(well_formed_utf8(sqlite3_column_name(rows.handle(), i)));
  }
  return names;
}

void make_distinct(std::vector<std::string>& names) {
  std::unordered_set<std::string> all(names.begin(), names.end());
  std::unordered_set<std::string> given;
  for (std::string& name : names) {
    std::string made = name;
    for (int number = 2; given.contains(made); ++number) {
      const std::string numbered = name + '_' + std::to_string(number);
      if (!all.contains(numbered)) made = numbered;
    }
    given.insert(made);
    name = std::move(made);
  }
}

bool is_number(const sql_statement& rows, int column) {
  const int type = type_of(rows, column);
  return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

std::string cell_text(const sql_statement& rows, int column) {
  switch (type_of(rows, column)) {
    case SQLITE_NULL:
      return {};
    case SQLITE_INTEGER:
      return std::to_string(rows.integer(column));
    case SQLITE_FLOAT:
      return real_text(sqlite3_column_double(rows.handle(), column));
    case SQLITE_BLOB:
      return hex_text(rows, column);
    default:
      return well_formed_utf8(rows.text(column));
  }
}

void append_csv_cell(std::string& line, const sql_statement& rows, int column) {
  if (type_of(rows, column) == SQLITE_NULL) return;
  append_csv_text(line, cell_text(rows, column));
}

void append_json_cell(std::string& line, std::string_view name,
                      const sql_statement& rows, int column) {
  append_json_string(line, name);
  line += ':';
  const int type = type_of(rows, column);
  const bool is_infinite =
      type == SQLITE_FLOAT &&
      !std::isfinite(sqlite3_column_double(rows.handle(), column));
  if (type == SQLITE_NULL || is_infinite) {
    line += "null";
  } else if (is_number(rows, column)) {
    line += cell_text(rows, column);
  } else {
    append_json_string(line, cell_text(rows, column));
  }
}
