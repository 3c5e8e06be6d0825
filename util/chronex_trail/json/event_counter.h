#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_EVENT_COUNTER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_EVENT_COUNTER_H

// Counts the events that a json_output would write, and writes nothing: what
// the trail knows behind it is as behind a json_output.

#include <cstdint>

#include "util/chronex/state/state_bytes.h"
#include "util/chronex/trail/output.h"

class event_counter : public trail_output {
 public:
  int file_begins(const input_file& file) override;
  sign_on_result sign_on(const session_entry& session, sign_on_caller caller,
                         const event_place& place) override;
  int sign_off(const session_entry& session, const event_place& place) override;
  int schema(const node_entry& node, const event_place& place) override;
  int memo(const memo_view& memo) override;
  int operation(const image_operation& operation,
                const event_place& place) override;
  void count_operations(std::uint64_t count) override;
  int notice(const trail_notice& notice) override;
  int comment(std::string_view text, const event_place& place) override;

  // As json_output::save.
  void save(state_writer& state) const;
  // Reads that. False when it cannot be read.
  [[nodiscard]] bool restore(state_reader& state);

 private:
  std::uint64_t number_ = 0;
  std::uint64_t changes_ = 0;
  std::uint64_t gaps_ = 0;
  std::uint64_t warnings_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_EVENT_COUNTER_H
