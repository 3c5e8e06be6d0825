#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_COUNTER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_COUNTER_H

// Counts the events that outputs would write, and what an sql_output would give
// numbers, ids and names to, and writes nothing.

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "util/chronex/filter/item_names.h"
#include "util/chronex/tables/session.h"
#include "util/chronex_trail/json/event_counter.h"
#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/sql/counting_engine.h"
#include "util/chronex_trail/sql/earlier_rows.h"
#include "util/chronex_trail/sql/set_tables.h"

class row_counter : public event_counter {
 public:
  // Both stay the caller's: the run's sessions, and what narrows its items.
  row_counter(session_table& sessions, const item_name_list* listed);

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

  // What a piece that begins here depends on. To be called between inputs.
  earlier_rows rows();

 private:
  // Whether it may work on.
  bool is_current(const earlier_session& row);
  void forget_ended();
  // Null: its sign-on was not shown.
  session_work* work_of(const session_entry& session);
  void note_set(const node_entry& node, const event_place& place);

  struct noted_set {
    int charset = 0;
    std::uint64_t names_version = 0;
    bool from_audit_file = false;

    bool operator==(const noted_set&) const = default;
  };

  session_table& sessions_;
  set_pieces sets_;
  counting_engine engine_;
  set_tables tables_{engine_};
  std::int64_t n_ = 0;
  std::int64_t input_ = 0;
  // Under set_context::schema_id.
  std::unordered_map<std::uint64_t, noted_set> noted_;
  // Under the log's numbers of sessions.
  std::unordered_map<std::int32_t, earlier_session> shown_;
  // The one that worked last.
  earlier_session* latest_ = nullptr;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_COUNTER_H
