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
  const character_table& characters = character_table_of(set.charset);
  written_.clear();
  for (const keyed_item& keyed : set.items) {
    const std::size_t notes_before = notes_.size();
    const char* const begin = out_.position();
    put_item({set, image, keyed, characters});
    if (!keeps_written_) continue;
    written_.push_back({begin, out_.position(), notes_.size() > notes_before});
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
    put_item({set, image, set.items[i], characters});
  }
  out_.put(copied);
  out_.put('}');
}

void record_text::put_item(const item_place& place) {
  const item_view& item = place.keyed.item;
  const std::string_view key = place.set.key(place.keyed);
  char* const out = out_.room(key.size());
  std::memcpy(out, key.data(), key.size());
  // A comma stands before every key; the first one opens the object.
  if (&place.keyed == &place.set.items.front()) *out = '{';
  out_.claim(out + key.size());
  if (is_sealed(item, place.image)) {
    out_.put("null");
    note(place, "encrypted");
    return;
  }
  put_values(place);
  if (item.encrypted && place.image.may_be_sealed &&
      has_fill_values(item, place.image.bytes)) {
    note(place, "maybe_encrypted");
  }
}

void record_text::put_values(const item_place& place) {
  const item_view& item = place.keyed.item;
  const std::size_t room = value_text_room(item.size) + 1;
  if (item.count == 1) {
    out_.claim(put_element(place, 0, out_.room(room)));
    return;
  }
  // As many elements at a time as are sure to fit.
  const std::size_t step = line_writer::MAX_ROOM / room;
  out_.put('[');
  for (std::size_t begin = 0; begin < item.count; begin += step) {
    const std::size_t end = std::min<std::size_t>(item.count, begin + step);
    char* out = out_.room((end - begin) * room);
    for (std::size_t k = begin; k < end; ++k) {
      if (k > 0) *out++ = ',';
      out = put_element(place, k, out);
    }
    out_.claim(out);
  }
  out_.put(']');
}

char* record_text::put_element(const item_place& place, std::size_t k,
                               char* out) {
  const item_view& item = place.keyed.item;
  const value_text value =
      put_value(item.form, item.element(place.image.bytes, k), place.characters,
                scratch_, out);
  if (value.problem != value_problem::none) {
    note_element(place, k, value.problem);
  }
  return value.end;
}

void record_text::note(const item_place& place, std::string_view why) {
  append_item_note(notes_,
                   {place.image.name, place.set.quoted_name(place.keyed)}, why);
}

void record_text::note_element(const item_place& place, std::size_t k,
                               value_problem problem) {
  append_element_note(notes_,
                      {place.image.name, place.set.quoted_name(place.keyed)},
                      place.keyed.item, k, place.image.bytes, problem);
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
