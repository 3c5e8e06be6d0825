#include "tests/trail/sql_fixture.h"

#include "tests/support/hex.h"

namespace {

std::string value_of(const sql_statement& rows, int column) {
  switch (sqlite3_column_type(rows.handle(), column)) {
    case SQLITE_NULL:
      return "NULL";
    case SQLITE_BLOB: {
      const auto* const bytes = static_cast<const std::uint8_t*>(
          sqlite3_column_blob(rows.handle(), column));
      const auto size =
          static_cast<std::size_t>(sqlite3_column_bytes(rows.handle(), column));
      return "x'" + to_hex(std::vector<std::uint8_t>(bytes, bytes + size)) +
             "'";
    }
    default:
      return std::string(rows.text(column));
  }
}

}  // namespace

std::vector<std::string> answer_of(const std::string& database,
                                   std::string_view query) {
  sql_database opened;
  opened.open(database);
  sql_statement rows = opened.prepare(query);
  std::vector<std::string> answer;
  while (rows.step()) {
    std::string row = value_of(rows, 0);
    for (int i = 1; i < sqlite3_column_count(rows.handle()); ++i) {
      row += ' ' + value_of(rows, i);
    }
    answer.push_back(row);
  }
  return answer;
}

std::string rows_of(const std::string& database) {
  std::string rows;
  for (const std::string& table :
       answer_of(database,
                 "SELECT name FROM sqlite_schema WHERE type = 'table'"
                 " AND name NOT IN ('run', 'chronex_state') ORDER BY name")) {
    rows += table + "\n";
    for (const std::string& row : answer_of(
             database, "SELECT * FROM \"" + table + "\" ORDER BY rowid")) {
      rows += row + "\n";
    }
  }
  for (const std::string& index :
       answer_of(database,
                 "SELECT name || sql FROM sqlite_schema WHERE type = 'index'"
                 " ORDER BY name")) {
    rows += index + "\n";
  }
  return rows;
}
