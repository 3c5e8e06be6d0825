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

void put_element(report_stream& out, const element_name& name, char marker,
                 char type, byte_run value) {
  put_label(out, name, marker);
  put_value(out, type, value);
  out.put('\n');
}

void dump_element(report_stream& out, const element_view& element,
                  const element_name& name, byte_run before, byte_run after) {
  const bool changed =
      !before.empty() && !after.empty() &&
      std::memcmp(before.data(), after.data(), before.size()) != 0;
  if (changed) {
    put_element(out, name, '-', element.type, before);
    put_element(out, name, '+', element.type, after);
  } else if (element.selected) {
    put_element(out, name, ' ', element.type, before.empty() ? after : before);
  }
}

element_name name_of(const set_context& set, const record_view& view,
                     const element_view& element) {
  if (element.has_label) {
    const char* const label = view.label_at(element.name_at);
    return {
        {label + NAME_POSITION, element.name_len}, label, element.subscript};
  }
  const auto* const names = reinterpret_cast<const char*>(set.names().data());
  return {
      {names + element.name_at, element.name_len}, nullptr, element.subscript};
}

// The element's part of an image, or nothing where there is no image.
byte_run part_of(record_image image, const element_view& element) {
  return is_there(image) ? image.subspan(element.offset, element.size) : image;
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
  for (const element_view& element : view.elements()) {
    dump_element(*report_.fp, element, name_of(set, view, element),
                 part_of(before, element), part_of(after, element));
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
