#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_JSON_OUTPUT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_JSON_OUTPUT_H

// The trail as JSON Lines: one event a line. doc/json-events.md describes the
// events. Each stands for itself, but for values whose meaning its data set's
// schema event tells.

#include <cstdint>
#include <string_view>

#include "util/chronex/messages/messages.h"
#include "util/chronex/state/state_bytes.h"
#include "util/chronex/trail/output.h"
#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/files/split_directory.h"
#include "util/chronex_trail/json/event_line.h"
#include "util/chronex_trail/json/record_text.h"
#include "util/chronex_trail/json/session_piece.h"
#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/values/utc_time.h"
#include "util/chronex_trail/values/utf8_text.h"

class json_output : public trail_output {
 public:
  // All stay the caller's. `listed` narrows what is shown of records; null:
  // nothing does.
  json_output(run_messages& messages, byte_sink& sink,
              const item_name_list* listed);

  // From now on, changes go to files of their own, `directory` being the sink:
  // dataset=SHOP.CUSTOMER/day=2026-03-02/NAME, the day in UTC. Both stay the
  // caller's.
  void split(split_directory& directory, std::string_view name);

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

  // Hands everything to the sink. Returns 0, or -1 after a failed write.
  int flush() { return line_.flush(); }
  // Hands all events to the system, and what the sink has collected of them.
  // Returns 0, or -1 after a failed write.
  int let_out();

  // What the next event depends on, of those before: the counters.
  void save(state_writer& state) const;
  // False when that cannot be read.
  [[nodiscard]] bool restore(state_reader& state);

  // Writes the event that ends a whole trail, and hands everything to the sink.
  // `status` is the run's exit status. Returns 0, or -1 after a failed write.
  int end(int status);

 private:
  void put_file(const input_file& file);
  void put_session(const session_entry& session);
  void put_sign_on(const session_entry& session);
  void put_schema(const node_entry& node, const event_place& place);
  void put_decoded(std::string_view key, std::string_view bytes,
                   const event_place& place);
  void put_memo_mode(std::uint32_t mode);

  // In change_event.cpp.
  void put_operation(const image_operation& operation,
                     const event_place& place);
  void put_slots(const session_entry& session);
  void put_images(const image_operation& operation, const set_piece& set,
                  const event_place& place);
  int put_change(const image_operation& operation, const event_place& place);
  void select_file(const image_operation& operation, const event_place& place);

  // In notice_event.cpp.
  void put_notice(const trail_notice& notice);
  void put_bytes(const trail_notice& notice);
  void put_numbers(const trail_notice& notice, std::string_view kind);

  run_messages& messages_;
  byte_sink& sink_;
  event_line line_;
  record_text record_;
  session_pieces sessions_;
  set_pieces sets_;
  text_scratch scratch_;
  // Null: all events go to one file.
  split_directory* directory_ = nullptr;
  std::string_view change_file_name_;
  utc_time change_day_;
  std::uint64_t changes_ = 0;
  std::uint64_t gaps_ = 0;
  std::uint64_t warnings_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_JSON_OUTPUT_H
