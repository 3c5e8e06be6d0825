#ifndef CHRONEX_UTIL_CHRONEX_TABLES_SESSION_H
#define CHRONEX_UTIL_CHRONEX_TABLES_SESSION_H

// The table of client sessions, from sign-on to sign-off.
//
// A session is shown in the report and written to the audit file only once
// something of it passes the filter, so that a narrow audit trail still names
// every session that took part, and none that did not. The table lives for the
// whole run: a session that signs on in one input file and works in the next is
// the same entry.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/owned_bytes.h"

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
  // Stored, but not yet reported and written.
  bool pending = false;
};

// What a filter has found in a session's sign-on data under a name; no value
// when there is no such attribute.
struct looked_up_attribute {
  std::string name;
  std::optional<std::string> value;
};

// Sign-on data as it stands in the forward log, in memory and in the audit
// file: a u16 number of strings, then for each a u16 length and that many
// bytes. The strings hold session attributes in the form key{value}; inside the
// braces a backslash makes the next character literal.
struct session_entry {
  std::unique_ptr<session_entry> next;
  std::uint32_t hash = 0;

  std::int32_t session_id = 0;
  owned_bytes sign_on;
  // Size of sign_on in bytes; 0 when there is none.
  std::uint32_t sign_on_sz = 0;
  // Sign-on data may be large, so each name is looked for once.
  mutable std::vector<looked_up_attribute> looked_up;
  // Connection time in seconds since the epoch; 0 = unknown.
  std::uint32_t conntime = 0;
  // The latest DBBEGIN or DBEND memo, and the latest DBMEMO.
  memo_slot dbbegin_end;
  memo_slot dbmemo;
  // The SIGN-ON line of this sign-on was printed.
  bool reported = false;
  // The sign-on record of this sign-on was written to the audit file.
  bool written = false;
  // A sign-on was printed or written, so the sign-off must be, too.
  bool sign_off_due = false;
  // Signed off: removed at the next session_cleanup.
  bool signed_off = false;
};

// Returns the entry of a session, which stays the table's, or null.
session_entry* session_get_entry(std::int32_t session_id);

// Registers a sign-on and takes over its data (none for a sign-on without
// data). Changed data for a known session make it be shown and written again.
// Without memory the sign-on is dropped with a message and the run goes on.
void session_add_entry(std::int32_t session_id, owned_bytes sign_on);

// Registers a sign-off; unknown sessions are ignored. Returns 0, or -1 when the
// sign-off record could not be written (the message has been printed).
int session_signed_off(std::int32_t session_id);

// Store a memo as pending. `text` (taken over) holds `size` bytes and one zero
// byte more; a size below 1 clears the slot.
void session_set_dbbegin_end(session_entry& entry, owned_bytes text,
                             std::int32_t size, std::uint32_t mode,
                             std::uint32_t timestamp);
void session_set_dbmemo(session_entry& entry, owned_bytes text,
                        std::int32_t size, std::uint32_t timestamp);

// Removes all sessions that have signed off.
void session_cleanup();

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_SESSION_H
