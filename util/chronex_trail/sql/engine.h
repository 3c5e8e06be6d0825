#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ENGINE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ENGINE_H

// What takes the tables of a trail: a database, or a script for one. What the
// tables are is decided before; an engine has types, names and statements of
// its own. What fails throws sql_error.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/sql/earlier_rows.h"
#include "util/chronex_trail/sql/known_data_sets.h"
#include "util/chronex_trail/sql/row_writer.h"
#include "util/chronex_trail/sql/sql_error.h"
#include "util/chronex_trail/sql/table_form.h"

struct engine_limits {
  // Bytes of a name, with everything that makes it differ from others.
  std::size_t name_length = 0;
  // Columns of a table that items have, and those before them.
  std::size_t columns = 0;
  // Bytes of a row of them, by sql_engine::column_size(); 0 = any number.
  std::size_t row_size = 0;
  // Names that no column may have.
  std::vector<std::string> own_columns;
  // Names of tables must not begin so; empty: with what they like.
  std::string own_prefix;
  // A table needs the name with this behind it, too.
  std::string table_twin;
};

// The highest numbers that were given before.
struct start_numbers {
  std::int64_t n = 0;
  std::int64_t input = 0;
  std::int64_t session = 0;
  std::int64_t data_set = 0;
};

// The rows of the table `session`, which tell what a session did after it had
// signed on. Numbers of sessions are session.id.
class session_rows {
 public:
  session_rows() = default;
  session_rows(const session_rows&) = delete;
  session_rows& operator=(const session_rows&) = delete;
  virtual ~session_rows() = default;

  // Begins the row of a sign-on; the columns behind the first two are bound by
  // the caller, up to `attributes`.
  virtual row_writer& begin(std::int64_t session, std::int32_t session_id) = 0;
  virtual void end() = 0;
  // A session has made the change `n`, or has signed off as event `n`.
  virtual void worked(std::int64_t session, std::int64_t n) = 0;
  virtual void signed_off(std::int64_t session, std::int64_t n) = 0;
  // Another input begins. Who has signed off may come back, unless `works`,
  // which is given the number of the log and that of the session, says no.
  using work_test = std::function<bool(std::int32_t, std::int64_t)>;
  virtual void input_begins(const work_test& /*works*/) {}

  // For pieces of a trail. Whether the row of a session that signed on in an
  // earlier piece is there; if not it is begun and ended as others are. Then
  // come its works in earlier pieces.
  virtual bool has(std::int64_t /*session*/) { return false; }
  virtual void resume(std::int64_t session, const session_work& work) = 0;
  // A session may go on in a later piece, which has its works up to here.
  virtual void hand_over(std::int64_t /*session*/) {}

  // No more comes.
  virtual void finish() = 0;
};

class sql_engine {
 public:
  sql_engine() = default;
  sql_engine(const sql_engine&) = delete;
  sql_engine& operator=(const sql_engine&) = delete;
  virtual ~sql_engine() = default;

  virtual const engine_limits& limits() const = 0;
  virtual std::string type_name(const table_column& column) const = 0;
  // What a value takes of a row at most.
  virtual std::size_t column_size(const table_column& /*column*/) const {
    return 0;
  }

  // Makes the tables that every trail has, or finds those that are there.
  virtual start_numbers begin(const std::vector<table_form>& tables) = 0;
  // What an earlier run left of data sets, and of names of tables.
  virtual known_data_sets known() = 0;
  // Names that no data set's table can have.
  virtual std::vector<std::string> own_names() const = 0;
  // The rows of a piece are nothing without those of the others, so that each
  // row is in one piece only. Else a piece has all that is needed to ask it.
  virtual bool joins_pieces() const { return false; }
  // A data set got its id.
  virtual void noted(const known_data_set& /*set*/) {}

  virtual void create(const table_form& table) = 0;
  // Rows for a table that was made. `row_size` is about what the texts of a row
  // take, in bytes; 0: every row is added at once.
  virtual std::unique_ptr<row_writer> open(const table_form& table,
                                           std::size_t row_size) = 0;
  // Makes the record column of a table fast to look for, under a name that no
  // table has.
  virtual void index_records(const table_form& table,
                             const std::string& name) = 0;
  virtual session_rows& sessions() = 0;

  // Adds all rows that were not yet; the rows of `run` follow.
  virtual void finish_rows() = 0;
  // All is there.
  virtual void commit() = 0;
  // What was added so far becomes part of the database; more may come. Not for
  // scripts.
  virtual void commit_so_far() {}
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ENGINE_H
