#include "util/chronex_trail/json/item_note.h"

namespace {

void begin_note(std::string& notes, const item_note& about) {
  notes += ",{\"image\":\"";
  notes += about.image;
  notes += "\",\"item\":";
  notes += about.quoted_name;
}

}  // namespace

void append_item_note(std::string& notes, const item_note& about,
                      std::string_view why) {
  begin_note(notes, about);
  notes += ",\"why\":\"";
  notes += why;
  notes += "\"}";
}

void append_element_note(std::string& notes, const item_note& about,
                         const item_view& item, std::size_t k,
                         record_image record, value_problem problem) {
  begin_note(notes, about);
  if (item.count > 1) notes += ",\"element\":" + std::to_string(k + 1);
  notes += ",\"why\":\"";
  notes += problem_name(problem);
  notes += "\",\"raw\":\"";
  const record_image raw = item.element(record, k);
  const std::size_t begin = notes.size();
  notes.resize(begin + raw.size() * 2);
  put_hex_digits(raw, notes.data() + begin);
  notes += "\"}";
}

void append_missing_note(std::string& notes, std::string_view image) {
  notes += ",{\"image\":\"";
  notes += image;
  notes += "\",\"why\":\"no_";
  notes += image;
  notes += "_image\"}";
}
