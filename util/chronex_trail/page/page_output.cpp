#include "util/chronex_trail/page/page_output.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

#include "util/chronex/input/input_file.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/data_set_name.h"
#include "util/chronex_trail/values/event_names.h"
#include "util/chronex_trail/values/session_attributes.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

constexpr std::size_t MAX_SESSIONS = 20'000;
constexpr std::size_t MAX_LAYOUTS = 1000;
constexpr std::size_t MAX_TEXT = 1000;
constexpr std::size_t MAX_SESSION_BYTES = std::size_t{64} << 20;

// A text of the log as UTF-8, of a long one the beginning.
std::string decoded(std::string_view bytes, int charset) {
  text_scratch scratch;
  return std::string(decode_text(bytes.substr(0, MAX_TEXT),
                                 character_table_of(charset), scratch)
                         .utf8);
}

std::optional<std::string> attribute_of(const session_entry& session,
                                        std::string_view key) {
  const auto pair = find_session_attribute(session.sign_on.bytes(), key);
  if (!pair) return std::nullopt;
  return decoded(unescaped(pair->value), session.charset);
}

std::string full_name(const node_entry& node, const event_place& place) {
  const data_set_name name = data_set_name_of(node, is_in_audit_file(place));
  std::string data_set = decoded(name.data_set, node.charset);
  if (!name.database) return data_set;
  return decoded(*name.database, name.database_charset) + '.' + data_set;
}

std::string_view text_of(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool is_readable(const item_view& item, const shown_image& image) {
  return !(item.encrypted && image.sealed);
}

bool differs(const item_view& item, const shown_image& before,
             const shown_image& after) {
  return std::memcmp(item.of(before.bytes).data(), item.of(after.bytes).data(),
                     item.of(before.bytes).size()) != 0;
}

shown_image image_of(std::string_view name, record_image bytes, bool sealed) {
  return {.name = name, .bytes = bytes, .sealed = sealed};
}

}  // namespace

page_output::page_output(run_messages& messages, const item_name_list* listed,
                         std::size_t most_rows, kept_changes kept)
    : messages_(messages), rows_(most_rows, kept), sets_(listed) {}

template <typename Step>
int page_output::guarded(const Step& step) {
  try {
    step();
    return 0;
  } catch (const std::bad_alloc&) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate a change of the page\n");
    return -1;
  }
}

int page_output::file_begins(const input_file& /*file*/) {
  ++inputs_;
  return 0;
}

page_output::session_ptr page_output::make_session(
    const session_entry& session) {
  auto made = std::make_shared<page_session>();
  made->id = session.session_id;
  made->conntime = session.conntime;
  made->user = users_.number(attribute_of(session, "user"));
  made->program = programs_.number(attribute_of(session, "program"));
  session_attribute_walk walk(session.sign_on.bytes());
  while (const auto pair = walk.next()) {
    if (made->attributes.size() == page_session::MAX_MEMOS ||
        session_bytes_ > MAX_SESSION_BYTES) {
      break;
    }
    made->attributes.emplace_back(
        decoded(pair->key, session.charset),
        decoded(unescaped(pair->value), session.charset));
    session_bytes_ += made->attributes.back().first.size() +
                      made->attributes.back().second.size();
  }
  return made;
}

// Sessions that no row needs are forgotten; should one of them come again, it
// is taken for another.
void page_output::forget_sessions() {
  std::erase_if(sessions_, [](const auto& entry) {
    return entry.second.use_count() == 1;
  });
  session_bytes_ = 0;
  for (const auto& [id, session] : sessions_) {
    session_bytes_ += session->text_bytes();
  }
}

page_output::session_ptr page_output::session_of(const session_entry& session) {
  const auto known = sessions_.find(session.sign_on_id);
  if (known != sessions_.end()) return known->second;
  session_ptr made = make_session(session);
  if (sessions_.size() >= MAX_SESSIONS + 2 * rows_.rows().size()) {
    forget_sessions();
  }
  sessions_.emplace(session.sign_on_id, made);
  return made;
}

sign_on_result page_output::sign_on(const session_entry& session,
                                    sign_on_caller /*caller*/,
                                    const event_place& /*place*/) {
  const int rc = guarded([&] { session_of(session); });
  return rc == 0 ? sign_on_result::shown : sign_on_result::failed;
}

int page_output::sign_off(const session_entry& session,
                          const event_place& /*place*/) {
  const auto known = sessions_.find(session.sign_on_id);
  if (known != sessions_.end()) known->second->signed_off = true;
  return 0;
}

int page_output::memo(const memo_view& memo) {
  if (memo.text.empty()) return 0;
  return guarded([&] {
    page_session& session = *session_of(memo.session);
    if (++session.memo_count > page_session::MAX_MEMOS ||
        session_bytes_ > MAX_SESSION_BYTES) {
      return;
    }
    session.memos.push_back(
        {memo.timestamp, std::string(memo_mode_name(memo.mode)),
         decoded(text_of(memo.text), charset_at(memo.place))});
    session_bytes_ += session.memos.back().text.size();
  });
}

page_output::layout_ptr page_output::layout_of(const set_piece& set,
                                               const node_entry& node,
                                               const event_place& place) {
  if (layout_names_version_ != set.names_version ||
      layouts_.size() > MAX_LAYOUTS) {
    layouts_.clear();
    layout_names_version_ = set.names_version;
  }
  const auto known = layouts_.find(set.schema_id);
  if (known != layouts_.end()) return known->second;
  auto made = std::make_shared<page_layout>();
  made->data_set = data_sets_.number(full_name(node, place));
  for (const keyed_item& keyed : set.items) {
    made->item_names.push_back(keyed.item.name);
    made->item_types += keyed.item.type;
  }
  layouts_.emplace(set.schema_id, made);
  return made;
}

