#include "util/chronex_trail/json/record_text.h"

#include <algorithm>
#include <cstring>

#include "util/chronex_trail/json/item_note.h"
#include "util/chronex_trail/json/value_text.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::string_view BEFORE_KEY = R"(,"before":)";
constexpr std::string_view AFTER_KEY = R"(,"after":)";

bool is_sealed(const item_view& item, const shown_image& image) {
  return item.encrypted && image.sealed;
}

bool differs(const item_view& item, byte_run before, byte_run after) {
  const byte_run old_bytes = item.of(before);
  return std::memcmp(old_bytes.data(), item.of(after).data(),
                     old_bytes.size()) != 0;
}

char* put_plain(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// A comma stands before every key; the first one opens the object.
char* put_key(const set_piece& set, const keyed_item& keyed, char* out) {
  char* const end = put_plain(set.key(keyed), out);
  if (&keyed == &set.items.front()) *out = '{';
  return end;
}

}  // namespace

void record_text::compare(const set_piece& set, const shown_image& before,
                          const shown_image& after) {
  differs_.clear();
  for (const keyed_item& keyed : set.items) {
    differs_.push_back(differs(keyed.item, before.bytes, after.bytes) ? 1 : 0);
  }
}

void record_text::put(const set_piece& set, const shown_image& before,
                      const shown_image& after) {
  const bool both = before.exists() && after.exists();
  if (both) compare(set, before, after);
  // Most items of most updates stay as they are: their text is copied, if it is
  // sure to be still in the buffer.
  const std::size_t room =
      2 * set.image_room + BEFORE_KEY.size() + AFTER_KEY.size() + 4;
  const bool copies = both && before.sealed == after.sealed &&
                      !set.items.empty() && room <= line_writer::MAX_ROOM;
  if (copies) out_.room(room);
  out_.put(BEFORE_KEY);
  keeps_written_ = copies;
  put_image(set, before);
  keeps_written_ = false;
  out_.put(AFTER_KEY);
  if (copies) {
    put_differing(set, after);
  } else {
    put_image(set, after);
  }
}

void record_text::put_image(const set_piece& set, const shown_image& image) {
  if (!image.exists()) {
    out_.put("null");
  } else if (set.items.empty()) {
    out_.put("{}");
  } else {
    put_items(set, image);
  }
}

void record_text::put_items(const set_piece& set, const shown_image& image) {
  if (set.image_room > line_writer::MAX_ROOM) {
    put_long_items(set, image);
    return;
  }
  const character_table& characters = character_table_of(set.charset);
  written_.clear();
  char* out = out_.room(set.image_room);
  for (const keyed_item& keyed : set.items) {
    const std::size_t notes_before = notes_.size();
    char* const begin = out;
    out = put_item({set, image, keyed, characters}, begin);
    if (!keeps_written_) continue;
    written_.push_back({begin, out, notes_.size() > notes_before});
  }
  out_.claim(out);
  out_.put('}');
}

void record_text::put_long_items(const set_piece& set,
                                 const shown_image& image) {
  const character_table& characters = character_table_of(set.charset);
  for (const keyed_item& keyed : set.items) {
    const item_place place{set, image, keyed, characters};
    if (keyed.room > line_writer::MAX_ROOM) {
      put_long_item(place);
    } else {
      out_.claim(put_item(place, out_.room(keyed.room)));
    }
  }
  out_.put('}');
}

// Writes the second image of an operation. What does not differ, and has no
// notes, is copied from the first one.
void record_text::put_differing(const set_piece& set,
                                const shown_image& image) {
  const character_table& characters = character_table_of(set.charset);
  std::string_view copied;
  for (std::size_t i = 0; i < set.items.size(); ++i) {
    const item_text& first = written_[i];
    if (differs_[i] == 0 && !first.noted) {
      const char* const begin = copied.empty() ? first.begin : copied.data();
      copied = {begin, static_cast<std::size_t>(first.end - begin)};
      continue;
    }
    out_.put(copied);
    copied = {};
    const keyed_item& keyed = set.items[i];
    out_.claim(
        put_item({set, image, keyed, characters}, out_.room(keyed.room)));
  }
  out_.put(copied);
  out_.put('}');
}

char* record_text::put_item(const item_place& place, char* out) {
  const item_view& item = place.keyed.item;
  out = put_key(place.set, place.keyed, out);
  if (is_sealed(item, place.image)) {
    note(place, "encrypted");
    return put_plain("null", out);
  }
  if (item.count == 1) {
    out = put_elements(place, 0, 1, out);
  } else {
    *out++ = '[';
    out = put_elements(place, 0, item.count, out);
    *out++ = ']';
  }
  if (item.encrypted) note_fill(place);
  return out;
}

// An array that is written as many elements at a time as are sure to fit.
void record_text::put_long_item(const item_place& place) {
  const item_view& item = place.keyed.item;
  out_.claim(
      put_key(place.set, place.keyed, out_.room(place.keyed.key_length)));
  if (is_sealed(item, place.image)) {
    note(place, "encrypted");
    out_.put("null");
    return;
  }
  const std::size_t room = value_text_room(item.size) + 1;
  const std::size_t step = line_writer::MAX_ROOM / room;
  out_.put('[');
  for (std::size_t begin = 0; begin < item.count; begin += step) {
    if (begin > 0) out_.put(',');
    const std::size_t end = std::min<std::size_t>(item.count, begin + step);
    out_.claim(
        put_elements(place, begin, end, out_.room((end - begin) * room)));
  }
  out_.put(']');
  note_fill(place);
}

char* record_text::put_elements(const item_place& place, std::size_t begin,
                                std::size_t end, char* out) {
  const item_view& item = place.keyed.item;
  const values_text values =
      put_values(item.form,
                 {item.element(place.image.bytes, begin).data(), item.size,
                  static_cast<std::uint32_t>(end - begin)},
                 place.characters, scratch_, out);
  if (values.any_problem) note_elements(place, begin, end);
  return values.end;
}

void record_text::note_fill(const item_place& place) {
  const item_view& item = place.keyed.item;
  if (item.encrypted && place.image.may_be_sealed &&
      has_fill_values(item, place.image.bytes)) {
    note(place, "maybe_encrypted");
  }
}

void record_text::note(const item_place& place, std::string_view why) {
  append_item_note(notes_,
                   {place.image.name, place.set.quoted_name(place.keyed)}, why);
}

void record_text::note_elements(const item_place& place, std::size_t begin,
                                std::size_t end) {
  const item_view& item = place.keyed.item;
  for (std::size_t k = begin; k < end; ++k) {
    const byte_run bytes = item.element(place.image.bytes, k);
    const value_problem problem =
        read_value(item.form, bytes, place.characters, scratch_).problem;
    if (problem == value_problem::none) continue;
    append_element_note(notes_,
                        {place.image.name, place.set.quoted_name(place.keyed)},
                        item, k, place.image.bytes, problem);
  }
}

void record_text::put_changed(const set_piece& set, const shown_image& before,
                              const shown_image& after) {
  std::size_t names = 0;
  out_.put('[');
  for (std::size_t i = 0; i < set.items.size(); ++i) {
    if (differs_[i] == 0) continue;
    const keyed_item& keyed = set.items[i];
    if (is_sealed(keyed.item, before) || is_sealed(keyed.item, after)) continue;
    if (names++ > 0) out_.put(',');
    out_.put(set.quoted_name(keyed));
  }
  out_.put(']');
}
