#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SESSION_BOUNDS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SESSION_BOUNDS_H

// The first and the last change of each session.
//
// Those of sessions that work just now are kept here, and go to their rows when
// another needs the place.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "util/chronex_trail/sql/database.h"

class session_bounds {
 public:
  void prepare(sql_database& database) {
    update_ = database.prepare(
        "UPDATE session SET first_n = coalesce(first_n, ?), last_n = ?"
        " WHERE id = ?",
        true);
  }

  // A session, session.id, has made the change `n`.
  void add(std::int64_t session, std::int64_t n) {
    bounds& mine = kept_[static_cast<std::size_t>(session) % PLACES];
    if (mine.session != session) {
      write(mine);
      mine = {session, n, n};
    }
    mine.last_n = n;
  }

  // Writes what is kept, and lets go of the statement.
  void finish() {
    for (bounds& each : kept_) write(each);
    update_ = sql_statement();
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
    update_.bind(1, old.first_n);
    update_.bind(2, old.last_n);
    update_.bind(3, old.session);
    update_.run();
    old.session = 0;
  }

  std::vector<bounds> kept_{PLACES};
  sql_statement update_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SESSION_BOUNDS_H
