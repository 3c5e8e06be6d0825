#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQLITE_ENGINE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQLITE_ENGINE_H

#include <memory>
#include <string>
#include <vector>

#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/engine.h"
#include "util/chronex_trail/sql/row_stage.h"
#include "util/chronex_trail/sql/trail_tables.h"

// What the database is while it is filled.
enum class database_use {
  // A file under a temporary name: nothing has to be undone in it.
  made,
  // What others read: all that is added becomes part of it at once.
  shared,
  // What others read while it is being filled, a part at a time.
  followed,
};

// A trail's tables in an SQLite database.
class sqlite_engine : public sql_engine {
 public:
  // The database stays the caller's; it is empty, unless a trail in it is
  // continued.
  sqlite_engine(sql_database& database, bool is_continued,
                database_use use = database_use::made);

  const engine_limits& limits() const override { return limits_; }
  std::string type_name(const table_column& column) const override;

  start_numbers begin(const std::vector<table_form>& tables) override;
  known_data_sets known() override;
  std::vector<std::string> own_names() const override {
    return names_of_trail_tables();
  }
  void create(const table_form& table) override;
  std::unique_ptr<row_writer> open(const table_form& table,
                                   std::size_t row_size) override;
  void index_records(const table_form& table, const std::string& name) override;
  session_rows& sessions() override { return *sessions_; }
  void finish_rows() override;
  void commit() override;
  void commit_so_far() override;

 private:
  void create_all(const std::vector<table_form>& tables);
  row_stage::table staged(const table_form& table);

  sql_database& database_;
  const bool is_continued_;
  const database_use use_;
  const engine_limits limits_;
  // Null: rows are inserted by statements with parameters.
  std::unique_ptr<row_stage> stage_;
  // Tables whose rows went or go over the stage.
  std::size_t opened_ = 0;
  std::unique_ptr<session_rows> sessions_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQLITE_ENGINE_H
