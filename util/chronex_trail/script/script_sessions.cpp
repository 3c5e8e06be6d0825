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
  cells_.begin(session);
  cells_.bind(2, session_id);
  return cells_;
}

void script_sessions::end() {
  waiting_row& row = waiting_[session_];
  cells_.append_row(row.text, COLUMNS_BEFORE_WORK);
  kept_ += sizeof row + row.text.capacity();
}

void script_sessions::worked(std::int64_t session, std::int64_t n) {
  const auto found = waiting_.find(session);
  if (found == waiting_.end()) return;
  if (found->second.first_n == 0) found->second.first_n = n;
  found->second.last_n = n;
}

void script_sessions::signed_off(std::int64_t session, std::int64_t n) {
  const auto found = waiting_.find(session);
  if (found == waiting_.end()) return;
  found->second.signed_off_n = n;
  signed_off_.push_back(session);
}

void script_sessions::write(const waiting_row& row) {
  const row_marks& marks = syntax_.marks();
  std::string text = row.text;
  for (const std::int64_t n : {row.first_n, row.last_n, row.signed_off_n}) {
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
  kept_ -= sizeof found->second + found->second.text.capacity();
  waiting_.erase(found);
}

void script_sessions::input_begins() {
  if (kept_ < KEPT_BYTES) return;
  for (const std::int64_t session : signed_off_) release(session);
  signed_off_.clear();
}

void script_sessions::finish() {
  for (const auto& [session, row] : waiting_) write(row);
  waiting_.clear();
}
