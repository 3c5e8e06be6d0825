#ifndef CHRONEX_UTIL_CHRONEX_REPORT_RECORD_VIEW_H
#define CHRONEX_UTIL_CHRONEX_REPORT_RECORD_VIEW_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/filter/item_names.h"
#include "util/chronex/tables/set_context.h"

// How a value gets into its line. What has no way of its own here goes through
// the operations of its item type.
enum class value_form : std::uint8_t {
  other,
  signed_2,
  signed_4,
  signed_8,
  unsigned_2,
  unsigned_4,
  unsigned_8,
  double_8,
  packed,
  zoned,
  text_blank,
  text_nul,
};

// What such a value takes at most, and so the widest that has a way of its own.
inline constexpr std::size_t SHORT_VALUE = 256;

// An element of an item as the item view shows it. There may be a great many.
struct element_view {
  // Place of the item's name, as far as it is shown: in the view's labels if it
  // has one there, else in the schema's names.
  std::uint32_t name_at = 0;
  std::uint8_t name_len = 0;
  // Item type letter.
  char type = 0;
  // The number of the element; 0: it is the only one of its item.
  std::uint16_t subscript = 0;
  // Place of the value in the record.
  std::uint16_t offset = 0;
  std::uint16_t size = 0;
  // The item has a label.
  bool has_label = false;
  // It is also shown when it has not changed.
  bool selected = false;
  value_form form = value_form::other;
};

// Which items the item view shows whether they have changed or not: those named
// by -I, and the first `item_limit`. Without both, all.
struct item_choice {
  const item_name_list& names;
  int item_limit = 0;
};

// The label of an item: a blank, the marker, the name; values start behind it
// in the same column, unless the name is longer.
inline constexpr std::string_view EMPTY_LABEL = "                        : ";
inline constexpr std::size_t MARKER_POSITION = 1;
inline constexpr std::size_t NAME_POSITION = 2;
inline constexpr std::size_t NAME_ROOM = EMPTY_LABEL.size() - NAME_POSITION - 2;
// "[65535]"
inline constexpr std::size_t SUBSCRIPT_SIZE = 7;

// How the records of a schema are shown: their elements in record order, and
// ready labels of the items whose names fit, without subscripts.
class record_view {
 public:
  bool is_of(const set_context& set) const {
    return layout_id_ == set.layout_id;
  }

  std::uint64_t layout_id() const { return layout_id_; }

  // Makes the view of a schema; for the first and only time.
  void make(const set_context& set, const item_choice& choice);

  // The memory that the view takes.
  std::size_t bytes() const {
    return sizeof *this + labels_.capacity() +
           elements_.capacity() * sizeof(element_view);
  }

  std::span<const element_view> elements() const { return elements_; }

  const char* label_at(std::uint32_t place) const {
    return labels_.data() + place;
  }

 private:
  void add_label(std::string_view name, element_view& element);

  std::uint64_t layout_id_ = 0;
  std::string labels_;
  std::vector<element_view> elements_;
};

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_RECORD_VIEW_H