void page_output::count(const image_operation& operation, page_session& session,
                        std::uint16_t data_set) {
  const std::uint32_t timestamp = operation.timestamp;
  const bool is_first = session.puts + session.updates + session.deletes == 0;
  session.first = is_first ? timestamp : std::min(session.first, timestamp);
  session.last = std::max(session.last, timestamp);
  ++(operation.op == OP_PUT      ? session.puts
     : operation.op == OP_UPDATE ? session.updates
                                 : session.deletes);
  cube_.add(hours_.of(timestamp),
            cube_.number({static_cast<std::uint8_t>(operation.op), session.user,
                          session.program, data_set}));
}

int page_output::operation(const image_operation& operation,
                           const event_place& place) {
  return guarded([&] { put_change(operation, place); });
}

void page_output::put_change(const image_operation& operation,
                             const event_place& place) {
  const set_piece& set = sets_.of(operation.node, charset_at(place), place);
  const session_ptr session = session_of(operation.session);
  const layout_ptr layout = layout_of(set, operation.node, place);
  count(operation, *session, layout->data_set);
  const told_change change{
      operation, place, set,
      image_of("before", operation.before, operation.before_sealed),
      image_of("after", operation.after, operation.after_sealed)};
  find_taken_back(change, session, layout);
  if (!rows_.wants_next()) return;
  page_row row = make_row(change);
  row.session = session;
  row.layout = layout;
  rows_.add(std::move(row));
}

void page_output::find_taken_back(const told_change& change,
                                  const session_ptr& session,
                                  const layout_ptr& layout) {
  if (change.operation.op != OP_UPDATE || !change.before.exists() ||
      !change.after.exists()) {
    return;
  }
  for (std::size_t i = 0; i < change.set.items.size(); ++i) {
    const item_view& item = change.set.items[i].item;
    const auto number = static_cast<std::uint16_t>(i);
    if (!is_readable(item, change.before) || !is_readable(item, change.after) ||
        !differs(item, change.before, change.after)) {
      continue;
    }
    const std::uint32_t changed = back_finder_.update(
        {layout->data_set, number, change.operation.recno},
        item.of(change.before.bytes), item.of(change.after.bytes),
        change.operation.timestamp);
    if (changed == 0) continue;
    note_taken_back(change, {.layout = layout,
                             .session = session,
                             .recno = change.operation.recno,
                             .item = number,
                             .changed = changed,
                             .taken_back = change.operation.timestamp});
  }
}

void page_output::note_taken_back(const told_change& change,
                                  change_taken_back back) {
  if (++taken_back_count_ > MAX_TAKEN_BACK) return;
  const character_table& characters = character_table_of(change.set.charset);
  const item_view& item = change.set.items[back.item].item;
  items_.append(back.value, item, change.after, characters);
  items_.append(back.between, item, change.before, characters);
  taken_back_.push_back(std::move(back));
}

void page_output::append_image(std::string& out, const told_change& change,
                               const shown_image& image) {
  const character_table& characters = character_table_of(change.set.charset);
  if (!image.exists()) {
    out += '0';
    return;
  }
  out += '[';
  for (const keyed_item& keyed : change.set.items) {
    if (&keyed != &change.set.items.front()) out += ',';
    items_.append(out, keyed.item, image, characters);
  }
  out += ']';
}

// The places of the items that differ, and their old values.
void page_output::append_old_values(std::string& out,
                                    const told_change& change) {
  const character_table& characters = character_table_of(change.set.charset);
  std::string places;
  std::string values;
  for (std::size_t i = 0; i < change.set.items.size(); ++i) {
    const item_view& item = change.set.items[i].item;
    if (!differs(item, change.before, change.after)) continue;
    if (!places.empty()) {
      places += ',';
      values += ',';
    }
    places += std::to_string(i);
    items_.append(values, item, change.before, characters);
  }
  out.append("[").append(places).append("],[").append(values).append("]");
}

// What the session last said of its transaction.
void page_output::append_memo(std::string& out, const session_entry& session) {
  const memo_slot& slot = session.dbbegin_end;
  if (slot.mode != MEMO_DBBEGIN || slot.size <= 0) {
    out += '0';
    return;
  }
  const std::span<const std::uint8_t> text(slot.data.data(),
                                           static_cast<std::size_t>(slot.size));
  append_json_string(out, decoded(text_of(text), charset_at(slot.place)));
}

page_row page_output::make_row(const told_change& change) {
  const image_operation& operation = change.operation;
  page_row row{.timestamp = operation.timestamp,
               .recno = operation.recno,
               .input = inputs_ - 1,
               .place = change.place.number,
               .op = static_cast<std::uint8_t>(operation.op)};
  row.values += '[';
  append_image(row.values, change, change.after);
  row.values += ',';
  if (operation.op == OP_UPDATE && change.before.exists() &&
      change.after.exists()) {
    append_old_values(row.values, change);
  } else {
    row.values += "0,";
    append_image(row.values, change, change.before);
  }
  row.values += ',';
  append_memo(row.values, operation.session);
  row.values += ']';
  return row;
}

void page_output::finish(std::size_t most_cells) {
  rows_.finish();
  cube_.finish(most_cells);
}
