#include "util/chronex_trail/json/set_piece.h"

#include <utility>

#include "util/chronex_trail/files/path_part.h"
#include "util/chronex_trail/json/field_note.h"
#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/data_set_name.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

std::unique_ptr<set_piece> make_piece(const node_entry& node, int charset,
                                      const item_name_list* listed) {
  auto piece = std::make_unique<set_piece>();
  piece->schema_id = node.set->schema_id;
  piece->charset = charset;
  piece->names_charset = node.charset;
  for (item_view& item :
       items_of(*node.set, character_table_of(node.charset), listed)) {
    if (!item.chosen) continue;
    const std::size_t begin = piece->keys.size();
    piece->keys += piece->items.empty() ? '{' : ',';
    append_json_string(piece->keys, item.name);
    piece->keys += ':';
    const std::size_t length = piece->keys.size() - begin;
    const std::size_t room =
        length + KEY_STEP + item.count * (value_text_room(item.size) + 1) + 2;
    piece->image_room += room;
    const values_writer writer = values_writer_of(item.form, item.size);
    piece->items.push_back({.item = std::move(item),
                            .put_values = writer,
                            .key_begin = static_cast<std::uint32_t>(begin),
                            .key_length = static_cast<std::uint32_t>(length),
                            .room = room});
  }
  piece->keys.append(KEY_STEP, ' ');
  return piece;
}

void make_head(const node_entry& node, set_piece& piece) {
  const data_set_name name = data_set_name_of(node, piece.from_audit_file);
  piece.notes.clear();
  field_decoder decoder(character_table_of(node.charset), piece.notes);
  piece.head.clear();
  std::string whole_name;
  if (name.database) {
    field_decoder of_database(character_table_of(name.database_charset),
                              piece.notes);
    whole_name = of_database.decode("database", *name.database);
    append_json_member(piece.head, "database", whole_name);
    whole_name += '.';
  } else {
    piece.head += ",\"database\":null";
  }
  const std::string_view data_set = decoder.decode("dataset", name.data_set);
  append_json_member(piece.head, "dataset", data_set);
  append_json_member(piece.head, "node", std::int64_t{node.node_id});
  whole_name += data_set;
  piece.path_part = "dataset=" + path_part(whole_name);
}

}  // namespace

std::size_t set_piece::footprint() const {
  std::size_t size = sizeof *this + head.capacity() + notes.capacity() +
                     path_part.capacity() + keys.capacity() +
                     items.capacity() * sizeof(keyed_item);
  for (const keyed_item& item : items) size += item.item.name.capacity();
  return size;
}

set_piece& set_pieces::items_of_schema(const node_entry& node, int charset) {
  const std::uint64_t schema_id = node.set->schema_id;
  set_piece* const kept = kept_.at(schema_id);
  if (kept != nullptr && kept->schema_id == schema_id &&
      kept->charset == charset && kept->names_charset == node.charset) {
    return *kept;
  }
  return kept_.put(schema_id, make_piece(node, charset, listed_));
}

const set_piece& set_pieces::of(const node_entry& node, int charset,
                                const event_place& place) {
  set_piece& piece = items_of_schema(node, charset);
  const bool from_audit_file = is_in_audit_file(place);
  if (piece.names_version != node.table->names_version() ||
      piece.from_audit_file != from_audit_file) {
    piece.names_version = node.table->names_version();
    piece.from_audit_file = from_audit_file;
    make_head(node, piece);
  }
  return piece;
}
