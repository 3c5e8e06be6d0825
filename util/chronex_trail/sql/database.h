#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_DATABASE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_DATABASE_H

// SQLite's connections and statements, owned. What fails throws sql_error.

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "util/chronex_trail/sql/sql_error.h"

class sql_statement {
 public:
  sql_statement() = default;

  bool is_prepared() const { return statement_ != nullptr; }

  // Set parameters, counted from 1. What is borrowed must stay until the
  // statement has run; what is `copied` need not.
  void bind(int at, std::int64_t number) {
    note(sqlite3_bind_int64(statement_.get(), at, number));
  }
  void bind_real(int at, double number) {
    note(sqlite3_bind_double(statement_.get(), at, number));
  }
  void bind_text(int at, std::string_view utf8, bool copied = false) {
    note(sqlite3_bind_text64(
        statement_.get(), at, utf8.empty() ? "" : utf8.data(), utf8.size(),
        copied ? SQLITE_TRANSIENT : SQLITE_STATIC, SQLITE_UTF8));
  }
  void bind_bytes(int at, std::span<const std::uint8_t> bytes,
                  bool copied = false) {
    note(sqlite3_bind_blob64(statement_.get(), at, bytes.data(), bytes.size(),
                             copied ? SQLITE_TRANSIENT : SQLITE_STATIC));
  }
  // All parameters become NULL.
  void clear() { sqlite3_clear_bindings(statement_.get()); }

  // Goes to the next row of the answer; false = there is none, and the
  // statement is ready to run again.
  bool step();
  // Runs a statement that has no rows, or whose rows do not matter.
  void run() {
    while (step()) {
    }
  }
  // Makes the statement ready to run again.
  void reset() { sqlite3_reset(statement_.get()); }

  // Of the row: columns are counted from 0. Texts are valid until the next
  // step.
  std::int64_t integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
  }
  std::string_view text(int column) const;
  std::span<const std::uint8_t> bytes(int column) const;
  sqlite3_stmt* handle() const { return statement_.get(); }

 private:
  friend class sql_database;
  struct releaser {
    void operator()(sqlite3_stmt* statement) const {
      sqlite3_finalize(statement);
    }
  };

  void note(int code) {
    if (code != SQLITE_OK) bind_failure_ = code;
  }

  std::unique_ptr<sqlite3_stmt, releaser> statement_;
  int bind_failure_ = SQLITE_OK;
};

class sql_database {
 public:
  // Opens a file that is there. An empty name makes a database that goes away
  // with its connection.
  void open(const std::string& name);
  // Closes it. All statements must be gone.
  void close();

  // Runs statements without parameters.
  void run(const std::string& text);
  // `reused`: the statement will be there for long.
  sql_statement prepare(std::string_view text, bool reused = false);
  // Prepares a text that is a single statement; nothing else may follow it.
  sql_statement prepare_only(std::string_view text);
  // The number that a query answers with.
  std::int64_t number(std::string_view query);

  // Copies all of another database into this one.
  void copy_from(const std::string& name);

  sqlite3* handle() const { return connection_.get(); }

 private:
  struct releaser {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
  };

  std::unique_ptr<sqlite3, releaser> connection_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_DATABASE_H
