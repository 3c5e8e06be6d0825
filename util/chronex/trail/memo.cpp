#include "util/chronex/trail/memo.h"

#include <utility>

#include "util/chronex/filter/selection.h"
#include "util/chronex/trail/session_write.h"

int process_memo(session_entry& session, memo_event memo) {
  const bool is_transaction =
      memo.mode == MEMO_DBBEGIN || memo.mode == MEMO_DBEND;
  if (is_transaction) {
    session_set_dbbegin_end(session, std::move(memo.text), memo.size, memo.mode,
                            memo.timestamp);
    session_set_dbmemo(session, {}, 0, 0);
  } else if (memo.mode == MEMO_DBMEMO) {
    session_set_dbmemo(session, std::move(memo.text), memo.size,
                       memo.timestamp);
  }

  const int selected =
      select_event({.session = &session, .timestamp = memo.timestamp});
  if (selected != EVENT_SELECTED) return selected;
  if (write_session_sign_on(session, sign_on_caller::memo) != 0) return -1;
  if (is_transaction) return write_session_dbbegin_end(session);
  if (memo.mode == MEMO_DBMEMO) return write_session_dbmemo(session);
  report_session_memo(
      session, memo.text.bytes().first(static_cast<std::size_t>(memo.size)),
      memo.mode, memo.timestamp);
  return 0;
}
