#include "util/chronex_trail/stats/session_tally.h"

#include <algorithm>
#include <utility>

#include "common/entry_index.h"
#include "util/chronex_trail/values/session_attributes.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

std::uint32_t hash_of(std::int32_t session_id) {
  return keyed_hash(static_cast<std::uint32_t>(session_id), 0, 0);
}

// The first characters of a text.
std::string_view beginning(std::string_view utf8, std::size_t characters) {
  const auto end = std::ranges::find_if(utf8, [&characters](char byte) {
    const bool is_first = (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    return is_first && characters-- == 0;
  });
  return {utf8.begin(), end};
}

}  // namespace

std::uint32_t session_tally::position_of(std::int32_t session_id) const {
  return index_.find(hash_of(session_id),
                     [this, session_id](std::uint32_t position) {
                       return states_[position].session_id == session_id;
                     });
}

std::uint32_t session_tally::name_number(name_tally& names,
                                         const session_entry& session,
                                         std::string_view key, int charset) {
  const auto pair = find_session_attribute(session.sign_on.bytes(), key);
  if (!pair) return names.number_of(std::nullopt);
  const std::string value = unescaped(pair->value);
  return names.number_of(
      decode_text(value, character_table_of(charset), scratch_).utf8);
}

session_tally::session_state session_tally::new_state(
    const session_entry& session, const event_place& place) {
  const int charset = charset_at(place);
  return {.sign_on_id = session.sign_on_id,
          .session_id = session.session_id,
          .worker = {name_number(users_, session, "user", charset),
                     name_number(programs_, session, "program", charset),
                     name_number(hosts_, session, "host", charset)},
          .connected = session.conntime};
}

// A number that another session had is that of this one now.
std::uint32_t session_tally::find_state(const session_entry& session,
                                        const event_place& place) {
  std::uint32_t position = position_of(session.session_id);
  if (position == position_index::NONE) {
    position = static_cast<std::uint32_t>(states_.size());
    states_.push_back(new_state(session, place));
    index_.insert(hash_of(session.session_id), position);
  } else if (states_[position].sign_on_id != session.sign_on_id) {
    end(states_[position]);
    states_[position] = new_state(session, place);
  }
  return position;
}

session_tally::session_state& session_tally::state_of(
    const session_entry& session, const event_place& place) {
  recent_state& recent = recent_[session.sign_on_id % RECENT];
  if (recent.sign_on_id != session.sign_on_id) {
    recent = {session.sign_on_id, &states_[find_state(session, place)]};
  }
  return *recent.state;
}

void session_tally::sign_on(const session_entry& session,
                            const event_place& place) {
  const worker_numbers worker = state_of(session, place).worker;
  ++figures_.session_count;
  ++users_.at(worker.user).sessions;
  ++programs_.at(worker.program).sessions;
  ++hosts_.at(worker.host).sessions;
}

void session_tally::sign_off(const session_entry& session) {
  const std::uint32_t position = position_of(session.session_id);
  if (position == position_index::NONE) return;
  session_state& state = states_[position];
  state.leaves = true;
  // What signs off may be a later sign-on under that number, which was not
  // shown.
  if (state.sign_on_id != session.sign_on_id) return;
  state.signed_off = true;
  ++figures_.signed_off_count;
}

// Transactions would also be found to have ended at the next change; until then
// they would only take memory.
void session_tally::memo(const memo_view& memo) {
  if (memo.mode != MEMO_DBBEGIN && memo.mode != MEMO_DBEND) return;
  const std::uint32_t position = position_of(memo.session.session_id);
  if (position != position_index::NONE) close_transaction(states_[position]);
}

void session_tally::add(const image_operation& operation,
                        const event_place& place) {
  session_state& state = state_of(operation.session, place);
  state.leaves = operation.session.signed_off;
  state.changes.add(operation.op, operation.timestamp);
  enter_transaction(state, operation.session);
  if (!state.transaction) return;
  open_transaction& transaction = *state.transaction;
  transaction.changes.add(operation.op, operation.timestamp);
  if (!transaction.text &&
      transactions_.takes(
          {transaction.changes.count.total(), transaction.order})) {
    keep_text(transaction, operation.session.dbbegin_end);
  }
}

// What the session last said of its transaction tells which one it is in.
void session_tally::enter_transaction(session_state& state,
                                      const session_entry& session) {
  const memo_slot& slot = session.dbbegin_end;
  const bool is_in_one = slot.size > 0 && slot.mode == MEMO_DBBEGIN;
  if (state.transaction) {
    const open_transaction& open = *state.transaction;
    if (is_in_one && open.number == slot.place.number &&
        open.file == slot.place.file) {
      return;
    }
    close_transaction(state);
  }
  if (!is_in_one) return;
  state.transaction = std::make_unique<open_transaction>(
      open_transaction{.file = slot.place.file,
                       .number = slot.place.number,
                       .begun = slot.timestamp,
                       .order = ++figures_.transaction_count});
}

void session_tally::keep_text(open_transaction& transaction,
                              const memo_slot& slot) {
  const auto bytes =
      slot.data.bytes().first(static_cast<std::size_t>(slot.size));
  const int charset = charset_at(slot.place);
  transaction.text = std::make_unique<std::string>(
      decode_text(bytes, character_table_of(charset), scratch_).utf8);
}

void session_tally::close_transaction(session_state& state) {
  if (!state.transaction) return;
  const std::unique_ptr<open_transaction> open = std::move(state.transaction);
  const top_rank rank{open->changes.count.total(), open->order};
  if (!open->text || !transactions_.takes(rank)) return;
  const std::string_view text =
      beginning(*open->text, transaction_figures::MAX_TEXT);
  transactions_.add(rank, {.sign_on_id = state.sign_on_id,
                           .session_id = state.session_id,
                           .worker = state.worker,
                           .begun = open->begun,
                           .input = input_of(open->file),
                           .number = open->number,
                           .text = std::string(text),
                           .text_cut = text.size() < open->text->size(),
                           .changes = open->changes});
}

std::size_t session_tally::input_of(const input_file* file) const {
  const auto found = std::ranges::find(files_, file);
  return found == files_.end()
             ? NO_INPUT
             : static_cast<std::size_t>(found - files_.begin());
}

void session_tally::end(session_state& state) {
  close_transaction(state);
  const std::uint64_t total = state.changes.count.total();
  if (total == 0) return;
  ++figures_.working_session_count;
  users_.at(state.worker.user).changes.add(state.changes);
  programs_.at(state.worker.program).changes.add(state.changes);
  hosts_.at(state.worker.host).changes.add(state.changes);
  const top_rank rank{total, state.sign_on_id};
  if (!sessions_.takes(rank)) return;
  sessions_.add(rank, {.sign_on_id = state.sign_on_id,
                       .session_id = state.session_id,
                       .worker = state.worker,
                       .connected = state.connected,
                       .changes = state.changes,
                       .signed_off = state.signed_off});
}

void session_tally::file_ends() {
  const auto gone = std::erase_if(states_, [this](session_state& state) {
    if (state.leaves) end(state);
    return state.leaves;
  });
  if (gone == 0) return;
  recent_ = {};
  index_.clear();
  for (std::uint32_t i = 0; i < states_.size(); ++i) {
    index_.insert(hash_of(states_[i].session_id), i);
  }
}

void session_tally::end() {
  for (session_state& state : states_) end(state);
  states_.clear();
  figures_.transactions = transactions_.take();
  figures_.sessions = sessions_.take();
}
