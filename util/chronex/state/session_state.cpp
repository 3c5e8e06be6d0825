#include <cstring>
#include <utility>

#include "util/chronex/state/table_state.h"
#include "util/chronex/tables/sign_on_data.h"

namespace {

void save_place(const event_place& place, state_files& files,
                state_writer& state) {
  state.u32(files.number_of(place.file));
  state.u32(place.number);
}

event_place restore_place(const state_files& files, state_reader& state) {
  const input_file* const file = files.file(state.u32(), state);
  return {.file = file, .number = state.u32()};
}

void save_memo(const memo_slot& slot, state_files& files, state_writer& state) {
  const auto size = static_cast<std::size_t>(slot.size);
  state.bytes(slot.data.bytes().first(size));
  state.u32(slot.mode);
  state.u32(slot.timestamp);
  state.flag(slot.pending);
  save_place(slot.place, files, state);
}

bool restore_memo(const state_files& files, state_reader& state,
                  memo_slot& slot) {
  constexpr std::size_t MAX_SIZE = INT32_MAX - 1;
  const std::span<const std::uint8_t> text = state.bytes();
  slot.mode = state.u32();
  slot.timestamp = state.u32();
  slot.pending = state.flag();
  slot.place = restore_place(files, state);
  if (state.has_failed() || text.size() > MAX_SIZE) return false;
  if (text.empty()) {
    // A slot without text is an empty slot.
    slot = memo_slot();
    return true;
  }
  if (!slot.data.allocate_zeroed(text.size() + 1)) return false;
  std::memcpy(slot.data.data(), text.data(), text.size());
  slot.size = static_cast<std::int32_t>(text.size());
  return true;
}

void save_session(const session_entry& entry, state_files& files,
                  state_writer& state) {
  state.i32(entry.session_id);
  state.u64(entry.sign_on_id);
  state.bytes(entry.sign_on.bytes());
  state.u32(entry.shown_by);
  state.flag(entry.sign_off_due);
  state.flag(entry.signed_off);
  save_memo(entry.dbbegin_end, files, state);
  save_memo(entry.dbmemo, files, state);
}

bool restore_session(session_table& sessions, const state_files& files,
                     state_reader& state) {
  const std::int32_t session_id = state.i32();
  const std::uint64_t sign_on_id = state.u64();
  const std::span<const std::uint8_t> data = state.bytes();
  owned_bytes sign_on;
  if (state.has_failed() || !sign_on_is_exact(data) ||
      !sign_on.copy_from(data)) {
    return false;
  }
  session_entry* const entry =
      sessions.session_add_entry(session_id, std::move(sign_on));
  if (entry == nullptr) return false;
  entry->sign_on_id = sign_on_id;
  entry->shown_by = state.u32();
  entry->sign_off_due = state.flag();
  entry->signed_off = state.flag();
  return restore_memo(files, state, entry->dbbegin_end) &&
         restore_memo(files, state, entry->dbmemo);
}

}  // namespace

void save_sessions(session_table& sessions, state_files& files,
                   state_writer& state) {
  std::uint64_t count = 0;
  sessions.for_each([&](const session_entry& /*entry*/) { ++count; });
  state.begin_section({'S', 'E', 'S', 'S'});
  state.u64(sessions.last_sign_on_id());
  state.u64(count);
  sessions.for_each(
      [&](const session_entry& entry) { save_session(entry, files, state); });
  state.end_section();
}

bool restore_sessions(session_table& sessions, const state_files& files,
                      state_reader& state) {
  state_reader section = state.section({'S', 'E', 'S', 'S'});
  const std::uint64_t last_sign_on_id = section.u64();
  for (std::uint64_t left = section.u64(); left > 0; --left) {
    if (!restore_session(sessions, files, section)) return false;
  }
  sessions.set_last_sign_on_id(last_sign_on_id);
  return section.is_at_end();
}
