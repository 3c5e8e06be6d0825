#include "util/chronex/report/record_view.h"

#include <string>
#include <string_view>

namespace {

// A name ends at its first zero byte, if any.
std::string_view shown_name(std::string_view name) {
  return name.substr(0, name.find('\0'));
}

// The name list may name the item or, in an item of several elements, a single
// one.
bool is_selected(const item_choice& choice, std::size_t index,
                 std::string_view name, std::uint16_t subscript) {
  int listed = choice.names.item_name_in_list(name);
  if (listed == 0 && subscript != 0) {
    std::string element(shown_name(name));
    element += '[' + std::to_string(subscript) + ']';
    listed = choice.names.item_name_in_list(element);
  }
  if (choice.item_limit <= 0) return listed != 0;
  return listed > 0 || index < static_cast<std::size_t>(choice.item_limit);
}

// Element k (from 1) of an item.
element_view element_of(const set_context& set, const item_descriptor& item,
                        std::size_t k) {
  const std::size_t offset = item.offset + (k - 1) * item.size;
  return {
      .name_off = item.name_off,
      .name_len =
          static_cast<std::uint8_t>(shown_name(set.item_name(item)).size()),
      .type = static_cast<char>(item.type),
      .subscript = static_cast<std::uint16_t>(item.count > 1 ? k : 0),
      .offset = static_cast<std::uint16_t>(offset),
      .size = item.size,
  };
}

}  // namespace

void record_view::make(const set_context& set, const item_choice& choice) {
  schema_id_ = set.schema_id;
  std::size_t count = 0;
  for (const item_descriptor& item : set.item_list()) count += item.count;
  elements_.reserve(count);
  std::size_t index = 0;
  for (const item_descriptor& item : set.item_list()) {
    for (std::size_t k = 1; k <= item.count; ++k) {
      element_view element = element_of(set, item, k);
      element.selected =
          is_selected(choice, index, set.item_name(item), element.subscript);
      elements_.push_back(element);
    }
    ++index;
  }
}
