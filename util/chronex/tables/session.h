#ifndef CHRONEX_UTIL_CHRONEX_TABLES_SESSION_H
#define CHRONEX_UTIL_CHRONEX_TABLES_SESSION_H

// The table of client sessions, from sign-on to sign-off.
//
// It lives for the whole run: a session that signs on in one input file and
// works in the next is the same entry.

#include <cstdint>
#include <memory>
#include <span>

#include "common/id_table.h"
#include "common/owned_bytes.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/tables/event_place.h"

// Memo modes: character codes of the letters b, e and m.
inline constexpr std::uint32_t MEMO_DBBEGIN = 98;
inline constexpr std::uint32_t MEMO_DBEND = 101;
inline constexpr std::uint32_t MEMO_DBMEMO = 109;

// One stored memo of a session.
struct memo_slot {
  // The text, followed by one zero byte that `size` does not count.
  owned_bytes data;
  std::int32_t size = 0;
  std::uint32_t mode = 0;
  // Seconds since the epoch.
  std::uint32_t timestamp = 0;
  // Stored, but not yet told to the outputs.
  bool pending = false;
  // Where it stood in the inputs.
  event_place place;
};

// What a filter has found out about a session's sign-on data, one bit for each
// of its tests on them. Sign-on data may be large, and neither they nor the
// filter change, so each test is made once.
struct sign_on_verdicts {
  // The filter whose tests these are, null: none's. It is held so that no other
  // filter can come to have its address.
  std::shared_ptr<const void> filter;
  std::uint64_t known = 0;  // the tests that were made
  std::uint64_t holds = 0;  // those of them that hold
};

// What every operation looks at comes first and lies in one cache line: with
// many sessions the wait for a second one would cost more than all the rest.
struct alignas(CACHE_LINE) session_entry {
  std::int32_t session_id = 0;
  // The outputs that have shown this sign-on, a bit each.
  std::uint32_t shown_by = 0;
  // False: neither memo is pending.
  bool may_have_pending_memo = true;
  // Some output has shown a sign-on, so the sign-off must be shown, too.
  bool sign_off_due = false;
  // Signed off: removed at the next session_cleanup.
  bool signed_off = false;
  // Actions were lost behind its sign-on, or together with it. It may have
  // signed off since, and another may have its number.
  bool is_uncertain = false;
  // Connection time in seconds since the epoch; 0 = unknown.
  std::uint32_t conntime = 0;
  // Another whenever dbbegin_end is another: who watches transactions need not
  // look at that.
  std::uint32_t transaction_memos = 0;
  // The output's, if one keeps something of its own for each session: where
  // that is; 0 = nowhere. At most one output of a run does.
  mutable std::uint32_t output_number = 0;
  // Different for every sign-on registered in a run, and never 0: what is
  // derived from sign-on data can be kept under it.
  std::uint64_t sign_on_id = 0;
  // Emptied when the sign-on data change.
  mutable sign_on_verdicts verdicts;

  // See sign_on_data.h.
  owned_bytes sign_on;
  // Id of the character set of the sign-on data: that of the input that they
  // were read from; -1 = none is known.
  int charset = -1;
  // The latest DBBEGIN or DBEND memo, and the latest DBMEMO.
  memo_slot dbbegin_end;
  memo_slot dbmemo;
};

class session_table {
 public:
  explicit session_table(run_messages& messages) : messages_(messages) {}

  // Returns the entry of a session, which stays the table's, or null.
  session_entry* session_get_entry(std::int32_t session_id) {
    return session_hash_.find(session_id);
  }

  // Registers a sign-on and takes over its data (none for a sign-on without
  // data). Changed data for a known session make it be shown again. Without
  // memory the sign-on is dropped with a message and the run goes on. Returns
  // the entry if it is new or has changed, else null.
  session_entry* session_add_entry(std::int32_t session_id,
                                   owned_bytes sign_on);

  // Removes all sessions that have signed off. Each is shown to `forget`
  // before.
  template <typename Forget>
  void session_cleanup(Forget forget) {
    session_hash_.remove_if([&forget](const session_entry& entry) {
      if (entry.signed_off) forget(entry);
      return entry.signed_off;
    });
  }

  // Calls `visit` with every session, in no particular order.
  template <typename Visit>
  void for_each(Visit visit) {
    session_hash_.for_each(visit);
  }

  // The latest session_entry::sign_on_id. To be set where sessions of an
  // earlier run go on, so that new ones get numbers of their own.
  std::uint64_t last_sign_on_id() const { return last_sign_on_id_; }
  void set_last_sign_on_id(std::uint64_t id) { last_sign_on_id_ = id; }

  // Actions were lost: no session is certain any more, and what they said last
  // is forgotten.
  void make_uncertain();

 private:
  session_entry* new_entry(std::int32_t session_id);

  run_messages& messages_;
  id_table<session_entry> session_hash_;
  std::uint64_t last_sign_on_id_ = 0;
};

// Store a memo as pending. `text` (taken over) holds `size` bytes and one zero
// byte more; a size below 1 clears the slot. Time stamps are seconds since the
// epoch.
void session_set_dbbegin_end(session_entry& entry, owned_bytes text,
                             std::int32_t size, std::uint32_t mode,
                             std::uint32_t timestamp,
                             const event_place& place = {});
void session_set_dbmemo(session_entry& entry, owned_bytes text,
                        std::int32_t size, std::uint32_t timestamp,
                        const event_place& place = {});

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_SESSION_H
