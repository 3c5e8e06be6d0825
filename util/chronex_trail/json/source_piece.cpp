#include "util/chronex_trail/json/source_piece.h"

#include "util/chronex/input/input_file.h"
#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/text_origin.h"
#include "util/chronex_trail/values/utf8_text.h"

namespace {

std::string source_text(const input_file& file) {
  std::string text = ",\"source\":{\"file\":";
  append_json_string(text, well_formed_utf8(name_as_given(file)));
  if (file.type == FWLOG_FILE) {
    append_json_member(text, "generation", std::int64_t{file.generation});
    append_json_member(text, "sequence", std::int64_t{file.sequence});
  }
  return text;
}

}  // namespace

void source_piece::make_texts(const event_place& place) {
  if (place.file == file_) return;
  text_ = source_text(*place.file);
  numbered_ = text_;
  numbered_ += is_in_audit_file(place) ? R"(,"record":)" : R"(,"action":)";
  file_ = place.file;
}

const std::string& source_piece::numbered(const event_place& place) {
  make_texts(place);
  return numbered_;
}

void source_piece::put(line_writer& out, const event_place& place) {
  if (place.file == nullptr) return;
  make_texts(place);
  if (place.number == 0) {
    out.put(text_);
    out.put('}');
  } else {
    out.put(numbered_);
    put_number(out, place.number);
  }
}
