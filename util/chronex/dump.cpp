#include "util/chronex/dump.h"

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "common/typeutils.h"
#include "util/chronex/hexdump.h"
#include "util/chronex/item_names.h"
#include "util/chronex/report.h"

namespace {

// Values start in this column, behind label and ": ", unless the label is
// longer.
constexpr std::size_t LABEL_WIDTH = 24;
// A blank and the marker come before the item's name in a label.
constexpr std::size_t MARKER_POSITION = 1;
constexpr std::size_t NAME_POSITION = 2;
// Room for a name of 255 bytes and a subscript.
constexpr std::size_t LABEL_SIZE = 272;
constexpr std::size_t VALUE_TEXT_SIZE = 8192;

using byte_run = std::span<const std::uint8_t>;

// " mNAME" or " mNAME[k]", filled up with blanks, and ": ".
class element_label {
 public:
  // A name ends at its first zero byte, if any.
  element_label(std::string_view name, bool has_subscript,
                std::size_t element) {
    text_[0] = ' ';
    text_[MARKER_POSITION] = ' ';
    length_ = NAME_POSITION;
    const std::size_t shown = std::min(name.size(), name.find('\0'));
    std::memcpy(text_.data() + length_, name.data(), shown);
    length_ += shown;
    if (has_subscript) append_subscript(element);
    plain_length_ = length_;
    while (length_ < LABEL_WIDTH) text_[length_++] = ' ';
    text_[length_++] = ':';
    text_[length_++] = ' ';
  }

  // The name with its subscript.
  std::string_view name() const {
    return std::string_view(text_.data(), plain_length_).substr(NAME_POSITION);
  }
  std::string_view marked(char marker) {
    text_[MARKER_POSITION] = marker;
    return {text_.data(), length_};
  }

 private:
  void append_subscript(std::size_t element) {
    text_[length_++] = '[';
    char* place = text_.data() + length_;
    const auto end =
        std::to_chars(place, text_.data() + text_.size(), element).ptr;
    length_ += static_cast<std::size_t>(end - place);
    text_[length_++] = ']';
  }

  std::array<char, LABEL_SIZE> text_;
  std::size_t length_ = 0;
  std::size_t plain_length_ = 0;
};

void put_character_value(byte_run value, char fill) {
  while (!value.empty() && value.back() == static_cast<std::uint8_t>(fill)) {
    value = value.first(value.size() - 1);
  }
  report.fp->put('"');
  put_escaped(*report.fp, value, '"');
  report.fp->put('"');
}

// Wide hex forms that do not fit the buffer are shown as far as they go.
void put_number(const item_type& type, byte_run value) {
  static std::array<char, VALUE_TEXT_SIZE> text;
  std::size_t length = 0;
  type.fmt(text, value, &length);
  report.fp->put(std::string_view(text.data(), strnlen(text.data(), length)));
}

void put_element(std::string_view label, const item_type* type,
                 byte_run value) {
  report.fp->put(label);
  if (type != nullptr && type->numeric) {
    put_number(*type, value);
  } else if (type != nullptr) {
    put_character_value(value, type->fill);
  }
  report.fp->put('\n');
}

// Whether an unchanged element of the item with this index is shown. The name
// list may name the item or, in an item of several elements, a single one.
bool is_selected(std::string_view item_name, bool has_subscript,
                 const element_label& label, std::size_t index) {
  int listed = item_name_in_list(item_name);
  if (listed == 0 && has_subscript) listed = item_name_in_list(label.name());
  if (report.item_limit <= 0) return listed != 0;
  return listed > 0 || index < static_cast<std::size_t>(report.item_limit);
}

// One item of the record being shown.
struct item_view {
  const item_descriptor& item;
  std::size_t index;
  std::string_view name;
  const item_type* type;
};

void dump_element(const item_view& view, std::size_t element, byte_run before,
                  byte_run after) {
  const bool has_subscript = view.item.count > 1;
  element_label label(view.name, has_subscript, element);
  const bool changed =
      !before.empty() && !after.empty() &&
      std::memcmp(before.data(), after.data(), before.size()) != 0;
  if (changed) {
    put_element(label.marked('-'), view.type, before);
    put_element(label.marked('+'), view.type, after);
  } else if (is_selected(view.name, has_subscript, label, view.index)) {
    put_element(label.marked(' '), view.type, before.empty() ? after : before);
  }
}

// The part of an image, or nothing where there is no image.
byte_run part_of(byte_run image, std::size_t offset, std::size_t size) {
  return image.empty() ? image : image.subspan(offset, size);
}

void dump_items(const set_context& set, byte_run before, byte_run after) {
  const std::span<const item_descriptor> items = set.item_list();
  for (std::size_t i = 0; i < items.size(); ++i) {
    const item_descriptor& item = items[i];
    const item_view view{item, i, set.item_name(item),
                         item_type_of(static_cast<char>(item.type))};
    std::size_t offset = item.offset;
    for (std::size_t element = 1; element <= item.count; ++element) {
      dump_element(view, element, part_of(before, offset, item.size),
                   part_of(after, offset, item.size));
      offset += item.size;
    }
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
