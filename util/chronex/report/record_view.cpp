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

value_form form_of(const item_descriptor& item) {
  const std::uint16_t size = item.size;
  if (size > SHORT_VALUE) return value_form::other;
  switch (item.type) {
    case 'I':
      if (size == 2) return value_form::signed_2;
      if (size == 4) return value_form::signed_4;
      return size == 8 ? value_form::signed_8 : value_form::other;
    case 'K':
      if (size == 2) return value_form::unsigned_2;
      if (size == 4) return value_form::unsigned_4;
      return size == 8 ? value_form::unsigned_8 : value_form::other;
    case 'E':
      return size == 8 ? value_form::double_8 : value_form::other;
    case 'P':
      return value_form::packed;
    case 'Z':
      return value_form::zoned;
    case 'U':
    case 'X':
      return value_form::text_blank;
    case 'B':
      return value_form::text_nul;
    default:
      return value_form::other;
  }
}

// What all elements of an item have in common.
element_view first_element(const item_descriptor& item, std::string_view name) {
  return {
      .name_at = item.name_off,
      .name_len = static_cast<std::uint8_t>(name.size()),
      .type = static_cast<char>(item.type),
      .subscript = static_cast<std::uint16_t>(item.count > 1 ? 1 : 0),
      .offset = item.offset,
      .size = item.size,
      .form = form_of(item),
  };
}

}  // namespace

void record_view::add_label(std::string_view name, element_view& element) {
  const std::size_t needed =
      name.size() + (element.subscript != 0 ? SUBSCRIPT_SIZE : 0);
  if (needed > NAME_ROOM) return;
  const std::size_t begin = labels_.size();
  labels_ += EMPTY_LABEL;
  labels_.replace(begin + NAME_POSITION, name.size(), name);
  element.name_at = static_cast<std::uint32_t>(begin);
  element.has_label = true;
}

void record_view::make(const set_context& set, const item_choice& choice) {
  layout_id_ = set.layout_id;
  std::size_t count = 0;
  for (const item_descriptor& item : set.item_list()) count += item.count;
  elements_.reserve(count);
  std::size_t index = 0;
  for (const item_descriptor& item : set.item_list()) {
    const std::string_view name = set.item_name(item);
    element_view element = first_element(item, shown_name(name));
    add_label(shown_name(name), element);
    for (std::size_t k = 1; k <= item.count; ++k) {
      element.selected = is_selected(choice, index, name, element.subscript);
      elements_.push_back(element);
      ++element.subscript;
      element.offset = static_cast<std::uint16_t>(element.offset + item.size);
    }
    ++index;
  }
  labels_.shrink_to_fit();
}
