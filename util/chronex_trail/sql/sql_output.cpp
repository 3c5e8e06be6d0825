#include "util/chronex_trail/sql/sql_output.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "util/chronex/input/charset.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex/tables/session.h"
#include "util/chronex_trail/json/field_note.h"
#include "util/chronex_trail/sql/input_digest.h"
#include "util/chronex_trail/sql/sql_guarded.h"
#include "util/chronex_trail/sql/trail_tables.h"
#include "util/chronex_trail/values/event_names.h"
#include "util/chronex_trail/values/session_attributes.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

// About what the texts of a row of a table take.
constexpr std::size_t CHANGE_TEXT_SIZE = 256;
constexpr std::size_t MEMO_TEXT_SIZE = 256;

std::uint32_t now() { return static_cast<std::uint32_t>(std::time(nullptr)); }

}  // namespace

row_time sql_time::of(std::uint32_t timestamp) {
  utc_.text(timestamp).copy(text_.data(), text_.size());
  text_[text_.size() - std::string_view(" HH:MM:SS").size()] = ' ';
  return {timestamp, {text_.data(), text_.size()}};
}

sql_output::sql_output(run_messages& messages, sql_engine& engine,
                       const item_name_list* listed, kept_rows kept)
    : messages_(messages),
      engine_(engine),
      kept_(kept),
      sets_(listed),
      tables_(engine) {}

void sql_output::begin(run_facts facts) {
  facts_ = std::move(facts);
  started_ = now();
  const start_numbers start = engine_.begin(trail_tables());
  n_ = start.n;
  input_ = start.input;
  earlier_sessions_ = start.session;
  tables_.begin(start.data_set);
  open_tables();
}

// Rows of this piece that were added before are not added again.
bool sql_output::begin_piece(run_facts facts, const earlier_rows& earlier) {
  facts_ = std::move(facts);
  started_ = now();
  const start_numbers start = engine_.begin(trail_tables());
  if (start.n > earlier.n || start.input > earlier.input) {
    throw sql_error("this piece, or one behind it, is there already");
  }
  n_ = earlier.n;
  input_ = earlier.input;
  tables_.begin_piece(earlier.data_sets);
  open_tables();
  return std::ranges::all_of(earlier.sessions,
                             [this](const earlier_session& session) {
                               return resume_session(session);
                             });
}

bool sql_output::resume_session(const earlier_session& session) {
  session_entry* const entry =
      session_table_->session_get_entry(session.session_id);
  if (entry == nullptr || entry->sign_on_id != session.sign_on_id) return false;
  session_rows& rows = engine_.sessions();
  entry->charset = session.charset;
  if (!rows.has(session_of(*entry))) insert_session(*entry);
  rows.resume(session_of(*entry), session.work);
  return true;
}

void sql_output::hand_over() {
  session_table_->for_each([this](const session_entry& entry) {
    engine_.sessions().hand_over(session_of(entry));
  });
}

bool sql_output::may_work(std::int32_t session_id, std::int64_t session) const {
  if (session_table_ == nullptr) return true;
  const session_entry* const entry =
      session_table_->session_get_entry(session_id);
  return entry != nullptr && session_of(*entry) == session;
}

void sql_output::save(state_writer& state) const {
  state.u64(static_cast<std::uint64_t>(n_));
  state.u64(static_cast<std::uint64_t>(input_));
  state.u64(static_cast<std::uint64_t>(earlier_sessions_));
}

bool sql_output::restore(state_reader& state) {
  n_ = static_cast<std::int64_t>(state.u64());
  input_ = static_cast<std::int64_t>(state.u64());
  earlier_sessions_ = static_cast<std::int64_t>(state.u64());
  return !state.has_failed();
}

void sql_output::open_tables() {
  const std::vector<table_form>& tables = trail_tables();
  inputs_ = engine_.open(tables[INPUT_TABLE], 0);
  change_ = engine_.open(tables[CHANGE_TABLE], CHANGE_TEXT_SIZE);
  memo_ = engine_.open(tables[MEMO_TABLE], MEMO_TEXT_SIZE);
  notice_ = engine_.open(tables[NOTICE_TABLE], 0);
}

void sql_output::insert_input(const input_file& file) {
  const auto digest = digest_of_file(file.name);
  const std::string name = well_formed_utf8(name_as_given(file));
  row_writer& row = *inputs_;
  row.begin(++input_);
  row.bind_text(2, name);
  row.bind_text(3, format_name(file));
  if (file.type == FWLOG_FILE) {
    row.bind(4, file.generation);
    row.bind(5, file.sequence);
  }
  row.bind_text(6, charset_name(file.charset));
  if (digest && name != "-") {
    row.bind(7, static_cast<std::int64_t>(digest->size));
    row.bind_text(8, digest->sha256);
  }
  row.end();
}

int sql_output::file_begins(const input_file& file) {
  return guarded([&] {
    ++n_;
    engine_.sessions().input_begins(
        [this](std::int32_t session_id, std::int64_t session) {
          return may_work(session_id, session);
        });
    insert_input(file);
  });
}

std::int64_t sql_output::session_of(const session_entry& session) const {
  return earlier_sessions_ + static_cast<std::int64_t>(session.sign_on_id);
}

