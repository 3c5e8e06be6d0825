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

// The highest number that an event has.
constexpr const char* HIGHEST_N = R"sql(
SELECT max((SELECT coalesce(max(n), 0) FROM change),
           (SELECT coalesce(max(n), 0) FROM memo),
           (SELECT coalesce(max(n), 0) FROM notice),
           (SELECT coalesce(max(signed_off_n), 0) FROM session)))sql";

// Columns of the table `change`, and about what the texts of a row take.
constexpr int CHANGE_COLUMNS = 15;
constexpr std::size_t CHANGE_TEXT_SIZE = 256;

std::string now() {
  sql_time time;
  return std::string(time.text(static_cast<std::uint32_t>(std::time(nullptr))));
}

}  // namespace

std::string_view sql_time::text(std::uint32_t timestamp) {
  utc_.text(timestamp).copy(text_.data(), text_.size());
  text_[text_.size() - std::string_view(" HH:MM:SS").size()] = ' ';
  return {text_.data(), text_.size()};
}

sql_output::sql_output(run_messages& messages, sql_database& database,
                       const item_name_list* listed, kept_rows kept)
    : messages_(messages),
      database_(database),
      kept_(kept),
      sets_(listed),
      tables_(database) {}

void sql_output::begin(bool append, run_facts facts) {
  facts_ = std::move(facts);
  started_ = now();
  // The file has a temporary name until it is complete: nothing has to be
  // undone in it.
  database_.run("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF;");
  database_.run(
      "PRAGMA locking_mode = EXCLUSIVE; PRAGMA cache_size = -8192;"
      " PRAGMA secure_delete = OFF;");
  if (!append) {
    database_.run("PRAGMA page_size = 8192");
    database_.run(CREATE_TRAIL_TABLES);
    database_.run(
        "PRAGMA application_id = " + std::to_string(TRAIL_APPLICATION_ID) +
        "; PRAGMA user_version = " + std::to_string(TRAIL_TABLES_VERSION));
  }
  database_.run("BEGIN");
  go_on();
  prepare();
}

void sql_output::go_on() {
  n_ = database_.number(HIGHEST_N);
  input_ = database_.number("SELECT coalesce(max(id), 0) FROM input");
  earlier_sessions_ =
      database_.number("SELECT coalesce(max(id), 0) FROM session");
  tables_.load();
}

void sql_output::prepare() {
  change_.prepare(database_, "change", CHANGE_COLUMNS, CHANGE_TEXT_SIZE);
  memo_ = database_.prepare("INSERT INTO memo VALUES(?, ?, ?, ?, ?)", true);
  notice_ = database_.prepare(
      "INSERT INTO notice VALUES(?, ?, ?, ?, ?, ?, ?, ?)", true);
  session_ = database_.prepare(
      "INSERT INTO session(id, session_id, user, program, host, connected,"
      " attributes) VALUES(?, ?, ?, ?, ?, ?, ?)",
      true);
  sign_off_ = database_.prepare(
      "UPDATE session SET signed_off_n = ? WHERE id = ?", true);
  bounds_.prepare(database_);
}

void sql_output::insert_input(const input_file& file) {
  const auto digest = digest_of_file(file.name);
  const std::string name = well_formed_utf8(name_as_given(file));
  sql_statement insert =
      database_.prepare("INSERT INTO input VALUES(?, ?, ?, ?, ?, ?, ?, ?)");
  insert.bind(1, ++input_);
  insert.bind_text(2, name);
  insert.bind_text(3, format_name(file));
  if (file.type == FWLOG_FILE) {
    insert.bind(4, file.generation);
    insert.bind(5, file.sequence);
  }
  insert.bind_text(6, charset_name(file.charset));
  if (digest && name != "-") {
    insert.bind(7, static_cast<std::int64_t>(digest->size));
    insert.bind_text(8, digest->sha256);
  }
  insert.run();
}

int sql_output::file_begins(const input_file& file) {
  return guarded([&] {
    ++n_;
    insert_input(file);
  });
}

std::int64_t sql_output::session_of(const session_entry& session) const {
  return earlier_sessions_ + static_cast<std::int64_t>(session.sign_on_id);
}

void sql_output::bind_attribute(int at, const session_entry& session,
                                std::string_view key, int charset) {
  const auto pair = find_session_attribute(session.sign_on.bytes(), key);
  if (!pair) return;
  const std::string value = unescaped(pair->value);
  session_.bind_text(
      at, decode_text(value, character_table_of(charset), scratch_).utf8, true);
}

