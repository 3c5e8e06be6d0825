// Sign-ons, sign-offs and memos on their way to the outputs.

#include <utility>

#include "util/chronex/trail/trail.h"

namespace {

std::span<const std::uint8_t> memo_text(const memo_slot& slot) {
  return slot.data.bytes().first(static_cast<std::size_t>(slot.size));
}

void note_pending_memos(session_entry& entry) {
  entry.may_have_pending_memo =
      entry.dbbegin_end.pending || entry.dbmemo.pending;
}

}  // namespace

int trail::session_signed_off(std::int32_t session_id) {
  session_entry* entry = sessions.session_get_entry(session_id);
  if (entry == nullptr) return 0;
  int result = 0;
  if (!entry->signed_off && entry->sign_off_due) {
    result = write_session_sign_off(*entry);
  }
  entry->sign_off_due = false;
  entry->signed_off = true;
  return result;
}

int trail::write_session_sign_on(session_entry& entry, sign_on_caller caller) {
  if (f_skip_action) return 0;
  std::uint32_t bit = 1;
  for (trail_output* output : outputs()) {
    if ((entry.shown_by & bit) == 0) {
      const sign_on_result result = output->sign_on(entry, caller, place);
      if (result == sign_on_result::failed) return -1;
      if (result == sign_on_result::shown) {
        entry.sign_off_due = true;
        entry.shown_by |= bit;
      }
    }
    bit <<= 1U;
  }
  return 0;
}

int trail::write_session_sign_off(const session_entry& entry) {
  if (f_skip_action) return 0;
  for (trail_output* output : outputs()) {
    if (output->sign_off(entry, place) != 0) return -1;
  }
  return 0;
}

int trail::tell_memo(const memo_view& memo) {
  for (trail_output* output : outputs()) {
    if (output->memo(memo) != 0) return -1;
  }
  return 0;
}

int trail::write_session_memo(const session_entry& entry, memo_slot& slot,
                              bool held_back) {
  if (!slot.pending) return 0;
  if (tell_memo({.session = entry,
                 .text = memo_text(slot),
                 .mode = slot.mode,
                 .held_back = held_back,
                 .timestamp = slot.timestamp,
                 .place = slot.place}) != 0) {
    return -1;
  }
  slot.pending = false;
  return 0;
}

int trail::write_session_dbbegin_end(session_entry& entry) {
  const int result = write_session_memo(entry, entry.dbbegin_end, false);
  note_pending_memos(entry);
  return result;
}

int trail::write_session_dbmemo(session_entry& entry) {
  const int result = write_session_memo(entry, entry.dbmemo, false);
  note_pending_memos(entry);
  return result;
}

int trail::write_pending_session_memo(session_entry& entry) {
  if (write_session_memo(entry, entry.dbbegin_end, true) != 0) return -1;
  if (write_session_memo(entry, entry.dbmemo, true) != 0) return -1;
  entry.may_have_pending_memo = false;
  return 0;
}

int trail::process_memo(session_entry& session, memo_event memo) {
  const bool is_transaction =
      memo.mode == MEMO_DBBEGIN || memo.mode == MEMO_DBEND;
  if (is_transaction) {
    session_set_dbbegin_end(session, std::move(memo.text), memo.size, memo.mode,
                            memo.timestamp, place);
    session_set_dbmemo(session, {}, 0, 0);
  } else if (memo.mode == MEMO_DBMEMO) {
    session_set_dbmemo(session, std::move(memo.text), memo.size, memo.timestamp,
                       place);
  }

  const event_selection selection =
      filter_.select_event({.session = &session, .timestamp = memo.timestamp});
  if (selection == event_selection::failed) return tell_filter_failure();
  if (selection == event_selection::rejected) return 0;
  if (write_session_sign_on(session, sign_on_caller::memo) != 0) return -1;
  if (is_transaction) return write_session_dbbegin_end(session);
  if (memo.mode == MEMO_DBMEMO) return write_session_dbmemo(session);
  return tell_memo(
      {.session = session,
       .text = memo.text.bytes().first(static_cast<std::size_t>(memo.size)),
       .mode = memo.mode,
       .stored = false,
       .timestamp = memo.timestamp,
       .place = place});
}
