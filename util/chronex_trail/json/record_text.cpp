#include "util/chronex_trail/json/record_text.h"

#include <algorithm>
#include <cstring>

#include "util/chronex_trail/json/item_note.h"
#include "util/chronex_trail/json/value_text.h"
#include "util/chronex_trail/values/byte_words.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::string_view BEFORE_KEY = R"(,"before":)";
constexpr std::string_view AFTER_KEY = R"(,"after":)";

bool is_sealed(const item_view& item, const shown_image& image) {
  return item.encrypted && image.sealed;
}

bool differs(const item_view& item, byte_run before, byte_run after) {
  const byte_run old_bytes = item.of(before);
  return !same_bytes(old_bytes.data(), item.of(after).data(), old_bytes.size());
}

char* put_plain(std::string_view text, char* out) {
  if (text.empty()) return out;
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* put_key(const set_piece& set, const keyed_item& keyed, char* out) {
  const char* const key = set.keys.data() + keyed.key_begin;
  for (std::size_t at = 0; at < keyed.key_length; at += KEY_STEP) {
    std::memcpy(out + at, key + at, KEY_STEP);
  }
  return out + keyed.key_length;
}

}  // namespace

inline char* record_text::put_elements(const item_place& place,
                                       std::size_t begin, std::size_t end,
                                       char* out) {
  const item_view& item = place.keyed.item;
  const values_text values = place.keyed.put_values(
      {item.element(place.image.bytes, begin).data(), item.size,
       static_cast<std::uint32_t>(end - begin)},
      {place.characters, scratch_}, out);
  if (values.any_problem) note_elements(place, begin, end);
  return values.end;
}

// Several values are an array.
inline char* record_text::put_values_of(const item_place& place, char* out) {
  const std::size_t count = place.keyed.item.count;
  const std::size_t bracket = count == 1 ? 0 : 1;
  *out = '[';
  out = put_elements(place, 0, count, out + bracket);
  *out = ']';
  return out + bracket;
}

char* record_text::put_encrypted(const item_place& place, char* out) {
  if (is_sealed(place.keyed.item, place.image)) {
    note(place, "encrypted");
    return put_plain("null", out);
  }
  out = put_values_of(place, out);
  note_fill(place);
  return out;
}

// Writes the items from `first` on, without `last`, and remembers where.
char* record_text::put_run(const set_piece& set, const shown_image& image,
                           std::size_t first, std::size_t last, char* out) {
  const character_table& characters = character_table_of(set.charset);
  for (std::size_t i = first; i < last; ++i) {
    const item_place place{set, image, set.items[i], characters};
    const std::size_t notes_before = notes_.size();
    const char* const begin = out;
    out = put_key(set, place.keyed, out);
    out = place.keyed.item.encrypted ? put_encrypted(place, out)
                                     : put_values_of(place, out);
    written_[i] = {begin, out, notes_.size() > notes_before};
  }
  return out;
}

void record_text::compare(const set_piece& set, const shown_image& before,
                          const shown_image& after) {
  differs_.resize(set.items.size());
  char* mark = differs_.data();
  for (const keyed_item& keyed : set.items) {
    *mark++ = differs(keyed.item, before.bytes, after.bytes) ? 1 : 0;
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
  put_image(set, before);
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
  written_.resize(set.items.size());
  if (set.image_room > line_writer::MAX_ROOM) {
    put_long_items(set, image);
    return;
  }
  char* const out =
      put_run(set, image, 0, set.items.size(), out_.room(set.image_room));
  *out = '}';
  out_.claim(out + 1);
}

void record_text::put_long_items(const set_piece& set,
                                 const shown_image& image) {
  const character_table& characters = character_table_of(set.charset);
  for (std::size_t i = 0; i < set.items.size(); ++i) {
    const keyed_item& keyed = set.items[i];
    if (keyed.room > line_writer::MAX_ROOM) {
      put_long_item({set, image, keyed, characters});
    } else {
      out_.claim(put_run(set, image, i, i + 1, out_.room(keyed.room)));
    }
  }
  out_.put('}');
}

// Writes the second image of an operation. What does not differ, and has no
// notes, is copied from the first one.
void record_text::put_differing(const set_piece& set,
                                const shown_image& image) {
  char* out = out_.room(set.image_room);
  std::string_view copied;
  for (std::size_t i = 0; i < set.items.size(); ++i) {
    const item_text& first = written_[i];
    if (differs_[i] == 0 && !first.noted) {
      const char* const begin = copied.empty() ? first.begin : copied.data();
      copied = {begin, static_cast<std::size_t>(first.end - begin)};
      continue;
    }
    out = put_plain(copied, out);
    copied = {};
    out = put_run(set, image, i, i + 1, out);
  }
  out = put_plain(copied, out);
  *out = '}';
  out_.claim(out + 1);
}

// An array that is written as many elements at a time as are sure to fit.
void record_text::put_long_item(const item_place& place) {
  const item_view& item = place.keyed.item;
  out_.claim(put_key(place.set, place.keyed,
                     out_.room(place.keyed.key_length + KEY_STEP)));
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