void sql_output::bind_attribute(row_writer& row, int at,
                                const session_entry& session,
                                std::string_view key) {
  const auto pair = find_session_attribute(session.sign_on.bytes(), key);
  if (!pair) return;
  const std::string value = unescaped(pair->value);
  row.bind_text(
      at,
      decode_text(value, character_table_of(session.charset), scratch_).utf8);
}

void sql_output::insert_session(const session_entry& session) {
  constexpr std::string_view KEY = ",\"attributes\":";
  std::string attributes;
  append_session_attributes(session, attributes, notes_);
  session_rows& sessions = engine_.sessions();
  row_writer& row = sessions.begin(session_of(session), session.session_id);
  bind_attribute(row, 3, session, "user");
  bind_attribute(row, 4, session, "program");
  bind_attribute(row, 5, session, "host");
  if (session.conntime != 0) row.bind_time(6, time_.of(session.conntime));
  row.bind_text(7, std::string_view(attributes).substr(KEY.size()));
  sessions.end();
}

sign_on_result sql_output::sign_on(const session_entry& session,
                                   sign_on_caller /*caller*/,
                                   const event_place& /*place*/) {
  const int rc = guarded([&] {
    ++n_;
    insert_session(session);
  });
  return rc == 0 ? sign_on_result::shown : sign_on_result::failed;
}

int sql_output::sign_off(const session_entry& session,
                         const event_place& /*place*/) {
  return guarded(
      [&] { engine_.sessions().signed_off(session_of(session), ++n_); });
}

int sql_output::schema(const node_entry& node, const event_place& place) {
  return guarded([&] {
    ++n_;
    tables_.of(node, sets_.of(node, charset_at(place), place), place);
  });
}

void sql_output::insert_memo(const memo_view& memo) {
  const std::string_view name = memo_mode_name(memo.mode);
  row_writer& row = *memo_;
  row.begin(++n_);
  row.bind_time(2, time_.of(memo.timestamp));
  row.bind(3, session_of(memo.session));
  row.bind_text(4, name.empty()
                       ? std::to_string(static_cast<std::int32_t>(memo.mode))
                       : std::string(name));
  row.bind_text(
      5, decode_text(memo.text, character_table_of(charset_at(memo.place)),
                     scratch_)
             .utf8);
  row.end();
}

int sql_output::memo(const memo_view& memo) {
  if (memo.text.empty()) return 0;
  return guarded([&] { insert_memo(memo); });
}

// What is lost with bytes that were passed over, if that is known.
void sql_output::bind_loss(const trail_notice& notice) {
  if (notice.found == 0) return;
  notice_->bind(6, notice.found);
  notice_->bind(7, notice.expected);
  notice_->bind(8, notice.missing);
}

void sql_output::insert_notice(const trail_notice& notice) {
  const notice_shape shape = shape_of(notice.kind);
  const bool is_gap = shape.event == notice_event::gap;
  row_writer& row = *notice_;
  row.begin(++n_);
  row.bind_text(2, notice_event_name(shape.event));
  if (!shape.kind.empty()) row.bind_text(3, shape.kind);
  if (notice.place.file != nullptr) row.bind(4, input_);
  if (is_gap || shape.event == notice_event::repeat) {
    row.bind(6, notice.found);
    row.bind(7, notice.expected);
    if (is_gap) row.bind(8, notice.missing);
    gaps_ += is_gap ? 1 : 0;
  } else {
    row.bind_text(5, well_formed_utf8(notice.text()));
    if (notice.kind == notice_kind::damaged_bytes) bind_loss(notice);
    ++warnings_;
  }
  row.end();
}

int sql_output::notice(const trail_notice& notice) {
  return guarded([&] { insert_notice(notice); });
}

int sql_output::comment(std::string_view text, const event_place& place) {
  return guarded([&] {
    row_writer& row = *notice_;
    row.begin(++n_);
    row.bind_text(2, "comment");
    if (place.file != nullptr) row.bind(4, input_);
    row.bind_text(
        5, decode_text(text, character_table_of(charset_at(place)), scratch_)
               .utf8);
    row.end();
  });
}

void sql_output::insert_run(int status) {
  const auto rows = engine_.open(trail_tables()[RUN_TABLE], 0);
  rows->begin(0);
  rows->bind_text(1, facts_.version);
  rows->bind_text(2, facts_.options);
  rows->bind_time(3, time_.of(started_));
  rows->bind_time(4, time_.of(now()));
  rows->bind(5, changes_);
  rows->bind(6, gaps_);
  rows->bind(7, warnings_);
  rows->bind(8, status);
  rows->end();
}

void sql_output::commit_so_far(const std::function<void()>& last) {
  for (const std::unique_ptr<row_writer>* rows :
       {&change_, &memo_, &notice_, &inputs_}) {
    (*rows)->flush();
  }
  tables_.add_all();
  last();
  engine_.commit_so_far();
}

void sql_output::end(int status, const std::function<void()>& last) {
  for (std::unique_ptr<row_writer>* rows :
       {&change_, &memo_, &notice_, &inputs_}) {
    (*rows)->flush();
    rows->reset();
  }
  tables_.finish();
  engine_.finish_rows();
  insert_run(status);
  last();
  engine_.commit();
}
