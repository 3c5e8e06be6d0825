#include "util/chronex/report/dump.h"

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "common/typeutils.h"
#include "util/chronex/report/hexdump.h"

namespace {

constexpr std::size_t VALUE_TEXT_SIZE = 8192;

struct element_name {
  std::string_view item;
  // The item's label without marker and subscript, or null.
  const char* label;
  // 0: none.
  std::uint16_t subscript;
};

// Writes "[k]" for a subscript k other than 0, and returns its length.
std::size_t write_subscript(std::uint16_t subscript, char* place) {
  if (subscript == 0) return 0;
  *place = '[';
  // Most arrays are short.
  if (subscript < 10) {
    place[1] = static_cast<char>('0' + subscript);
    place[2] = ']';
    return 3;
  }
  char* const end =
      std::to_chars(place + 1, place + SUBSCRIPT_SIZE, subscript).ptr;
  *end = ']';
  return static_cast<std::size_t>(end + 1 - place);
}

using byte_run = std::span<const std::uint8_t>;

void put_character_value(report_stream& out, byte_run value, char fill) {
  out.put('"');
  put_escaped(out, without_fill(value, fill), '"');
  out.put('"');
}

// What is seldom called, and needs room of its own, is kept out of the way of
// what every element goes.

// Bytes of a zoned value are copied as they are, so a terminal must not see
// them; a zero among them ends the text.
[[gnu::noinline]] void put_zoned_on_terminal(report_stream& out,
                                             const item_type& type,
                                             byte_run value) {
  std::array<char, VALUE_TEXT_SIZE> text;
  type.fmt(text, value, nullptr);
  out.put_foreign(text.data());
}

// Wide hex forms that do not fit the room are shown as far as they go.
void put_number(report_stream& out, const item_type& type, byte_run value) {
  const bool zoned = type.letter == 'Z';
  if (zoned && out.on_terminal()) {
    put_zoned_on_terminal(out, type, value);
    return;
  }
  const std::span<char> text = out.room(VALUE_TEXT_SIZE);
  std::size_t length = 0;
  type.fmt(text, value, &length);
  if (zoned) length = strnlen(text.data(), length);
  out.claim(length);
}

// A label of unusual length, or on a terminal.
[[gnu::noinline]] void put_long_label(report_stream& out,
                                      const element_name& name) {
  std::array<char, SUBSCRIPT_SIZE> subscript{};
  const std::size_t length = write_subscript(name.subscript, subscript.data());
  out.put_foreign(name.item);
  out.put(std::string_view(subscript.data(), length));
  const std::size_t size = name.item.size() + length;
  if (size < NAME_ROOM) out.fill(' ', NAME_ROOM - size);
  out.put(": ");
}

void put_label(report_stream& out, const element_name& name, char marker) {
  const std::span<char> label = out.room(EMPTY_LABEL.size());
  const bool ready = name.label != nullptr && !out.on_terminal();
  std::memcpy(label.data(), ready ? name.label : EMPTY_LABEL.data(),
              EMPTY_LABEL.size());
  label[MARKER_POSITION] = marker;
  if (!ready) {
    out.claim(NAME_POSITION);
    put_long_label(out, name);
    return;
  }
  write_subscript(name.subscript,
                  label.data() + NAME_POSITION + name.item.size());
  out.claim(EMPTY_LABEL.size());
}

void put_value(report_stream& out, char letter, byte_run value) {
  const item_type* const type = item_type_of(letter);
  if (type == nullptr) return;
  if (type->numeric) {
    put_number(out, *type, value);
  } else {
    put_character_value(out, value, type->fill);
  }
}

char* write_text(byte_run value, char fill, char* place) {
  *place++ = '"';
  place = write_escaped(without_fill(value, fill), '"', place);
  *place++ = '"';
  return place;
}

template <typename number>
char* write_integer(byte_run value, char* place) {
  number stored;
  std::memcpy(&stored, value.data(), sizeof stored);
  constexpr std::size_t MAX_DIGITS = 20;
  return std::to_chars(place, place + MAX_DIGITS, stored).ptr;
}

char* write_double(byte_run value, char* place) {
  double stored = 0;
  std::memcpy(&stored, value.data(), sizeof stored);
  return idb__write_double(stored, place);
}

// A zero byte among the digits ends the text.
char* write_zoned(byte_run value, char* place) {
  std::size_t length = 0;
  idb__fmt_zoned({place, value.size() + 2}, value, &length);
  return place + strnlen(place, length);
}

// Writes a value of a form of its own; returns the place behind it.
char* write_value(value_form form, byte_run value, char* place) {
  switch (form) {
    case value_form::signed_2:
      return write_integer<std::int16_t>(value, place);
    case value_form::signed_4:
      return write_integer<std::int32_t>(value, place);
    case value_form::signed_8:
      return write_integer<std::int64_t>(value, place);
    case value_form::unsigned_2:
      return write_integer<std::uint16_t>(value, place);
    case value_form::unsigned_4:
      return write_integer<std::uint32_t>(value, place);
    case value_form::unsigned_8:
      return write_integer<std::uint64_t>(value, place);
    case value_form::double_8:
      return write_double(value, place);
    case value_form::packed:
      return idb__write_packed(value, place);
    case value_form::zoned:
      return write_zoned(value, place);
    case value_form::text_blank:
      return write_text(value, ' ', place);
    case value_form::text_nul:
      return write_text(value, '\0', place);
    case value_form::other:
      break;
  }
  return place;
}

// The room of a line whose value has a form of its own.
constexpr std::size_t LINE_ROOM =
    EMPTY_LABEL.size() + escaped_room(SHORT_VALUE) + 3;

// The line of an element with a ready label and such a value, in one piece.
void put_short_line(report_stream& out, const element_name& name, char marker,
                    value_form form, byte_run value) {
  char* const line = out.room(LINE_ROOM).data();
  std::memcpy(line, name.label, EMPTY_LABEL.size());
  line[MARKER_POSITION] = marker;
  if (name.subscript != 0) {
    write_subscript(name.subscript, line + NAME_POSITION + name.item.size());
  }
  char* const end = write_value(form, value, line + EMPTY_LABEL.size());
  *end = '\n';
  out.claim(static_cast<std::size_t>(end + 1 - line));
}

void put_element(report_stream& out, const element_view& element,
                 const element_name& name, char marker, byte_run value) {
  if (element.form != value_form::other && name.label != nullptr &&
      !out.on_terminal()) {
    put_short_line(out, name, marker, element.form, value);
    return;
  }
  put_label(out, name, marker);
  put_value(out, element.type, value);
  out.put('\n');
}

element_name name_of(const set_context& set, const record_view& view,
                     const element_view& element) {
  if (element.has_label) {
    const char* const label = view.label_at(element.name_at);
    return {
        {label + NAME_POSITION, element.name_len}, label, element.subscript};
  }
  const auto* const names =
      reinterpret_cast<const char*>(set.list_bytes().data());
  return {
      {names + element.name_at, element.name_len}, nullptr, element.subscript};
}

byte_run part_of(record_image image, const element_view& element) {
  return image.subspan(element.offset, element.size);
}

// The elements of a record of which there is one image.
void dump_single(report_stream& out, const set_context& set,
                 const record_view& view, record_image image) {
  for (const element_view& element : view.elements()) {
    if (!element.selected) continue;
    put_element(out, element, name_of(set, view, element), ' ',
                part_of(image, element));
  }
}

void dump_change(report_stream& out, const set_context& set,
                 const record_view& view, record_image before,
                 record_image after) {
  for (const element_view& element : view.elements()) {
    const byte_run old_part = part_of(before, element);
    const byte_run new_part = part_of(after, element);
    const bool changed =
        std::memcmp(old_part.data(), new_part.data(), old_part.size()) != 0;
    if (!changed && !element.selected) continue;
    const element_name name = name_of(set, view, element);
    put_element(out, element, name, changed ? '-' : ' ', old_part);
    if (changed) put_element(out, element, name, '+', new_part);
  }
}

void dump_image(report_stream& out, std::string_view title,
                record_image image) {
  if (!is_there(image)) return;
  out.put(title);
  out.put_unsigned(image.size());
  out.put(" bytes\n");
  dump_data(out, image, 2);
}

}  // namespace

void record_dump::dump_items(const set_context& set, record_image before,
                             record_image after) {
  const record_view& view =
      views_.view_of(set, {item_names_, report_.item_limit});
  if (is_there(before) && is_there(after)) {
    dump_change(*report_.fp, set, view, before, after);
  } else {
    dump_single(*report_.fp, set, view, is_there(before) ? before : after);
  }
}

void record_dump::dump_record(const set_context& set, record_image before,
                              record_image after, bool hex) {
  if (hex) {
    dump_image(*report_.fp, " before-image: ", before);
    dump_image(*report_.fp, " after-image: ", after);
  } else if (is_there(before) || is_there(after)) {
    dump_items(set, before, after);
  }
}
