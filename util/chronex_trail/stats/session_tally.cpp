#include "util/chronex_trail/stats/session_tally.h"

#include <algorithm>
#include <new>
#include <utility>

#include "util/chronex_trail/values/session_attributes.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

// The first characters of a text.
std::string_view beginning(std::string_view utf8, std::size_t characters) {
  const auto end = std::ranges::find_if(utf8, [&characters](char byte) {
    const bool is_first = (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    return is_first && characters-- == 0;
  });
  return {utf8.begin(), end};
}

}  // namespace

std::uint32_t session_tally::name_number(name_tally& names,
                                         const session_entry& session,
                                         std::string_view key) {
  const auto pair = find_session_attribute(session.sign_on.bytes(), key);
  if (!pair) return names.number_of(std::nullopt);
  const std::string value = unescaped(pair->value);
  return names.number_of(
      decode_text(value, character_table_of(session.charset), scratch_).utf8);
}

session_tally::session_state& session_tally::at(std::uint32_t number) const {
  return (*states_[number / BLOCK])[number % BLOCK];
}

std::uint32_t session_tally::new_number() {
  if (!free_numbers_.empty()) {
    const std::uint32_t number = free_numbers_.back();
    free_numbers_.pop_back();
    return number;
  }
  const auto number = static_cast<std::uint32_t>(origins_.size());
  if (number / BLOCK == states_.size()) {
    states_.push_back(std::make_unique<std::array<session_state, BLOCK>>());
    // So that there is room for each when it gets free.
    free_numbers_.reserve(states_.size() * BLOCK);
  }
  origins_.emplace_back();
  return number;
}

void session_tally::begin(std::uint32_t number, const session_entry& session) {
  origins_[number] = {.worker = {name_number(users_, session, "user"),
                                 name_number(programs_, session, "program"),
                                 name_number(hosts_, session, "host")},
                      .connected = session.conntime};
  at(number) = {.sign_on_id = session.sign_on_id,
                .transaction_memos = session.transaction_memos - 1,
                .session_id = session.session_id};
}

// Changed sign-on data are another sign-on.
std::uint32_t session_tally::number_of(const session_entry& session) {
  std::uint32_t number = session.output_number;
  if (number != 0 && at(number).sign_on_id == session.sign_on_id) return number;
  if (number != 0) {
    end(number);
  } else {
    number = new_number();
  }
  begin(number, session);
  session.output_number = number;
  return number;
}

void session_tally::sign_on(const session_entry& session) {
  const worker_numbers& worker = origins_[number_of(session)].worker;
  ++figures_.session_count;
  ++users_.at(worker.user).sessions;
  ++programs_.at(worker.program).sessions;
  ++hosts_.at(worker.host).sessions;
}

void session_tally::sign_off(const session_entry& session) {
  if (session.output_number == 0) return;
  session_state& state = at(session.output_number);
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
  const std::uint32_t number = memo.session.output_number;
  if (number != 0) close_transaction(number);
}

void session_tally::add(const image_operation& operation) {
  const session_entry& session = operation.session;
  const std::uint32_t number = number_of(session);
  session_state& state = at(number);
  state.changes.add(operation.op, operation.timestamp);
  if (state.transaction_memos != session.transaction_memos) {
    enter_transaction(number, session);
    state.transaction_memos = session.transaction_memos;
  }
  if (!state.transaction) return;
  open_transaction& transaction = *state.transaction;
  transaction.changes.add(operation.op, operation.timestamp);
  if (!transaction.text &&
      transactions_.takes(
          {transaction.changes.count.total(), transaction.order})) {
    keep_text(transaction, session.dbbegin_end);
  }
}

// What the session last said of its transaction tells which one it is in.
void session_tally::enter_transaction(std::uint32_t number,
                                      const session_entry& session) {
  close_transaction(number);
  const memo_slot& slot = session.dbbegin_end;
  if (slot.size <= 0 || slot.mode != MEMO_DBBEGIN) return;
  at(number).transaction = std::make_unique<open_transaction>(
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

void session_tally::close_transaction(std::uint32_t number) {
  session_state& state = at(number);
  if (!state.transaction) return;
  const std::unique_ptr<open_transaction> open = std::move(state.transaction);
  const top_rank rank{open->changes.count.total(), open->order};
  if (!open->text || !transactions_.takes(rank)) return;
  const std::string_view text =
      beginning(*open->text, transaction_figures::MAX_TEXT);
  transactions_.add(rank, {.sign_on_id = state.sign_on_id,
                           .session_id = state.session_id,
                           .worker = origins_[number].worker,
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

void session_tally::end(std::uint32_t number) {
  close_transaction(number);
  const session_state& state = at(number);
  const std::uint64_t total = state.changes.count.total();
  if (total == 0) return;
  const session_origin& origin = origins_[number];
  ++figures_.working_session_count;
  users_.at(origin.worker.user).changes.add(state.changes);
  programs_.at(origin.worker.program).changes.add(state.changes);
  hosts_.at(origin.worker.host).changes.add(state.changes);
  const top_rank rank{total, state.sign_on_id};
  if (!sessions_.takes(rank)) return;
  sessions_.add(rank, {.sign_on_id = state.sign_on_id,
                       .session_id = state.session_id,
                       .worker = origin.worker,
                       .connected = origin.connected,
                       .changes = state.changes,
                       .signed_off = state.signed_off});
}

void session_tally::session_ends(const session_entry& session) {
  const std::uint32_t number = session.output_number;
  if (number == 0) return;
  end(number);
  at(number) = {};
  session.output_number = 0;
  free_numbers_.push_back(number);
}

// The states of sessions that were forgotten are void.
void session_tally::end() {
  for (std::uint32_t number = 1; number < origins_.size(); ++number) {
    end(number);
  }
  states_.clear();
  figures_.transactions = transactions_.take();
  figures_.sessions = sessions_.take();
}
