#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_OUTPUT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_OUTPUT_H

// The trail as tables of an engine. Values are those of the JSON events;
// doc/sql.md describes the tables.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "util/chronex/messages/messages.h"
#include "util/chronex/state/state_bytes.h"
#include "util/chronex/trail/output.h"
#include "util/chronex_trail/json/session_piece.h"
#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/sql/earlier_rows.h"
#include "util/chronex_trail/sql/engine.h"
#include "util/chronex_trail/sql/row_binder.h"
#include "util/chronex_trail/sql/row_writer.h"
#include "util/chronex_trail/sql/set_tables.h"
#include "util/chronex_trail/values/utc_time.h"
#include "util/chronex_trail/values/utf8_text.h"

// Times as rows have them.
class sql_time {
 public:
  // Its text is valid until the next call.
  row_time of(std::uint32_t timestamp);

 private:
  utc_time utc_;
  std::array<char, 19> text_{};
};

// What a run tells of itself.
struct run_facts {
  // Version of the program, and the command's arguments.
  std::string version;
  std::string options;
};

// Which rows an output adds.
enum class kept_rows {
  all,
  // Not those of the tables of data sets, which are made but stay empty.
  no_images,
};

class sql_output : public trail_output {
 public:
  // All stay the caller's. `listed` narrows what is kept of records; null:
  // nothing does.
  sql_output(run_messages& messages, sql_engine& engine,
             const item_name_list* listed, kept_rows kept = kept_rows::all);

  // Makes the tables, or goes on behind what is there. Throws sql_error.
  void begin(run_facts facts);
  // The same for a piece of a trail: goes on behind the rows of those in front
  // of it, whose sessions are in the table that is watched. False: these rows
  // do not fit the sessions.
  [[nodiscard]] bool begin_piece(run_facts facts, const earlier_rows& earlier);
  // To be called in front of end() when another piece follows.
  void hand_over();
  // Watches the table of the sessions, which stays the caller's, so that rows
  // need not wait for sessions that cannot go on.
  void watch(session_table& sessions) { session_table_ = &sessions; }
  // What the next row depends on, of the rows before. False when it cannot be
  // read.
  void save(state_writer& state) const;
  [[nodiscard]] bool restore(state_reader& state);
  // The id of the latest input.
  std::int64_t input() const { return input_; }

  // Makes all rows so far part of the database, and the indexes of new tables;
  // more may come. `last` is called before. Throws sql_error.
  void commit_so_far(const std::function<void()>& last);

  // Makes the indexes, and notes the run with its exit status. Throws
  // sql_error. `last` is called before it all becomes part of the database.
  void end(
      int status, const std::function<void()>& last = [] {});
  // What the engine said went wrong; empty = nothing did.
  const std::string& failure() const { return failure_; }

  int file_begins(const input_file& file) override;
  sign_on_result sign_on(const session_entry& session, sign_on_caller caller,
                         const event_place& place) override;
  int sign_off(const session_entry& session, const event_place& place) override;
  int schema(const node_entry& node, const event_place& place) override;
  int memo(const memo_view& memo) override;
  int operation(const image_operation& operation,
                const event_place& place) override;
  int notice(const trail_notice& notice) override;
  int comment(std::string_view text, const event_place& place) override;

 private:
  // Calls what adds rows. Returns 0, or -1 after a failure.
  template <typename Event>
  int guarded(const Event& event);

  void open_tables();
  std::int64_t session_of(const session_entry& session) const;
  void insert_input(const input_file& file);
  void insert_session(const session_entry& session);
  bool resume_session(const earlier_session& session);
  bool may_work(std::int32_t session_id, std::int64_t session) const;
  void insert_memo(const memo_view& memo);
  void insert_notice(const trail_notice& notice);
  void bind_loss(const trail_notice& notice);
  void bind_attribute(row_writer& row, int at, const session_entry& session,
                      std::string_view key);
  void insert_run(int status);

  // In sql_change.cpp.
  void insert_change(const image_operation& operation,
                     const event_place& place);
  void bind_operation(const image_operation& operation,
                      const event_place& place);
  void bind_slots(const session_entry& session);
  void bind_slot(int at, const memo_slot& slot, std::string_view field);
  void insert_images(const image_operation& operation, const set_piece& set,
                     set_table& table, const event_place& place);
  void bind_images(const image_operation& operation, const set_piece& set,
                   set_table& table, const event_place& place);

  run_messages& messages_;
  sql_engine& engine_;
  const kept_rows kept_;
  set_pieces sets_;
  session_pieces sessions_;
  set_tables tables_;
  std::string notes_;
  row_binder rows_{notes_};
  text_scratch scratch_;
  sql_time time_;
  std::string failure_;
  run_facts facts_;
  std::uint32_t started_ = 0;

  // Null: not known.
  session_table* session_table_ = nullptr;
  std::unique_ptr<row_writer> change_;
  std::unique_ptr<row_writer> memo_;
  std::unique_ptr<row_writer> notice_;
  std::unique_ptr<row_writer> inputs_;

  // The number of the latest event, and the id of the latest input.
  std::int64_t n_ = 0;
  std::int64_t input_ = 0;
  // The highest numbers of earlier runs. An id is this and the sign-on's
  // number.
  std::int64_t earlier_sessions_ = 0;
  std::int64_t changes_ = 0;
  std::int64_t gaps_ = 0;
  std::int64_t warnings_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_OUTPUT_H
