#include "util/chronex/report/dump.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "common/typeutils.h"
#include "util/chronex/report/hexdump.h"
#include "util/chronex/report/item_names.h"
#include "util/chronex/report/report.h"

namespace {

// Values start in this column, behind label and ": ", unless the label is
// longer.
constexpr std::size_t LABEL_WIDTH = 24;
// A blank and the marker come before the item's name in a label.
constexpr std::size_t MARKER_POSITION = 1;
constexpr std::size_t NAME_POSITION = 2;
constexpr std::size_t VALUE_TEXT_SIZE = 8192;
// Schemas whose views are kept, as many as a database may have data sets in
// use. Which one goes for a new one is left to chance. Of wide records, whose
// view may take megabytes, only the latest one's is kept.
constexpr std::size_t KEPT_VIEWS = 256;
constexpr std::int16_t WIDE_RECORD = 2048;

using byte_run = std::span<const std::uint8_t>;

// An element of an item as the item view shows it.
struct element_view {
  // Null when values of this type are not shown.
  const item_type* type = nullptr;
  // Place of the label in record_view's text.
  std::uint32_t label_begin = 0;
  std::uint16_t label_length = 0;
  // Place of the value in the record.
  std::uint16_t offset = 0;
  std::uint16_t size = 0;
  // It is also shown when it has not changed.
  bool selected = false;
};

// How the records of a schema are shown: their elements in record order, with
// labels. A label is " NAME" or " NAME[k]" behind a place for the marker,
// filled up with blanks, and ": ".
class record_view {
 public:
  bool is_of(const set_context& set) const {
    return schema_id_ == set.schema_id;
  }

  void make(const set_context& set) {
    schema_id_ = set.schema_id;
    text_.clear();
    elements_.clear();
    std::size_t index = 0;
    for (const item_descriptor& item : set.item_list()) {
      for (std::size_t k = 1; k <= item.count; ++k) {
        add(item, index, k, set.item_name(item));
      }
      ++index;
    }
  }

  std::span<const element_view> elements() const { return elements_; }

  std::string_view label(const element_view& element) const {
    return {text_.data() + element.label_begin, element.label_length};
  }

 private:
  // Adds element k of the item that stands at `index` of its list. A name ends
  // at its first zero byte, if any.
  void add(const item_descriptor& item, std::size_t index, std::size_t k,
           std::string_view name) {
    const std::size_t begin = text_.size();
    text_.append(NAME_POSITION, ' ');
    text_ += name.substr(0, name.find('\0'));
    if (item.count > 1) text_ += '[' + std::to_string(k) + ']';
    const bool selected =
        is_selected(index, name, item.count > 1,
                    std::string_view(text_).substr(begin + NAME_POSITION));
    const std::size_t length = text_.size() - begin;
    if (length < LABEL_WIDTH) text_.append(LABEL_WIDTH - length, ' ');
    text_ += ": ";
    elements_.push_back(
        {.type = item_type_of(static_cast<char>(item.type)),
         .label_begin = static_cast<std::uint32_t>(begin),
         .label_length = static_cast<std::uint16_t>(text_.size() - begin),
         .offset =
             static_cast<std::uint16_t>(item.offset + (k - 1) * item.size),
         .size = item.size,
         .selected = selected});
  }

  // The name list may name the item or, in an item of several elements, a
  // single one.
  static bool is_selected(std::size_t index, std::string_view name,
                          bool has_subscript,
                          std::string_view name_with_subscript) {
    int listed = item_name_in_list(name);
    if (listed == 0 && has_subscript) {
      listed = item_name_in_list(name_with_subscript);
    }
    if (report.item_limit <= 0) return listed != 0;
    return listed > 0 || index < static_cast<std::size_t>(report.item_limit);
  }

  std::uint64_t schema_id_ = 0;
  std::string text_;
  std::vector<element_view> elements_;
};

const record_view& view_of(const set_context& set) {
  static std::array<record_view, KEPT_VIEWS> kept;
  static record_view of_wide_record;
  record_view& view = set.rec_sz < WIDE_RECORD
                          ? kept[set.schema_id % kept.size()]
                          : of_wide_record;
  if (!view.is_of(set)) view.make(set);
  return view;
}

void put_character_value(byte_run value, char fill) {
  report.fp->put('"');
  put_escaped(*report.fp, without_fill(value, fill), '"');
  report.fp->put('"');
}

// Wide hex forms that do not fit the room are shown as far as they go.
void put_number(const item_type& type, byte_run value) {
  const std::span<char> text = report.fp->room(VALUE_TEXT_SIZE);
  std::size_t length = 0;
  type.fmt(text, value, &length);
  // Only zoned bytes are copied as they are; a zero among them ends the text.
  if (type.letter == 'Z') length = strnlen(text.data(), length);
  report.fp->claim(length);
}

void put_label(std::string_view label, char marker) {
  const std::span<char> text = report.fp->room(label.size());
  std::memcpy(text.data(), label.data(), label.size());
  text[MARKER_POSITION] = marker;
  report.fp->claim(label.size());
}

void put_value(const item_type* type, byte_run value) {
  if (type == nullptr) return;
  if (type->numeric) {
    put_number(*type, value);
  } else {
    put_character_value(value, type->fill);
  }
}

void put_element(std::string_view label, char marker, const item_type* type,
                 byte_run value) {
  put_label(label, marker);
  put_value(type, value);
  report.fp->put('\n');
}

void dump_element(const element_view& element, std::string_view label,
                  byte_run before, byte_run after) {
  const bool changed =
      !before.empty() && !after.empty() &&
      std::memcmp(before.data(), after.data(), before.size()) != 0;
  if (changed) {
    put_element(label, '-', element.type, before);
    put_element(label, '+', element.type, after);
  } else if (element.selected) {
    put_element(label, ' ', element.type, before.empty() ? after : before);
  }
}

// The element's part of an image, or nothing where there is no image.
byte_run part_of(byte_run image, const element_view& element) {
  return image.empty() ? image : image.subspan(element.offset, element.size);
}

void dump_items(const set_context& set, byte_run before, byte_run after) {
  const record_view& view = view_of(set);
  for (const element_view& element : view.elements()) {
    dump_element(element, view.label(element), part_of(before, element),
                 part_of(after, element));
  }
}

void dump_image(std::string_view title, byte_run image) {
  if (image.data() == nullptr) return;
  report.fp->put(title);
  report.fp->put_unsigned(image.size());
  report.fp->put(" bytes\n");
  dump_data(*report.fp, image, 2);
}

}  // namespace

void dump_record(const node_entry& node, byte_run before, byte_run after,
                 bool hex) {
  if (hex) {
    dump_image(" before-image: ", before);
    dump_image(" after-image: ", after);
  } else if (node.set && (!before.empty() || !after.empty())) {
    dump_items(*node.set, before, after);
  }
}
