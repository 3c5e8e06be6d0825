#include "util/chronex_trail/json/json_output.h"

#include <cstddef>
#include <span>
#include <string>

#include "util/chronex/input/charset.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex_trail/json/field_note.h"
#include "util/chronex_trail/json/guarded.h"
#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/json/loss_note.h"
#include "util/chronex_trail/values/event_names.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

std::string version_text(const input_file& file) {
  const std::string minor = std::to_string(file.minor);
  return std::to_string(file.major) + (file.minor < 10 ? ".0" : ".") + minor;
}

std::string schema_item(const item_view& view, const item_descriptor& item,
                        field_decoder& decoder) {
  std::string text = "{\"name\":";
  append_json_string(text, view.name);
  append_json_member(text, "type",
                     decoder.decode("items." + view.name + ".type",
                                    std::string_view(&view.type, 1)));
  append_json_member(text, "count", std::int64_t{item.count});
  append_json_member(text, "size", std::int64_t{item.size});
  append_json_member(text, "format", std::int64_t{item.fmt});
  return text + '}';
}

void put_schema_items(event_line& line, const set_context& set, int charset) {
  const character_table& characters = character_table_of(charset);
  field_decoder decoder(characters, line.notes());
  std::size_t index = 0;
  for (const item_view& item : items_of(set, characters, nullptr)) {
    const item_descriptor& descriptor = set.item_list()[index];
    if (index++ > 0) line.out().put(',');
    if (item.name_undecodable) {
      append_field_note(line.notes(), "items." + item.name,
                        set.item_name(descriptor));
    }
    line.out().put(schema_item(item, descriptor, decoder));
  }
}

}  // namespace

json_output::json_output(run_messages& messages, byte_sink& sink,
                         const item_name_list* listed)
    : messages_(messages),
      sink_(sink),
      line_(sink),
      record_(line_.out(), line_.notes()),
      sets_(listed) {}

void json_output::split(split_directory& directory, std::string_view name) {
  directory_ = &directory;
  change_file_name_ = name;
}

void json_output::put_file(const input_file& file) {
  line_.put_source({.file = &file});
  line_.put_text("format", format_name(file));
  line_.put_text("version", version_text(file));
  line_.put_text("character_set", charset_name(file.charset));
  if (file.type != FWLOG_FILE) return;
  line_.put_number("volume_set", file.volume_set_id);
  line_.put_number("release", file.release);
  line_.put_number("generation", file.generation);
  line_.put_number("sequence", file.sequence);
}

int json_output::file_begins(const input_file& file) {
  return guarded(line_, messages_, [&] {
    line_.begin_file();
    line_.begin("file");
    put_file(file);
    return line_.end();
  });
}

void json_output::put_session(const session_entry& session) {
  const session_piece& piece = sessions_.of(session);
  line_.out().put(piece.object);
  line_.out().put('}');
  if (!piece.notes.empty()) line_.notes() += piece.notes;
  append_loss_note(session, line_.notes());
}

void json_output::put_sign_on(const session_entry& session) {
  const session_piece& piece = sessions_.of(session);
  line_.out().put(piece.object);
  line_.notes() += piece.notes;
  append_loss_note(session, line_.notes());
  std::string attributes;
  append_session_attributes(session, attributes, line_.notes());
  line_.out().put(attributes);
  line_.out().put('}');
}

sign_on_result json_output::sign_on(const session_entry& session,
                                    sign_on_caller /*caller*/,
                                    const event_place& place) {
  const int rc = guarded(line_, messages_, [&] {
    line_.begin("sign_on");
    line_.put_source(place);
    put_sign_on(session);
    return line_.end();
  });
  return rc == 0 ? sign_on_result::shown : sign_on_result::failed;
}

int json_output::sign_off(const session_entry& session,
                          const event_place& place) {
  return guarded(line_, messages_, [&] {
    line_.begin("sign_off");
    line_.put_source(place);
    put_session(session);
    return line_.end();
  });
}

void json_output::put_schema(const node_entry& node, const event_place& place) {
  const set_piece& set = sets_.of(node, charset_at(place), place);
  line_.out().put(set.head);
  line_.notes() += set.notes;
  line_.put_number("record_size", node.set->rec_sz);
  line_.out().put(R"(,"items":[)");
  put_schema_items(line_, *node.set, node.charset);
  line_.out().put(']');
}

int json_output::schema(const node_entry& node, const event_place& place) {
  return guarded(line_, messages_, [&] {
    line_.begin("schema");
    line_.put_source(place);
    put_schema(node, place);
    return line_.end();
  });
}

void json_output::put_memo_mode(std::uint32_t mode) {
  const std::string_view name = memo_mode_name(mode);
  if (name.empty()) {
    line_.put_number("mode", static_cast<std::int32_t>(mode));
  } else {
    line_.put_text("mode", name);
  }
}

void json_output::put_decoded(std::string_view key, std::string_view bytes,
                              const event_place& place) {
  field_decoder decoder(character_table_of(charset_at(place)), line_.notes());
  line_.put_text(key, decoder.decode(key, bytes));
}

int json_output::memo(const memo_view& memo) {
  if (memo.text.empty()) return 0;
  return guarded(line_, messages_, [&] {
    line_.begin("memo");
    line_.put_stamp(memo.timestamp, memo.place);
    put_session(memo.session);
    put_memo_mode(memo.mode);
    put_decoded(
        "text",
        {reinterpret_cast<const char*>(memo.text.data()), memo.text.size()},
        memo.place);
    return line_.end();
  });
}

int json_output::comment(std::string_view text, const event_place& place) {
  return guarded(line_, messages_, [&] {
    line_.begin("comment");
    line_.put_source(place);
    put_decoded("text", text, place);
    return line_.end();
  });
}

void json_output::save(state_writer& state) const {
  state.u64(line_.number());
  state.u64(changes_);
  state.u64(gaps_);
  state.u64(warnings_);
}

bool json_output::restore(state_reader& state) {
  line_.go_on(state.u64());
  changes_ = state.u64();
  gaps_ = state.u64();
  warnings_ = state.u64();
  return !state.has_failed();
}

int json_output::let_out() { return line_.flush() == 0 ? sink_.flush() : -1; }

int json_output::end(int status) {
  line_.begin_end();
  line_.put_number("changes", static_cast<std::int64_t>(changes_));
  line_.put_number("gaps", static_cast<std::int64_t>(gaps_));
  line_.put_number("warnings", static_cast<std::int64_t>(warnings_));
  line_.put_number("status", status);
  return line_.end() == 0 ? line_.flush() : -1;
}
