#include "util/chronex_trail/json/session_piece.h"

#include <optional>
#include <string_view>

#include "util/chronex_trail/json/field_note.h"
#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/session_attributes.h"
#include "util/chronex_trail/values/utc_time.h"

namespace {

// An attribute that every event of a session shows, and the field it is.
struct shown_attribute {
  std::string_view key;
  std::string_view field;
};

constexpr shown_attribute SHOWN_ATTRIBUTES[] = {
    {"user", "session.user"},
    {"program", "session.program"},
    {"host", "session.host"},
};

std::unique_ptr<session_piece> make_piece(const session_entry& session) {
  auto piece = std::make_unique<session_piece>();
  const auto sign_on = session.sign_on.bytes();
  piece->sign_on_id = session.sign_on_id;
  piece->charset = session.charset;
  piece->object = ",\"session\":{\"id\":" + std::to_string(session.session_id);
  field_decoder decoder(character_table_of(session.charset), piece->notes);
  for (const shown_attribute& shown : SHOWN_ATTRIBUTES) {
    const auto pair = find_session_attribute(sign_on, shown.key);
    if (!pair) continue;
    append_json_member(
        piece->object, shown.key,
        decoder.decode(shown.field, unescaped(pair->value), pair->value));
  }
  if (session.conntime != 0) {
    append_json_member(piece->object, "conntime",
                       utc_time().text(session.conntime));
  }
  return piece;
}

}  // namespace

const session_piece& session_pieces::of(const session_entry& session) {
  const session_piece* const kept = kept_.at(session.sign_on_id);
  if (kept != nullptr && kept->sign_on_id == session.sign_on_id &&
      kept->charset == session.charset) {
    return *kept;
  }
  return kept_.put(session.sign_on_id, make_piece(session));
}

void append_session_attributes(const session_entry& session,
                               std::string& object, std::string& notes) {
  constexpr std::string_view FIELD = "session.attributes";
  field_decoder decoder(character_table_of(session.charset), notes);
  session_attribute_walk walk(session.sign_on.bytes());
  object += ",\"attributes\":[";
  bool first = true;
  while (const auto pair = walk.next()) {
    object += first ? "[" : ",[";
    first = false;
    append_json_string(object, decoder.decode(FIELD, pair->key));
    object += ',';
    const std::string value = unescaped(pair->value);
    append_json_string(object, decoder.decode(FIELD, value, pair->value));
    object += ']';
  }
  object += ']';
}
