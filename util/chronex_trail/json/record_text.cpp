#include "util/chronex_trail/json/record_text.h"

#include <cmath>
#include <cstring>

namespace {

using byte_run = std::span<const std::uint8_t>;

// Readers that take numbers for doubles change integers of this size, so that
// they are always strings.
constexpr std::size_t QUOTED_SIZE = 8;

template <typename number>
void put_whole_number(line_writer& out, number value, bool quoted) {
  if (quoted) out.put('"');
  out.put_number(value);
  if (quoted) out.put('"');
}

// The shortest text that reads back at the stored width.
void put_real(line_writer& out, double value, std::size_t size) {
  if (value == 0 && std::signbit(value)) {
    // Readers would take -0 for a whole number, which has no sign.
    out.put("-0.0");
  } else if (size == sizeof(float)) {
    out.put_number(static_cast<float>(value));
  } else {
    out.put_number(value);
  }
}

// Digits and hex digits need no escapes.
void put_quoted(line_writer& out, std::string_view text) {
  out.put('"');
  out.put(text);
  out.put('"');
}

bool is_sealed(const item_view& item, const record_image& image) {
  return item.encrypted && image.sealed;
}

bool differs(const item_view& item, byte_run before, byte_run after) {
  const byte_run old_bytes = item.of(before);
  return std::memcmp(old_bytes.data(), item.of(after).data(),
                     old_bytes.size()) != 0;
}

}  // namespace

void record_text::put(const set_piece& set, const record_image& image) {
  if (!image.exists()) {
    out_.put("null");
    return;
  }
  const character_table& characters = character_table_of(set.charset);
  std::size_t comma = 1;
  out_.put('{');
  for (const keyed_item& keyed : set.items) {
    out_.put(set.key(keyed).substr(comma));
    comma = 0;
    put_item({set, image, keyed, characters});
  }
  out_.put('}');
}

void record_text::put_item(const item_place& place) {
  const item_view& item = place.keyed.item;
  if (is_sealed(item, place.image)) {
    out_.put("null");
    note(place, "encrypted");
    return;
  }
  if (item.count > 1) {
    put_elements(place);
  } else {
    put_element(place, 0);
  }
  if (item.encrypted && place.image.may_be_sealed &&
      has_fill_values(item, place.image.bytes)) {
    note(place, "maybe_encrypted");
  }
}

void record_text::put_elements(const item_place& place) {
  out_.put('[');
  for (std::size_t k = 0; k < place.keyed.item.count; ++k) {
    if (k > 0) out_.put(',');
    put_element(place, k);
  }
  out_.put(']');
}

void record_text::put_element(const item_place& place, std::size_t k) {
  const item_view& item = place.keyed.item;
  const item_value value =
      read_value(item.form, item.element(place.image.bytes, k),
                 place.characters, scratch_);
  if (value.is_null()) {
    out_.put("null");
  } else {
    put_value(item, value);
  }
  if (value.problem != value_problem::none) {
    note_element(place, k, value.problem);
  }
}

void record_text::put_value(const item_view& item, const item_value& value) {
  switch (item.form) {
    case value_form::integer:
      put_whole_number(out_, value.integer, item.size == QUOTED_SIZE);
      break;
    case value_form::natural:
      put_whole_number(out_, value.natural, item.size == QUOTED_SIZE);
      break;
    case value_form::real:
      put_real(out_, value.real, item.size);
      break;
    case value_form::text:
      out_.put_string(value.text);
      break;
    default:
      put_quoted(out_, value.text);
  }
}

void record_text::begin_note(const item_place& place) {
  notes_ += ",{\"image\":\"";
  notes_ += place.image.name;
  notes_ += "\",\"item\":";
  notes_ += place.set.quoted_name(place.keyed);
}

void record_text::note(const item_place& place, std::string_view why) {
  begin_note(place);
  notes_ += ",\"why\":\"";
  notes_ += why;
  notes_ += "\"}";
}

void record_text::note_element(const item_place& place, std::size_t k,
                               value_problem problem) {
  const item_view& item = place.keyed.item;
  begin_note(place);
  if (item.count > 1) notes_ += ",\"element\":" + std::to_string(k + 1);
  notes_ += ",\"why\":\"";
  notes_ += problem_name(problem);
  notes_ += "\",\"raw\":\"";
  const byte_run raw = item.element(place.image.bytes, k);
  const std::size_t begin = notes_.size();
  notes_.resize(begin + raw.size() * 2);
  put_hex_digits(raw, notes_.data() + begin);
  notes_ += "\"}";
}

void record_text::put_changed(const set_piece& set, const record_image& before,
                              const record_image& after) {
  std::size_t comma = 0;
  out_.put('[');
  for (const keyed_item& keyed : set.items) {
    const item_view& item = keyed.item;
    if (!differs(item, before.bytes, after.bytes)) continue;
    if (is_sealed(item, before) || is_sealed(item, after)) continue;
    if (comma++ > 0) out_.put(',');
    out_.put(set.quoted_name(keyed));
  }
  out_.put(']');
}
