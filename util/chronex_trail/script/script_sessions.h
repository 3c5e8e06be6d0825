#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_SESSIONS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_SESSIONS_H

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "util/chronex_trail/script/row_cells.h"
#include "util/chronex_trail/sql/engine.h"

// The rows of sessions. A script can only add rows, so a row waits for what its
// session does: until another signs on under its number, or all is over, or,
// when much waits, it has signed off and cannot come back.
class script_sessions : public session_rows {
 public:
  // All stay the caller's.
  script_sessions(const script_syntax& syntax, script_blocks& blocks,
                  const table_form& table);

  row_writer& begin(std::int64_t session, std::int32_t session_id) override;
  void end() override;
  void worked(std::int64_t session, std::int64_t n) override;
  void signed_off(std::int64_t session, std::int64_t n) override;
  void input_begins(const work_test& works) override;
  void resume(std::int64_t session, const session_work& work) override;
  void hand_over(std::int64_t session) override { forget(session); }
  void finish() override;

 private:
  struct waiting_row {
    // The columns up to `attributes`.
    std::string text;
    std::int32_t session_id = 0;
    session_work work;
  };
  using waiting_rows = std::map<std::int64_t, waiting_row>;

  static constexpr std::size_t KEPT_BYTES = std::size_t{4} << 20;
  static constexpr std::size_t COLUMNS_BEFORE_WORK = 7;

  void write(const waiting_row& row);
  void release(std::int64_t session);
  void forget(std::int64_t session);

  const script_syntax& syntax_;
  script_blocks& blocks_;
  const std::string block_begin_;
  row_cells cells_;
  std::int64_t session_ = 0;
  std::int32_t session_id_ = 0;
  waiting_rows waiting_;
  std::size_t kept_ = 0;
  // The sessions that have a number of the log.
  std::unordered_map<std::int32_t, std::int64_t> current_;
  std::vector<std::int64_t> signed_off_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_SESSIONS_H
