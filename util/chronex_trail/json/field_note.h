#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_FIELD_NOTE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_FIELD_NOTE_H

#include <string>
#include <string_view>

#include "util/chronex_trail/values/utf8_text.h"

// Decodes texts that stand outside items, and notes what could not be decoded:
// `,{"field":"session.user","why":"undecodable","raw":"..."}`. Notes begin with
// a comma each.
class field_decoder {
 public:
  // `notes` stays the caller's.
  field_decoder(const character_table& characters, std::string& notes)
      : characters_(characters), notes_(notes) {}

  // The text as UTF-8, valid until the next one is decoded. `stored` is what a
  // note shows, the bytes as they are stored.
  std::string_view decode(std::string_view field, std::string_view bytes,
                          std::string_view stored);
  std::string_view decode(std::string_view field, std::string_view bytes) {
    return decode(field, bytes, bytes);
  }

 private:
  const character_table& characters_;
  std::string& notes_;
  text_scratch scratch_;
};

// Appends `,{"field":...}` for bytes that could not be decoded.
void append_field_note(std::string& notes, std::string_view field,
                       std::string_view stored);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_FIELD_NOTE_H
