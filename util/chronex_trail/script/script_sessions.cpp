#include "util/chronex_trail/script/script_sessions.h"

script_sessions::script_sessions(const script_syntax& syntax,
                                 script_blocks& blocks, const table_form& table)
    : syntax_(syntax),
      blocks_(blocks),
      block_begin_(syntax.block_begin(table)),
      cells_(syntax, table) {}

row_writer& script_sessions::begin(std::int64_t session,
                                   std::int32_t session_id) {
  const auto known = current_.find(session_id);
  if (known != current_.end()) release(known->second);
  current_[session_id] = session;
  session_ = session;
  session_id_ = session_id;
  cells_.begin(session);
  cells_.bind(2, session_id);
  return cells_;
}

void script_sessions::end() {
  waiting_row& row = waiting_[session_];
  row.session_id = session_id_;
  cells_.append_row(row.text, COLUMNS_BEFORE_WORK);
  kept_ += sizeof row + row.text.capacity();
}

void script_sessions::worked(std::int64_t session, std::int64_t n) {
  const auto found = waiting_.find(session);
  if (found == waiting_.end()) return;
  session_work& work = found->second.work;
  if (work.first_n == 0) work.first_n = n;
  work.last_n = n;
}

void script_sessions::signed_off(std::int64_t session, std::int64_t n) {
  const auto found = waiting_.find(session);
  if (found == waiting_.end()) return;
  found->second.work.signed_off_n = n;
  signed_off_.push_back(session);
}

void script_sessions::resume(std::int64_t session, const session_work& work) {
  waiting_[session].work = work;
  if (work.signed_off_n != 0) signed_off_.push_back(session);
}

void script_sessions::write(const waiting_row& row) {
  const row_marks& marks = syntax_.marks();
  std::string text = row.text;
  for (const std::int64_t n :
       {row.work.first_n, row.work.last_n, row.work.signed_off_n}) {
    text += marks.between_values;
    text += n == 0 ? std::string(marks.null) : std::to_string(n);
  }
  text += marks.end;
  blocks_.add(cells_.table().name, block_begin_, text);
}

void script_sessions::release(std::int64_t session) {
  const auto found = waiting_.find(session);
  if (found == waiting_.end()) return;
  write(found->second);
  forget(session);
}

void script_sessions::forget(std::int64_t session) {
  const auto found = waiting_.find(session);
  if (found == waiting_.end()) return;
  kept_ -= sizeof found->second + found->second.text.capacity();
  waiting_.erase(found);
}

void script_sessions::input_begins(const work_test& works) {
  if (kept_ < KEPT_BYTES) return;
  std::erase_if(signed_off_, [&](std::int64_t session) {
    const auto found = waiting_.find(session);
    if (found == waiting_.end()) return true;
    if (works(found->second.session_id, session)) return false;
    release(session);
    return true;
  });
}

void script_sessions::finish() {
  for (const auto& [session, row] : waiting_) write(row);
  waiting_.clear();
}
