#ifndef CHRONEX_UTIL_CHRONEX_REPORT_RECORD_VIEW_H
#define CHRONEX_UTIL_CHRONEX_REPORT_RECORD_VIEW_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/typeutils.h"
#include "util/chronex/filter/item_names.h"
#include "util/chronex/tables/set_context.h"

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

// Which items the item view shows whether they have changed or not: those named
// by -I, and the first `item_limit`. Without both, all.
struct item_choice {
  const item_name_list& names;
  int item_limit = 0;
};

// How the records of a schema are shown: their elements in record order, with
// labels. A label is " NAME" or " NAME[k]" behind a place for the marker,
// filled up with blanks, and ": ".
class record_view {
 public:
  // The place of the marker in a label.
  static constexpr std::size_t MARKER_POSITION = 1;

  bool is_of(const set_context& set) const {
    return schema_id_ == set.schema_id;
  }

  void make(const set_context& set, const item_choice& choice);

  std::span<const element_view> elements() const { return elements_; }

  std::string_view label(const element_view& element) const {
    return {text_.data() + element.label_begin, element.label_length};
  }

 private:
  void add(const item_descriptor& item, std::size_t index, std::size_t k,
           std::string_view name, const item_choice& choice);

  std::uint64_t schema_id_ = 0;
  std::string text_;
  std::vector<element_view> elements_;
};

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_RECORD_VIEW_H
