#include "util/chronex_trail/json/field_note.h"

#include <cstdint>
#include <span>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/item_value.h"

std::string_view field_decoder::decode(std::string_view field,
                                       std::string_view bytes,
                                       std::string_view stored) {
  const decoded_text text = decode_text(bytes, characters_, scratch_);
  if (text.undecodable) append_field_note(notes_, field, stored);
  return text.utf8;
}

void append_field_note(std::string& notes, std::string_view field,
                       std::string_view stored) {
  notes += ",{\"field\":";
  append_json_string(notes, field);
  notes += ",\"why\":\"undecodable\",\"raw\":\"";
  const std::size_t begin = notes.size();
  notes.resize(begin + stored.size() * 2);
  put_hex_digits(
      {reinterpret_cast<const std::uint8_t*>(stored.data()), stored.size()},
      notes.data() + begin);
  notes += "\"}";
}
