#include "util/chronex_trail/sql/database.h"

#include <new>
#include <utility>

namespace {

[[noreturn]] void fail(int code, sqlite3* connection) {
  if (code == SQLITE_NOMEM) throw std::bad_alloc();
  throw sql_error(connection == nullptr ? sqlite3_errstr(code)
                                        : sqlite3_errmsg(connection));
}

void check(int code, sqlite3* connection) {
  if (code != SQLITE_OK) fail(code, connection);
}

// This program has one thread, and does not ask how much memory the engine has
// taken. Must come before anything else is asked of the engine.
bool set_up_engine() {
  return sqlite3_config(SQLITE_CONFIG_SINGLETHREAD) == SQLITE_OK &&
         sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK;
}

struct backup_releaser {
  void operator()(sqlite3_backup* backup) const {
    sqlite3_backup_finish(backup);
  }
};

}  // namespace

bool sql_statement::step() {
  sqlite3_stmt* const statement = statement_.get();
  if (bind_failure_ != SQLITE_OK) fail(bind_failure_, nullptr);
  const int code = sqlite3_step(statement);
  if (code == SQLITE_ROW) return true;
  sqlite3_reset(statement);
  if (code != SQLITE_DONE) fail(code, sqlite3_db_handle(statement));
  return false;
}

std::string_view sql_statement::text(int column) const {
  const unsigned char* const text =
      sqlite3_column_text(statement_.get(), column);
  if (text == nullptr) return {};
  return {
      reinterpret_cast<const char*>(text),
      static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::span<const std::uint8_t> sql_statement::bytes(int column) const {
  const void* const bytes = sqlite3_column_blob(statement_.get(), column);
  return {
      static_cast<const std::uint8_t*>(bytes),
      static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

void sql_database::open(const std::string& name) {
  [[maybe_unused]] static const bool is_set_up = set_up_engine();
  sqlite3* connection = nullptr;
  const int code = sqlite3_open_v2(
      name.c_str(), &connection,
      SQLITE_OPEN_READWRITE | SQLITE_OPEN_EXRESCODE | SQLITE_OPEN_NOMUTEX,
      nullptr);
  connection_.reset(connection);
  check(code, connection);
}

void sql_database::close() {
  check(sqlite3_close(connection_.get()), connection_.get());
  [[maybe_unused]] sqlite3* const closed = connection_.release();
}

void sql_database::run(const std::string& text) {
  check(
      sqlite3_exec(connection_.get(), text.c_str(), nullptr, nullptr, nullptr),
      connection_.get());
}

sql_statement sql_database::prepare(std::string_view text, bool reused) {
  sqlite3_stmt* prepared = nullptr;
  const int code = sqlite3_prepare_v3(
      connection_.get(), text.data(), static_cast<int>(text.size()),
      reused ? SQLITE_PREPARE_PERSISTENT : 0U, &prepared, nullptr);
  sql_statement statement;
  statement.statement_.reset(prepared);
  check(code, connection_.get());
  return statement;
}

sql_statement sql_database::prepare_only(std::string_view text) {
  sqlite3_stmt* prepared = nullptr;
  const char* rest = nullptr;
  const int code =
      sqlite3_prepare_v2(connection_.get(), text.data(),
                         static_cast<int>(text.size()), &prepared, &rest);
  sql_statement statement;
  statement.statement_.reset(prepared);
  check(code, connection_.get());
  const std::string_view behind =
      text.substr(static_cast<std::size_t>(rest - text.data()));
  if (behind.find_first_not_of(" \t\r\n;") != behind.npos) {
    throw sql_error("one query at a time");
  }
  return statement;
}

std::int64_t sql_database::number(std::string_view query) {
  sql_statement statement = prepare(query);
  return statement.step() ? statement.integer(0) : 0;
}

void sql_database::copy_from(const std::string& name) {
  sqlite3* opened = nullptr;
  const int code =
      sqlite3_open_v2(name.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
  const std::unique_ptr<sqlite3, releaser> source(opened);
  check(code, opened);
  const std::unique_ptr<sqlite3_backup, backup_releaser> backup(
      sqlite3_backup_init(connection_.get(), "main", opened, "main"));
  if (!backup) fail(sqlite3_errcode(connection_.get()), connection_.get());
  const int copied = sqlite3_backup_step(backup.get(), -1);
  if (copied != SQLITE_DONE) fail(copied, nullptr);
}
