// The rows of an operation on a record.

#include <string_view>

#include "util/chronex/input/input_file.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex_trail/json/field_note.h"
#include "util/chronex_trail/json/loss_note.h"
#include "util/chronex_trail/json/shown_image.h"
#include "util/chronex_trail/sql/sql_guarded.h"
#include "util/chronex_trail/values/event_names.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

// Columns of the table `change`.
enum change_column : int {
  CHANGE_N = 1,
  CHANGE_TS,
  CHANGE_OP,
  CHANGE_DATA_SET,
  CHANGE_RECNO,
  CHANGE_SESSION,
  CHANGE_INPUT,
  CHANGE_GENERATION,
  CHANGE_SEQUENCE,
  CHANGE_ACTION,
  CHANGE_MEMO_BEGIN,
  CHANGE_MEMO_END,
  CHANGE_MEMO_TEXT,
  CHANGE_CHANGED,
  CHANGE_NOTES,
};

// Notes of one event that took more are not kept as room for the next.
constexpr std::size_t KEPT_NOTES = std::size_t{1} << 20;

std::string_view text_of(const memo_slot& slot) {
  return {reinterpret_cast<const char*>(slot.data.data()),
          static_cast<std::size_t>(slot.size)};
}

}  // namespace

void sql_output::bind_slot(int at, const memo_slot& slot,
                           std::string_view field) {
  if (slot.size <= 0) return;
  const decoded_text text = decode_text(
      text_of(slot), character_table_of(charset_at(slot.place)), scratch_);
  if (text.undecodable) append_field_note(notes_, field, text_of(slot));
  change_->bind_text(at, text.utf8);
}

// What the session last said of its transaction.
void sql_output::bind_slots(const session_entry& session) {
  if (session.dbbegin_end.mode == MEMO_DBBEGIN) {
    bind_slot(CHANGE_MEMO_BEGIN, session.dbbegin_end, "memo.begin");
  } else {
    bind_slot(CHANGE_MEMO_END, session.dbbegin_end, "memo.end");
  }
  bind_slot(CHANGE_MEMO_TEXT, session.dbmemo, "memo.text");
}

void sql_output::bind_operation(const image_operation& operation,
                                const event_place& place) {
  change_->begin(n_);
  change_->bind_time(CHANGE_TS, time_.of(operation.timestamp));
  change_->bind_literal(CHANGE_OP, op_letter(operation.op));
  change_->bind(CHANGE_RECNO, operation.recno);
  const std::int64_t session = session_of(operation.session);
  engine_.sessions().worked(session, n_);
  change_->bind(CHANGE_SESSION, session);
  if (place.file != nullptr) {
    change_->bind(CHANGE_INPUT, input_);
    if (place.file->type == FWLOG_FILE) {
      change_->bind(CHANGE_GENERATION, place.file->generation);
      change_->bind(CHANGE_SEQUENCE, place.file->sequence);
    }
  }
  if (place.number != 0) change_->bind(CHANGE_ACTION, place.number);
}

void sql_output::bind_images(const image_operation& operation,
                             const set_piece& set, set_table& table,
                             const event_place& place) {
  const shown_images images = images_of(operation, place, notes_);
  rows_.bind_before(table, set, images.before);
  rows_.bind_after(table, set, images.after);
  if (images.can_be_compared) {
    change_->bind_text(CHANGE_CHANGED,
                       rows_.changed(set, images.before, images.after));
  }
}

// The row of the data set's table.
void sql_output::insert_images(const image_operation& operation,
                               const set_piece& set, set_table& table,
                               const event_place& place) {
  row_writer& row = *table.rows;
  row.begin(n_);
  row.bind_time(2, time_.of(operation.timestamp));
  row.bind_literal(3, op_letter(operation.op));
  row.bind(4, operation.recno);
  row.bind(5, session_of(operation.session));
  bind_images(operation, set, table, place);
  row.end();
}

void sql_output::insert_change(const image_operation& operation,
                               const event_place& place) {
  const set_piece& set = sets_.of(operation.node, charset_at(place), place);
  set_table& table = tables_.of(operation.node, set, place);
  ++n_;
  ++changes_;
  notes_ = set.notes;
  append_loss_note(operation.node, notes_);
  notes_ += sessions_.of(operation.session).notes;
  append_loss_note(operation.session, notes_);
  bind_operation(operation, place);
  change_->bind(CHANGE_DATA_SET, table.data_set);
  bind_slots(operation.session);
  if (kept_ == kept_rows::all) insert_images(operation, set, table, place);
  if (!notes_.empty()) {
    notes_.front() = '[';
    notes_ += ']';
    change_->bind_text(CHANGE_NOTES, notes_);
  }
  change_->end();
  if (notes_.capacity() > KEPT_NOTES) notes_ = std::string();
}

int sql_output::operation(const image_operation& operation,
                          const event_place& place) {
  return guarded([&] { insert_change(operation, place); });
}
