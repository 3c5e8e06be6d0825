#include "util/chronex_trail/sql/earlier_rows.h"

#include <string>

namespace {

constexpr section_name ROWS_SECTION{'R', 'O', 'W', 'S'};

void save_number(std::int64_t number, state_writer& state) {
  state.u64(static_cast<std::uint64_t>(number));
}

std::int64_t restore_number(state_reader& state) {
  return static_cast<std::int64_t>(state.u64());
}

void save_data_set(const known_data_set& set, state_writer& state) {
  state.flag(set.name.has_database);
  state.text(set.name.database);
  state.text(set.name.name);
  state.text(set.form);
  save_number(set.node, state);
}

known_data_set restore_data_set(state_reader& state, std::int64_t id) {
  known_data_set set;
  set.id = id;
  set.name.has_database = state.flag();
  set.name.database = state.text();
  set.name.name = state.text();
  set.form = state.text();
  set.node = restore_number(state);
  return set;
}

void save_session(const earlier_session& session, state_writer& state) {
  state.i32(session.session_id);
  state.u64(session.sign_on_id);
  state.i32(session.charset);
  save_number(session.work.first_n, state);
  save_number(session.work.last_n, state);
  save_number(session.work.signed_off_n, state);
}

earlier_session restore_session(state_reader& state) {
  earlier_session session;
  session.session_id = state.i32();
  session.sign_on_id = state.u64();
  session.charset = state.i32();
  session.work.first_n = restore_number(state);
  session.work.last_n = restore_number(state);
  session.work.signed_off_n = restore_number(state);
  return session;
}

}  // namespace

void save_rows(const earlier_rows& rows, state_writer& state) {
  state.begin_section(ROWS_SECTION);
  save_number(rows.n, state);
  save_number(rows.input, state);
  state.u64(rows.data_sets.size());
  for (const known_data_set& set : rows.data_sets) save_data_set(set, state);
  state.u64(rows.sessions.size());
  for (const earlier_session& session : rows.sessions) {
    save_session(session, state);
  }
  state.end_section();
}

bool restore_rows(state_reader& state, earlier_rows& rows) {
  state_reader section = state.section(ROWS_SECTION);
  rows.n = restore_number(section);
  rows.input = restore_number(section);
  for (std::uint64_t left = section.u64(); left > 0; --left) {
    const auto id = static_cast<std::int64_t>(rows.data_sets.size()) + 1;
    rows.data_sets.push_back(restore_data_set(section, id));
    if (section.has_failed()) return false;
  }
  for (std::uint64_t left = section.u64(); left > 0; --left) {
    rows.sessions.push_back(restore_session(section));
    if (section.has_failed()) return false;
  }
  return !state.has_failed() && section.is_at_end();
}
