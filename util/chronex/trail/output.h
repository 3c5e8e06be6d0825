#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_OUTPUT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_OUTPUT_H

// What a run tells its outputs.
//
// An output is a guest of the trail: it hears of everything that passed the
// filter, in the order of the trail, and knows nothing of how it was found.
// Pairing, quiet mode, memos that are held back and the filter stand before it,
// once for all outputs. An operation comes behind all that it needs: the
// session's sign-on, the data set's schema, and the session's pending memos.
//
// All that a call hands over is borrowed for the time of the call. Calls that
// return an int return 0, or -1 after a failure that ends the run; the message
// has been printed.

#include <cstdint>
#include <span>
#include <string_view>

#include "util/chronex/tables/event_place.h"
#include "util/chronex/tables/record_image.h"

struct input_file;
struct node_entry;
struct session_entry;

// What asks for a session's sign-on to be shown.
enum class sign_on_caller { image_operation, memo };

// What an output did with a sign-on.
enum class sign_on_result { not_shown, shown, failed };

// A memo on its way out.
struct memo_view {
  const session_entry& session;
  std::span<const std::uint8_t> text;
  // MEMO_DBBEGIN, MEMO_DBEND, MEMO_DBMEMO, or any other number, of which
  // `stored` is false: such a memo is shown, but is no part of the trail.
  std::uint32_t mode = 0;
  bool stored = true;
  // An operation released it: the filter had kept it back.
  bool held_back = false;
  // Seconds since the epoch.
  std::uint32_t timestamp = 0;
  // Where it stood in the inputs.
  event_place place{};
};

// One operation on one record.
struct image_operation {
  session_entry& session;
  // It has a schema.
  node_entry& node;
  // The schema's layout_id; 0: not at hand.
  std::uint32_t layout_id = 0;
  record_image before{};
  record_image after{};
  // The encrypted items of that image have fill values, for want of a key.
  bool before_sealed = false;
  bool after_sealed = false;
  // Seconds since the epoch, of the operation's first part.
  std::uint32_t timestamp = 0;
  // OP_UPDATE, OP_PUT or OP_DELETE.
  int op = 0;
  std::uint32_t recno = 0;
};

// Something about the inputs that a reader of the trail must know.
enum class notice_kind {
  // Numbers that are missing: found, expected and missing are set.
  missing_generations,
  missing_files,
  missing_actions,
  // Numbers that were processed before, and are passed over: found and expected
  // are set.
  repeated_generation,
  repeated_file,
  repeated_actions,
  // What the inputs have lost.
  unexpected_end,
  damaged_compression,
  bad_format,
  // Bytes that were passed over: from and to are set, and found, expected and
  // missing, of which found is 0 if nothing was found behind them.
  damaged_bytes,
  unknown_set,
  file_changed,
  malformed_record,
  short_image,
  malformed_sign_on,
  // What else there is to say.
  server_abort,
  role_change,
  old_version,
  character_set,
  ignored_key,
  filter_failed,
};

struct trail_notice {
  notice_kind kind;
  event_place place{};
  std::uint32_t found = 0;
  std::uint32_t expected = 0;
  std::uint32_t missing = 0;
  // Offsets in the input as it is when decompressed.
  std::uint64_t from = 0;
  std::uint64_t to = 0;
  // What the later reader of an audit file is told: one of the leads below, and
  // what happened as a sentence. Empty: nothing.
  std::string_view comment{};
  // What happened, where there is no comment.
  std::string_view problem{};

  // The sentence alone.
  std::string_view text() const;
};

inline constexpr std::string_view WARNING_LEAD =
    "WARNING: while the original forward-log was processed, ";
inline constexpr std::string_view NOTE_LEAD =
    "NOTE: while the original forward-log was processed, ";

class trail_output {
 public:
  trail_output() = default;
  trail_output(const trail_output&) = delete;
  trail_output& operator=(const trail_output&) = delete;
  virtual ~trail_output() = default;

  // An input's turn has come; its header says what `file` says.
  virtual int file_begins(const input_file& /*file*/) { return 0; }
  // It is of a version that can be processed.
  virtual int file_accepted(const input_file& /*file*/) { return 0; }
  // A sign-on that this output has not shown yet. `place` is that of the
  // operation or memo that asks for it.
  virtual sign_on_result sign_on(const session_entry& /*session*/,
                                 sign_on_caller /*caller*/,
                                 const event_place& /*place*/) {
    return sign_on_result::not_shown;
  }
  // The sign-off of a session whose sign-on some output has shown.
  virtual int sign_off(const session_entry& /*session*/,
                       const event_place& /*place*/) {
    return 0;
  }
  // The schema of a data set, before the first operation on it and again when
  // it has changed.
  virtual int schema(const node_entry& /*node*/, const event_place& /*place*/) {
    return 0;
  }
  virtual int memo(const memo_view& /*memo*/) { return 0; }
  virtual int operation(const image_operation& /*operation*/,
                        const event_place& /*place*/) {
    return 0;
  }
  // Whether this output takes no more of an operation than that there was one.
  // Then those that need nothing told before them may come as a number.
  virtual bool only_counts_operations() const { return false; }
  virtual void count_operations(std::uint64_t /*count*/) {}
  virtual int notice(const trail_notice& /*notice*/) { return 0; }
  // The comment of an audit file that is an input.
  virtual int comment(std::string_view /*text*/, const event_place& /*place*/) {
    return 0;
  }
  // An action or record has been dealt with, whatever came of it. Told only
  // where someone watches the outputs as they grow.
  virtual void action_done() {}
  // An input has been processed as far as it goes.
  virtual void file_ends() {}
  // A session that has signed off is forgotten.
  virtual void session_ends(const session_entry& /*session*/) {}
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_OUTPUT_H
