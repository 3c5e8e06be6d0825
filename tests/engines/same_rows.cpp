// Compares the rows of a table, as an engine's client prints them, with those
// that SQLite has.
//
//   same_rows DATABASE TABLE postgresql|clickhouse < ROWS
//
// TABLE is a name, or data_set.id of a data set's table. ROWS come from COPY,
// or in the format TabSeparated, in the order of their first column. The exit
// status is 0 if all values are the same; else the first differences are shown.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/identifiers.h"

namespace {

constexpr int MOST_SHOWN = 5;

// A value as it was printed; none = NULL.
using value = std::optional<std::string>;

char unescaped(char letter) {
  constexpr std::string_view LETTERS = "bfnrtv0";
  constexpr std::string_view CHARACTERS("\b\f\n\r\t\v\0", 7);
  const std::size_t at = LETTERS.find(letter);
  return at == LETTERS.npos ? letter : CHARACTERS[at];
}

std::vector<value> values_of(const std::string& line) {
  std::vector<value> values(1, std::string());
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\t') {
      values.emplace_back(std::string());
    } else if (line[i] != '\\' || i + 1 == line.size()) {
      values.back()->push_back(line[i]);
    } else if (line[++i] == 'N') {
      values.back().reset();
    } else {
      values.back()->push_back(unescaped(line[i]));
    }
  }
  return values;
}

std::string hex_of(std::string_view bytes) {
  std::string hex;
  for (const char byte : bytes) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x",
                  static_cast<unsigned>(static_cast<unsigned char>(byte)));
    hex += digits;
  }
  return hex;
}

bool ends_a_time(std::string_view text) { return text.ends_with("+00"); }

// `printed` is what the engine has for a value of SQLite.
bool is_same(const sql_statement& row, int column, const value& printed,
             bool is_postgresql) {
  switch (sqlite3_column_type(row.handle(), column)) {
    case SQLITE_NULL:
      return !printed;
    case SQLITE_FLOAT:
      return printed && std::strtod(printed->c_str(), nullptr) ==
                            sqlite3_column_double(row.handle(), column);
    case SQLITE_BLOB: {
      const std::string_view bytes(
          static_cast<const char*>(sqlite3_column_blob(row.handle(), column)),
          static_cast<std::size_t>(sqlite3_column_bytes(row.handle(), column)));
      if (!is_postgresql) return printed == bytes;
      return printed == "\\x" + hex_of(bytes);
    }
    default: {
      const std::string text(row.text(column));
      return printed == text ||
             (printed && ends_a_time(*printed) && printed == text + "+00") ||
             // ClickHouse has no second 0.
             (printed == "0000-00-00 00:00:00" &&
              text == "1970-01-01 00:00:00");
    }
  }
}

std::string table_named(sql_database& database, const std::string& name) {
  if (name.find_first_not_of("0123456789") != name.npos) return name;
  sql_statement query =
      database.prepare("SELECT table_name FROM data_set WHERE id = " + name);
  return query.step() ? std::string(query.text(0)) : std::string();
}

int compare(sql_database& database, const std::string& table,
            bool is_postgresql) {
  sql_statement rows = database.prepare(
      "SELECT * FROM " + quoted_identifier(table) + " ORDER BY 1");
  int differences = 0;
  std::string line;
  for (int number = 1; rows.step(); ++number) {
    if (!std::getline(std::cin, line)) line.clear();
    const std::vector<value> printed = values_of(line);
    const int columns = sqlite3_column_count(rows.handle());
    for (int i = 0; i < columns; ++i) {
      const auto at = static_cast<std::size_t>(i);
      if (at < printed.size() && is_same(rows, i, printed[at], is_postgresql)) {
        continue;
      }
      if (++differences > MOST_SHOWN) return differences;
      std::cout << table << ", row " << number << ", "
                << sqlite3_column_name(rows.handle(), i) << ": " << rows.text(i)
                << " became "
                << (at < printed.size() ? printed[at].value_or("NULL")
                                        : "nothing")
                << '\n';
    }
  }
  while (std::getline(std::cin, line)) {
    std::cout << table << ": a row too many\n";
    ++differences;
  }
  return differences;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 4) {
    std::cerr << "usage: same_rows DATABASE TABLE ENGINE\n";
    return 2;
  }
  try {
    sql_database database;
    database.open(argv[1]);
    const bool is_postgresql = std::string_view(argv[3]) == "postgresql";
    const std::string table = table_named(database, argv[2]);
    return compare(database, table, is_postgresql) == 0 ? 0 : 1;
  } catch (const sql_error& error) {
    std::cerr << error.what() << '\n';
    return 2;
  }
}
