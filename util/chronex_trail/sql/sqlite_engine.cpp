#include "util/chronex_trail/sql/sqlite_engine.h"

#include "util/chronex_trail/sql/database_file.h"
#include "util/chronex_trail/sql/identifiers.h"
#include "util/chronex_trail/sql/row_batch.h"
#include "util/chronex_trail/sql/row_page.h"
#include "util/chronex_trail/sql/sqlite_sessions.h"

namespace {

// The engine takes more, but a reader of names does not.
constexpr std::size_t NAME_LENGTH = 207;

// The engine takes 2000 columns as it is built for most systems.
constexpr std::size_t MAX_COLUMNS = 1900;

// The highest number that an event has.
constexpr const char* HIGHEST_N = R"sql(
SELECT max((SELECT coalesce(max(n), 0) FROM change),
           (SELECT coalesce(max(n), 0) FROM memo),
           (SELECT coalesce(max(n), 0) FROM notice),
           (SELECT coalesce(max(signed_off_n), 0) FROM session)))sql";

std::vector<item_row> items_of(sql_statement& items, std::int64_t data_set) {
  std::vector<item_row> rows;
  items.bind(1, data_set);
  while (items.step()) {
    rows.push_back({items.integer(0), std::string(items.text(1)),
                    std::string(items.text(2)), items.integer(3),
                    items.integer(4), items.integer(5)});
  }
  return rows;
}

// Bytes of rows that wait for a table: the more tables there are, the fewer, so
// that memory holds more tables.
std::size_t room_of_rows(std::size_t tables) {
  if (tables < 256) return row_stage::ROOM;
  return tables < 1024 ? row_stage::ROOM / 4 : row_stage::ROOM / 16;
}

}  // namespace

sqlite_engine::sqlite_engine(sql_database& database, bool is_continued,
                             database_use use)
    : database_(database),
      is_continued_(is_continued),
      use_(use),
      limits_{.name_length = NAME_LENGTH,
              .columns = MAX_COLUMNS,
              .own_columns = {},
              .own_prefix = "sqlite_",
              .table_twin = {}} {}

std::string sqlite_engine::type_name(const table_column& column) const {
  switch (column.kind) {
    case column_kind::integer:
      return "INTEGER";
    case column_kind::real:
      return "REAL";
    case column_kind::bytes:
      return "BLOB";
    default:
      return "TEXT";
  }
}

start_numbers sqlite_engine::begin(const std::vector<table_form>& tables) {
  if (use_ == database_use::made) {
    database_.run("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF;");
  }
  if (use_ != database_use::followed) {
    database_.run("PRAGMA locking_mode = EXCLUSIVE");
  }
  database_.run("PRAGMA cache_size = -8192; PRAGMA secure_delete = OFF;");
  if (!is_continued_) {
    database_.run("PRAGMA page_size = 8192; PRAGMA encoding = 'UTF-8'");
  }
  // Readers and the writer do not wait for each other then.
  if (use_ == database_use::followed) database_.run("PRAGMA journal_mode=WAL");
  if (use_ == database_use::made) {
    stage_ = std::make_unique<row_stage>(database_);
    database_.run("BEGIN");
  } else {
    database_.run("BEGIN IMMEDIATE");
  }
  if (!is_continued_) create_all(tables);
  sessions_ = std::make_unique<sqlite_sessions>(database_,
                                                open(tables[SESSION_TABLE], 0));
  return {.n = database_.number(HIGHEST_N),
          .input = database_.number("SELECT max(id) FROM input"),
          .session = database_.number("SELECT max(id) FROM session"),
          .data_set = database_.number("SELECT max(id) FROM data_set")};
}

void sqlite_engine::create_all(const std::vector<table_form>& tables) {
  for (const table_form& table : tables) create(table);
  database_.run(
      "PRAGMA application_id = " + std::to_string(TRAIL_APPLICATION_ID) +
      "; PRAGMA user_version = " + std::to_string(TRAIL_TABLES_VERSION));
}

known_data_sets sqlite_engine::known() {
  known_data_sets known;
  sql_statement names = database_.prepare("SELECT name FROM sqlite_master");
  while (names.step()) known.table_names.emplace_back(names.text(0));
  sql_statement sets = database_.prepare(
      "SELECT id, database, name, node, version, table_name, record_size,"
      " database IS NOT NULL FROM data_set");
  sql_statement items = database_.prepare(
      "SELECT DISTINCT position, name, type, elements, size, format"
      " FROM item WHERE data_set = ? ORDER BY position");
  while (sets.step()) {
    const std::int64_t id = sets.integer(0);
    known.data_sets.push_back(
        {.id = id,
         .name = {.database = std::string(sets.text(1)),
                  .has_database = sets.integer(7) != 0,
                  .name = std::string(sets.text(2))},
         .form = form_of_items(sets.integer(6), items_of(items, id)),
         .node = sets.integer(3),
         .version = sets.integer(4),
         .table_name = std::string(sets.text(5))});
  }
  return known;
}

void sqlite_engine::create(const table_form& table) {
  std::string text = "CREATE TABLE " + quoted_identifier(table.name);
  const char* separator = "(";
  for (const table_column& column : table.columns) {
    const bool is_key = table.has_key && &column == &table.columns.front();
    text += separator + quoted_identifier(column.name) + ' ' +
            type_name(column) + (is_key ? " PRIMARY KEY" : "");
    separator = ", ";
  }
  database_.run(text + ')');
}

// Other tables of the stage can be made only between transactions, which in a
// database that is being made begin and end anywhere.
row_stage::table sqlite_engine::staged(const table_form& table) {
  std::string types;
  std::string separator = "a";
  for (const table_column& column : table.columns) {
    types += separator + std::to_string(types.size()) + ' ' + type_name(column);
    if (separator == "a") types += " PRIMARY KEY";
    separator = ", a";
  }
  row_stage::table known = stage_->find(types);
  if (known.root != 0) return known;
  database_.run("COMMIT");
  known = stage_->make(types);
  database_.run("BEGIN");
  return known;
}

std::unique_ptr<row_writer> sqlite_engine::open(const table_form& table,
                                                std::size_t row_size) {
  const std::string name = quoted_identifier(table.name);
  const auto columns = static_cast<int>(table.columns.size());
  if (stage_ && row_size > 0) {
    const row_stage::table stage = staged(table);
    if (stage.root != 0) {
      return std::make_unique<row_page>(database_, *stage_, stage, name,
                                        columns, room_of_rows(opened_++));
    }
  }
  return std::make_unique<row_batch>(database_, name, columns, row_size);
}

void sqlite_engine::index_records(const table_form& table,
                                  const std::string& name) {
  database_.run("CREATE INDEX " + quoted_identifier(name) + " ON " +
                quoted_identifier(table.name) + '(' +
                quoted_identifier(table.columns[table.record - 1].name) + ')');
}

void sqlite_engine::finish_rows() {
  sessions_->finish();
  sessions_.reset();
}

void sqlite_engine::commit() {
  database_.run("COMMIT");
  stage_.reset();
}

void sqlite_engine::commit_so_far() {
  sessions_->finish();
  database_.run("COMMIT; BEGIN IMMEDIATE");
}
