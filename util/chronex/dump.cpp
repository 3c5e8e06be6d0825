#include "util/chronex/dump.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

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
constexpr std::size_t VALUE_TEXT_SIZE = 8192;
// Schemas whose labels are kept, as many as a database may have data sets in
// use. Which one goes for a new one is left to chance. Of wide records, whose
// labels may take a megabyte, only the latest one's are kept.
constexpr std::size_t KEPT_LABEL_SETS = 256;
constexpr std::int16_t WIDE_RECORD = 2048;

using byte_run = std::span<const std::uint8_t>;

// The labels of a schema's elements, in record order: " NAME" or " NAME[k]"
// behind a place for the marker, filled up with blanks, and ": ".
class label_set {
 public:
  struct label {
    std::string_view text;
    // The name with its subscript.
    std::string_view name;
  };

  bool is_of(const set_context& set) const {
    return schema_id_ == set.schema_id;
  }

  void make(const set_context& set) {
    schema_id_ = set.schema_id;
    text_.clear();
    places_.clear();
    for (const item_descriptor& item : set.item_list()) {
      for (std::size_t element = 1; element <= item.count; ++element) {
        add(set.item_name(item), item.count > 1, element);
      }
    }
  }

  label operator[](std::size_t index) const {
    const place& where = places_[index];
    const std::string_view text = text_;
    return {text.substr(where.begin, where.length),
            text.substr(where.begin + NAME_POSITION, where.name_length)};
  }

 private:
  struct place {
    std::size_t begin;
    std::size_t length;
    std::size_t name_length;
  };

  // A name ends at its first zero byte, if any.
  void add(std::string_view name, bool has_subscript, std::size_t element) {
    const std::size_t begin = text_.size();
    text_.append(NAME_POSITION, ' ');
    text_ += name.substr(0, name.find('\0'));
    if (has_subscript) text_ += '[' + std::to_string(element) + ']';
    const std::size_t length = text_.size() - begin;
    if (length < LABEL_WIDTH) text_.append(LABEL_WIDTH - length, ' ');
    text_ += ": ";
    places_.push_back({begin, text_.size() - begin, length - NAME_POSITION});
  }

  std::uint64_t schema_id_ = 0;
  std::string text_;
  std::vector<place> places_;
};

const label_set& labels_of(const set_context& set) {
  static std::array<label_set, KEPT_LABEL_SETS> kept;
  static label_set of_wide_record;
  label_set& labels = set.rec_sz < WIDE_RECORD
                          ? kept[set.schema_id % kept.size()]
                          : of_wide_record;
  if (!labels.is_of(set)) labels.make(set);
  return labels;
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

void put_element(const label_set::label& label, char marker,
                 const item_type* type, byte_run value) {
  put_label(label.text, marker);
  if (type != nullptr && type->numeric) {
    put_number(*type, value);
  } else if (type != nullptr) {
    put_character_value(value, type->fill);
  }
  report.fp->put('\n');
}

// One item of the record being shown.
struct item_view {
  const item_descriptor& item;
  std::size_t index;
  std::string_view name;
  const item_type* type;
};

// Whether an unchanged element of the item is shown. The name list may name the
// item or, in an item of several elements, a single one.
bool is_selected(const item_view& view, const label_set::label& label) {
  int listed = item_name_in_list(view.name);
  if (listed == 0 && view.item.count > 1)
    listed = item_name_in_list(label.name);
  if (report.item_limit <= 0) return listed != 0;
  return listed > 0 || view.index < static_cast<std::size_t>(report.item_limit);
}

void dump_element(const item_view& view, const label_set::label& label,
                  byte_run before, byte_run after) {
  const bool changed =
      !before.empty() && !after.empty() &&
      std::memcmp(before.data(), after.data(), before.size()) != 0;
  if (changed) {
    put_element(label, '-', view.type, before);
    put_element(label, '+', view.type, after);
  } else if (is_selected(view, label)) {
    put_element(label, ' ', view.type, before.empty() ? after : before);
  }
}

// The part of an image, or nothing where there is no image.
byte_run part_of(byte_run image, std::size_t offset, std::size_t size) {
  return image.empty() ? image : image.subspan(offset, size);
}

void dump_items(const set_context& set, byte_run before, byte_run after) {
  const label_set& labels = labels_of(set);
  std::size_t label_index = 0;
  const std::span<const item_descriptor> items = set.item_list();
  for (std::size_t i = 0; i < items.size(); ++i) {
    const item_descriptor& item = items[i];
    const item_view view{item, i, set.item_name(item),
                         item_type_of(static_cast<char>(item.type))};
    std::size_t offset = item.offset;
    for (std::size_t element = 1; element <= item.count; ++element) {
      dump_element(view, labels[label_index++],
                   part_of(before, offset, item.size),
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
