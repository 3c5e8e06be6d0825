#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQLITE_SESSIONS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQLITE_SESSIONS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/engine.h"

// The rows of sessions: they are inserted at the sign-on and updated later.
//
// The first and last changes of sessions that work just now are kept here, and
// go to their rows when another needs the place.
class sqlite_sessions : public session_rows {
 public:
  sqlite_sessions(sql_database& database, std::unique_ptr<row_writer> rows)
      : rows_(std::move(rows)),
        bounds_(database.prepare(
            "UPDATE session SET first_n = coalesce(first_n, ?), last_n = ?"
            " WHERE id = ?",
            true)),
        sign_off_(database.prepare(
            "UPDATE session SET signed_off_n = ? WHERE id = ?", true)),
        find_(database.prepare("SELECT 1 FROM session WHERE id = ?")) {}

  row_writer& begin(std::int64_t session, std::int32_t session_id) override {
    rows_->begin(session);
    rows_->bind(2, session_id);
    return *rows_;
  }
  void end() override { rows_->end(); }

  void worked(std::int64_t session, std::int64_t n) override {
    bounds& mine = kept_[static_cast<std::size_t>(session) % PLACES];
    if (mine.session != session) {
      write(mine);
      mine = {session, n, n};
    }
    mine.last_n = n;
  }
  void signed_off(std::int64_t session, std::int64_t n) override {
    sign_off_.bind(1, n);
    sign_off_.bind(2, session);
    sign_off_.run();
  }
  bool has(std::int64_t session) override {
    find_.bind(1, session);
    const bool found = find_.step();
    find_.reset();
    return found;
  }
  void resume(std::int64_t session, const session_work& work) override {
    bounds earlier{session, work.first_n, work.last_n};
    if (work.first_n != 0) write(earlier);
    if (work.signed_off_n != 0) signed_off(session, work.signed_off_n);
  }
  void finish() override {
    for (bounds& each : kept_) write(each);
  }

 private:
  struct bounds {
    // 0 = none.
    std::int64_t session = 0;
    std::int64_t first_n = 0;
    std::int64_t last_n = 0;
  };
  static constexpr std::size_t PLACES = 4096;

  void write(bounds& old) {
    if (old.session == 0) return;
    bounds_.bind(1, old.first_n);
    bounds_.bind(2, old.last_n);
    bounds_.bind(3, old.session);
    bounds_.run();
    old.session = 0;
  }

  std::unique_ptr<row_writer> rows_;
  std::vector<bounds> kept_{PLACES};
  sql_statement bounds_;
  sql_statement sign_off_;
  sql_statement find_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQLITE_SESSIONS_H
