#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_EARLIER_ROWS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_EARLIER_ROWS_H

// What the rows of a piece of a trail depend on, of the pieces in front of it.
// With it a piece has the numbers, ids and names that it has in one run over
// all (doc/state-file.md).

#include <cstdint>
#include <vector>

#include "util/chronex/state/state_bytes.h"
#include "util/chronex_trail/sql/known_data_sets.h"

// What a row of the table `session` tells behind the sign-on; 0 = none.
struct session_work {
  std::int64_t first_n = 0;
  std::int64_t last_n = 0;
  std::int64_t signed_off_n = 0;
};

// A session that may go on in the piece.
struct earlier_session {
  std::int32_t session_id = 0;
  std::uint64_t sign_on_id = 0;
  // Character set of its texts.
  int charset = 0;
  session_work work;
};

struct earlier_rows {
  // The latest event, and the latest input.
  std::int64_t n = 0;
  std::int64_t input = 0;
  // All of them, in the order of their ids from 1 on. Versions and names of
  // tables are not told: they follow from the order.
  std::vector<known_data_set> data_sets;
  std::vector<earlier_session> sessions;
};

// Write and read the section of these rows. False: there is none, or it cannot
// be what it is.
void save_rows(const earlier_rows& rows, state_writer& state);
[[nodiscard]] bool restore_rows(state_reader& state, earlier_rows& rows);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_EARLIER_ROWS_H
