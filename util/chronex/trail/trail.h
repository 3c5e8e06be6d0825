#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_TRAIL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_TRAIL_H

// What a run knows, and what it does with what happens.
//
// The readers register sessions, data sets and pending images in the tables and
// hand over what happens: sign-offs, memos, operations, notices. The trail
// filters it and tells the outputs. A session or data set is told only once
// something of it passes the filter, so that a narrow trail still names every
// session that took part, and none that did not.
//
// Operations that return an int return 0, or -1 after a failure that ends the
// input file; its message has been printed.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "common/owned_bytes.h"
#include "util/chronex/filter/filter.h"
#include "util/chronex/filter/name_check.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex/trail/output.h"

// A memo on its way from an input into its session.
struct memo_event {
  // The text, followed by one zero byte that `size` does not count; none when
  // size is 0.
  owned_bytes text{};
  std::int32_t size = 0;
  std::uint32_t mode = 0;
  // Seconds since the epoch.
  std::uint32_t timestamp = 0;
};

class trail {
 public:
  // Both are the run's and outlive the trail.
  trail(run_messages& run_messages, run_filter& filter)
      : messages(run_messages), filter_(filter) {}
  trail(const trail&) = delete;
  trail& operator=(const trail&) = delete;

  run_messages& messages;
  session_table sessions{messages};
  node_table nodes{messages};
  image_table images{messages};
  // Quiet mode: set while the forward-log reader passes over actions that it
  // has already processed. Tables are kept up to date as usual, but sign-ons,
  // sign-offs, schemas and operations go to no output.
  bool f_skip_action = false;
  // Where what happens stands.
  event_place place;

  // What the run knows is to be written down: of what was deciphered the
  // readers keep the stored form, too.
  bool keeps_stored = false;

  // Adds an output (at most MAX_OUTPUTS), which stays the caller's and is told
  // everything from now on, after those that were added before.
  static constexpr std::size_t MAX_OUTPUTS = 31;
  void add_output(trail_output& output);

  // Puts an output in the place of another, which has shown what it has.
  void replace_output(trail_output& old, trail_output& output);

  // The turn of an input begins and ends.
  int file_begins(const input_file& file);
  int file_accepted(const input_file& file);
  void file_ends();
  // Forgets the sessions that have signed off.
  void session_cleanup();
  // An action or record has been dealt with, whatever came of it. The outputs
  // are told only while someone watches them.
  bool watched = false;
  // Before this place of the present input there is nothing to be seen; 0 when
  // an input begins.
  std::uint64_t watched_from = 0;
  void action_done() {
    if (watched && place.file->stream.position() >= watched_from) {
      tell_action_done();
    }
  }
  // How far that place is from where the present input is read.
  std::uint64_t bytes_to_watched_place() const {
    const std::uint64_t position = place.file->stream.position();
    if (!watched) return std::numeric_limits<std::uint64_t>::max();
    return watched_from - std::min(watched_from, position);
  }

  // Register sessions and nodes in the tables, as these do, with the character
  // set of the present input, and let the check of names see them.
  void session_add_entry(std::int32_t session_id, owned_bytes sign_on);
  void node_add_entry(std::int32_t node_id, int type, std::string_view name,
                      std::int32_t db_node_id,
                      std::unique_ptr<set_context> set);

  // Actions were lost. Sessions and data sets that are known may have changed
  // meanwhile, what sessions said and images that wait may have had their
  // operation.
  void actions_lost();
  bool has_lost_actions = false;
  // Registers a session whose sign-on is lost. Null without memory.
  session_entry* assume_session(std::int32_t session_id);

  // What looks for names that no input has; null: nothing does.
  name_check* names = nullptr;

  // Registers a sign-off; unknown sessions are ignored.
  int session_signed_off(std::int32_t session_id);

  // Makes the memo its session's latest of its kind, whatever the filter says
  // of it, then filters it and tells it with the session's sign-on. Memos of
  // other modes than the three are only shown.
  int process_memo(session_entry& session, memo_event memo);

  // Filters an operation and, if it is selected, tells it after what must come
  // first: the session's sign-on, the data set's schema, and the session's
  // memos that were held back.
  int write_image_op(const image_operation& operation);

  // Whether operations need not be made known one by one: no filter looks at
  // them, they are not passed over, and all outputs only count them.
  bool only_counts_operations() const {
    return only_counts_ && !f_skip_action && !filter_.has_filter_expr();
  }
  // Whether the operations of these need nothing told before them.
  bool is_all_told(const session_entry& session, const node_entry& node) const {
    return session.shown_by == all_outputs() &&
           !session.may_have_pending_memo && !node.context_pending;
  }
  // So many operations have been that need not be made known one by one, and
  // need nothing told before them.
  void count_operations(std::uint64_t count);

  // Tell the outputs what they have not shown yet.
  int write_session_sign_on(session_entry& entry, sign_on_caller caller);
  int write_session_sign_off(const session_entry& entry);
  // One memo if it is pending. A held-back memo is one that an operation
  // releases.
  int write_session_memo(const session_entry& entry, memo_slot& slot,
                         bool held_back);
  int write_session_dbbegin_end(session_entry& entry);
  int write_session_dbmemo(session_entry& entry);
  // Both slots, DBBEGIN/DBEND first, as held back.
  int write_pending_session_memo(session_entry& entry);
  // A node's schema if that is still due.
  int write_node_context(node_entry& entry);

  // Tells the outputs of something about the inputs, at the present place. An
  // output that cannot take it ends the run (run_failed).
  void notice(trail_notice what);
  // The same for a notice that is no more than its audit comment.
  void notice(notice_kind kind, const std::string& comment);
  // Hands on the comment of an audit file.
  int comment(std::string_view text);

 private:
  std::span<trail_output* const> outputs() const {
    return std::span(output_slots_).first(output_count_);
  }
  // The bits of all outputs in session_entry::shown_by.
  std::uint32_t all_outputs() const {
    return (std::uint32_t{1} << output_count_) - 1;
  }
  void note_outputs();
  void tell_action_done();
  // Always -1.
  int tell_filter_failure();
  int tell_memo(const memo_view& memo);
  int write_prerequisites(const image_operation& operation);

  run_filter& filter_;
  std::array<trail_output*, MAX_OUTPUTS> output_slots_{};
  std::size_t output_count_ = 0;
  bool only_counts_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_TRAIL_H
