#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SESSION_WRITE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SESSION_WRITE_H

// What is shown and written of a session.

#include "util/chronex/tables/session.h"
#include "util/chronex/trail/output.h"

// The writers below report to the clear-text report and write to the audit
// file, whichever of the two are on. They return 0, or -1 when the audit file
// could not be written (the message has been printed).

// Shows and writes the sign-on once.
int write_session_sign_on(session_entry& entry, sign_on_caller caller);
// Shows and writes the sign-off.
int write_session_sign_off(const session_entry& entry);
// Shows and writes one memo if it is pending. A held-back memo is one that an
// operation releases: it is shown only where operations are shown.
int write_session_memo(const session_entry& entry, memo_slot& slot,
                       bool held_back);
int write_session_dbbegin_end(session_entry& entry);
int write_session_dbmemo(session_entry& entry);
// Both slots, DBBEGIN/DBEND first, as held back.
int write_pending_session_memo(session_entry& entry);

// Prints one MEMO entry if memos are reported. `text` is borrowed.
void report_session_memo(const session_entry& entry,
                         std::span<const std::uint8_t> text, std::uint32_t mode,
                         std::uint32_t timestamp);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SESSION_WRITE_H
