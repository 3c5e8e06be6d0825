#include "util/chronex/report/dump.h"

#include <cstring>
#include <string_view>

#include "common/typeutils.h"
#include "util/chronex/report/hexdump.h"

namespace {

constexpr std::size_t VALUE_TEXT_SIZE = 8192;
// Records whose views are wide.
constexpr std::int16_t WIDE_RECORD = 2048;

using byte_run = std::span<const std::uint8_t>;

void put_character_value(report_stream& out, byte_run value, char fill) {
  out.put('"');
  put_escaped(out, without_fill(value, fill), '"');
  out.put('"');
}

// Wide hex forms that do not fit the room are shown as far as they go.
void put_number(report_stream& out, const item_type& type, byte_run value) {
  const std::span<char> text = out.room(VALUE_TEXT_SIZE);
  std::size_t length = 0;
  type.fmt(text, value, &length);
  // Only zoned bytes are copied as they are; a zero among them ends the text.
  if (type.letter == 'Z') length = strnlen(text.data(), length);
  out.claim(length);
}

void put_label(report_stream& out, std::string_view label, char marker) {
  const std::span<char> text = out.room(label.size());
  std::memcpy(text.data(), label.data(), label.size());
  text[record_view::MARKER_POSITION] = marker;
  out.claim(label.size());
}

void put_value(report_stream& out, const item_type* type, byte_run value) {
  if (type == nullptr) return;
  if (type->numeric) {
    put_number(out, *type, value);
  } else {
    put_character_value(out, value, type->fill);
  }
}

void put_element(report_stream& out, std::string_view label, char marker,
                 const item_type* type, byte_run value) {
  put_label(out, label, marker);
  put_value(out, type, value);
  out.put('\n');
}

void dump_element(report_stream& out, const element_view& element,
                  std::string_view label, byte_run before, byte_run after) {
  const bool changed =
      !before.empty() && !after.empty() &&
      std::memcmp(before.data(), after.data(), before.size()) != 0;
  if (changed) {
    put_element(out, label, '-', element.type, before);
    put_element(out, label, '+', element.type, after);
  } else if (element.selected) {
    put_element(out, label, ' ', element.type, before.empty() ? after : before);
  }
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

const record_view& record_dump::view_of(const set_context& set) {
  record_view& view = set.rec_sz < WIDE_RECORD
                          ? kept_[set.schema_id % kept_.size()]
                          : of_wide_record_;
  if (!view.is_of(set)) view.make(set, {item_names_, report_.item_limit});
  return view;
}

void record_dump::dump_items(const set_context& set, record_image before,
                             record_image after) {
  const record_view& view = view_of(set);
  for (const element_view& element : view.elements()) {
    dump_element(*report_.fp, element, view.label(element),
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
