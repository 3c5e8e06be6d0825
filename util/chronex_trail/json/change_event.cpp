// The event of an operation on a record.

#include <cstdint>
#include <span>
#include <string_view>

#include "util/chronex/tables/image_record.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex_trail/json/field_note.h"
#include "util/chronex_trail/json/guarded.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/json/loss_note.h"
#include "util/chronex_trail/values/event_names.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

// YYYY-MM-DD
constexpr std::size_t DATE_LENGTH = 10;

std::string_view op_member(int op) {
  switch (op) {
    case OP_PUT:
      return R"(,"op":"c")";
    case OP_UPDATE:
      return R"(,"op":"u")";
    default:
      return R"(,"op":"d")";
  }
}

// The text of a session's memo slot, the key that it has in an event, and the
// field that a note names.
struct slot_member {
  const memo_slot& slot;
  std::string_view key;
  std::string_view field;

  bool is_there() const { return slot.size > 0; }
  std::span<const std::uint8_t> bytes() const {
    return {slot.data.data(), static_cast<std::size_t>(slot.size)};
  }
  std::string_view text() const {
    return {reinterpret_cast<const char*>(slot.data.data()),
            static_cast<std::size_t>(slot.size)};
  }
};

slot_member transaction_member(const session_entry& session) {
  const memo_slot& slot = session.dbbegin_end;
  if (slot.mode == MEMO_DBBEGIN) return {slot, R"("begin":)", "memo.begin"};
  return {slot, R"("end":)", "memo.end"};
}

void put_slot(event_line& line, text_scratch& scratch,
              const slot_member& member) {
  line.out().put(member.key);
  if (line.out().put_plain_string(member.bytes())) return;
  const decoded_text text =
      decode_text(member.bytes(),
                  character_table_of(charset_at(member.slot.place)), scratch);
  if (text.undecodable) {
    append_field_note(line.notes(), member.field, member.text());
  }
  line.out().put_string(text.utf8);
}

}  // namespace

// What the session last said of its transaction.
void json_output::put_slots(const session_entry& session) {
  const slot_member members[] = {
      transaction_member(session),
      {session.dbmemo, R"("text":)", "memo.text"},
  };
  std::string_view before = R"(,"memo":{)";
  for (const slot_member& member : members) {
    if (!member.is_there()) continue;
    line_.out().put(before);
    put_slot(line_, scratch_, member);
    before = ",";
  }
  if (before == ",") line_.out().put('}');
}

void json_output::put_images(const image_operation& operation,
                             const set_piece& set, const event_place& place) {
  const shown_images images = images_of(operation, place, line_.notes());
  record_.put(set, images.before, images.after);
  if (!images.can_be_compared) return;
  line_.out().put(R"(,"changed":)");
  record_.put_changed(set, images.before, images.after);
}

void json_output::put_operation(const image_operation& operation,
                                const event_place& place) {
  line_.out().put(op_member(operation.op));
  line_.put_stamp(operation.timestamp, place);
  const set_piece& set = sets_.of(operation.node, charset_at(place), place);
  line_.out().put(set.head);
  if (!set.notes.empty()) line_.notes() += set.notes;
  append_loss_note(operation.node, line_.notes());
  line_.put_number("recno", operation.recno);
  put_session(operation.session);
  put_slots(operation.session);
  put_images(operation, set, place);
}

int json_output::put_change(const image_operation& operation,
                            const event_place& place) {
  return guarded(line_, messages_, [&] {
    line_.begin("change");
    put_operation(operation, place);
    return line_.end();
  });
}

void json_output::select_file(const image_operation& operation,
                              const event_place& place) {
  const set_piece& set = sets_.of(operation.node, charset_at(place), place);
  std::string path = set.path_part;
  path += "/day=";
  path += change_day_.text(operation.timestamp).substr(0, DATE_LENGTH);
  path += '/';
  path += change_file_name_;
  directory_->select(path);
}

int json_output::operation(const image_operation& operation,
                           const event_place& place) {
  ++changes_;
  if (directory_ == nullptr) return put_change(operation, place);
  if (line_.flush() != 0) return -1;
  select_file(operation, place);
  const int result = put_change(operation, place);
  const int flushed = line_.flush();
  directory_->select(split_directory::MAIN_FILE);
  return result != 0 ? result : flushed;
}