void sql_output::insert_session(const session_entry& session,
                                const event_place& place) {
  constexpr std::string_view KEY = ",\"attributes\":";
  const int charset = charset_at(place);
  std::string attributes;
  append_session_attributes(session, charset, attributes, notes_);
  session_.clear();
  session_.bind(1, session_of(session));
  session_.bind(2, session.session_id);
  bind_attribute(3, session, "user", charset);
  bind_attribute(4, session, "program", charset);
  bind_attribute(5, session, "host", charset);
  if (session.conntime != 0) {
    session_.bind_text(6, time_.text(session.conntime));
  }
  session_.bind_text(7, std::string_view(attributes).substr(KEY.size()));
  session_.run();
}

sign_on_result sql_output::sign_on(const session_entry& session,
                                   sign_on_caller /*caller*/,
                                   const event_place& place) {
  const int rc = guarded([&] {
    ++n_;
    insert_session(session, place);
  });
  return rc == 0 ? sign_on_result::shown : sign_on_result::failed;
}

int sql_output::sign_off(const session_entry& session,
                         const event_place& /*place*/) {
  return guarded([&] {
    sign_off_.bind(1, ++n_);
    sign_off_.bind(2, session_of(session));
    sign_off_.run();
  });
}

int sql_output::schema(const node_entry& node, const event_place& place) {
  return guarded([&] {
    ++n_;
    tables_.of(node, sets_.of(node, charset_at(place), place), place);
  });
}

void sql_output::insert_memo(const memo_view& memo) {
  const std::string_view name = memo_mode_name(memo.mode);
  memo_.bind(1, ++n_);
  memo_.bind_text(2, time_.text(memo.timestamp));
  memo_.bind(3, session_of(memo.session));
  memo_.bind_text(4,
                  name.empty()
                      ? std::to_string(static_cast<std::int32_t>(memo.mode))
                      : std::string(name),
                  true);
  memo_.bind_text(
      5, decode_text(memo.text, character_table_of(charset_at(memo.place)),
                     scratch_)
             .utf8);
  memo_.run();
}

int sql_output::memo(const memo_view& memo) {
  if (memo.text.empty()) return 0;
  return guarded([&] { insert_memo(memo); });
}

void sql_output::insert_notice(const trail_notice& notice) {
  const notice_shape shape = shape_of(notice.kind);
  const bool is_gap = shape.event == notice_event::gap;
  const std::string text = well_formed_utf8(notice.text());
  notice_.clear();
  notice_.bind(1, ++n_);
  notice_.bind_text(2, notice_event_name(shape.event));
  if (!shape.kind.empty()) notice_.bind_text(3, shape.kind);
  if (notice.place.file != nullptr) notice_.bind(4, input_);
  if (is_gap || shape.event == notice_event::repeat) {
    notice_.bind(6, notice.found);
    notice_.bind(7, notice.expected);
    if (is_gap) notice_.bind(8, notice.missing);
    gaps_ += is_gap ? 1 : 0;
  } else {
    notice_.bind_text(5, text);
    ++warnings_;
  }
  notice_.run();
}

int sql_output::notice(const trail_notice& notice) {
  return guarded([&] { insert_notice(notice); });
}

int sql_output::comment(std::string_view text, const event_place& place) {
  return guarded([&] {
    notice_.clear();
    notice_.bind(1, ++n_);
    notice_.bind_text(2, "comment");
    if (place.file != nullptr) notice_.bind(4, input_);
    notice_.bind_text(
        5, decode_text(text, character_table_of(charset_at(place)), scratch_)
               .utf8);
    notice_.run();
  });
}

void sql_output::insert_run(int status) {
  const std::string finished = now();
  sql_statement insert =
      database_.prepare("INSERT INTO run VALUES(?, ?, ?, ?, ?, ?, ?, ?)");
  insert.bind_text(1, facts_.version);
  insert.bind_text(2, facts_.options);
  insert.bind_text(3, started_);
  insert.bind_text(4, finished);
  insert.bind(5, changes_);
  insert.bind(6, gaps_);
  insert.bind(7, warnings_);
  insert.bind(8, status);
  insert.run();
}

void sql_output::end(int status) {
  change_.flush();
  change_.release();
  tables_.finish();
  for (sql_statement* statement : {&memo_, &notice_, &session_, &sign_off_}) {
    *statement = sql_statement();
  }
  bounds_.finish();
  insert_run(status);
  database_.run("COMMIT");
}
