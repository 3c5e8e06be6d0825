#include "util/chronex_trail/json/event_counter.h"

#include "util/chronex_trail/values/event_names.h"

int event_counter::file_begins(const input_file& /*file*/) {
  number_ = 1;
  return 0;
}

sign_on_result event_counter::sign_on(const session_entry& /*session*/,
                                      sign_on_caller /*caller*/,
                                      const event_place& /*place*/) {
  ++number_;
  return sign_on_result::shown;
}

int event_counter::sign_off(const session_entry& /*session*/,
                            const event_place& /*place*/) {
  ++number_;
  return 0;
}

int event_counter::schema(const node_entry& /*node*/,
                          const event_place& /*place*/) {
  ++number_;
  return 0;
}

int event_counter::memo(const memo_view& memo) {
  if (!memo.text.empty()) ++number_;
  return 0;
}

int event_counter::operation(const image_operation& /*operation*/,
                             const event_place& /*place*/) {
  count_operations(1);
  return 0;
}

void event_counter::count_operations(std::uint64_t count) {
  number_ += count;
  changes_ += count;
}

int event_counter::notice(const trail_notice& notice) {
  ++number_;
  switch (shape_of(notice.kind).event) {
    case notice_event::gap:
      ++gaps_;
      break;
    case notice_event::repeat:
      break;
    case notice_event::damage:
    case notice_event::warning:
      ++warnings_;
  }
  return 0;
}

int event_counter::comment(std::string_view /*text*/,
                           const event_place& /*place*/) {
  ++number_;
  return 0;
}

void event_counter::save(state_writer& state) const {
  state.u64(number_);
  state.u64(changes_);
  state.u64(gaps_);
  state.u64(warnings_);
}

bool event_counter::restore(state_reader& state) {
  number_ = state.u64();
  changes_ = state.u64();
  gaps_ = state.u64();
  warnings_ = state.u64();
  return !state.has_failed();
}
