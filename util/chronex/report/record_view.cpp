#include "util/chronex/report/record_view.h"

namespace {

// Values start in this column, behind label and ": ", unless the label is
// longer.
constexpr std::size_t LABEL_WIDTH = 24;
// A blank and the marker come before the item's name in a label.
constexpr std::size_t NAME_POSITION = 2;

// The name list may name the item or, in an item of several elements, a single
// one.
bool is_selected(const item_choice& choice, std::size_t index,
                 std::string_view name, bool has_subscript,
                 std::string_view name_with_subscript) {
  int listed = choice.names.item_name_in_list(name);
  if (listed == 0 && has_subscript) {
    listed = choice.names.item_name_in_list(name_with_subscript);
  }
  if (choice.item_limit <= 0) return listed != 0;
  return listed > 0 || index < static_cast<std::size_t>(choice.item_limit);
}

}  // namespace

void record_view::make(const set_context& set, const item_choice& choice) {
  schema_id_ = set.schema_id;
  text_.clear();
  elements_.clear();
  std::size_t index = 0;
  for (const item_descriptor& item : set.item_list()) {
    for (std::size_t k = 1; k <= item.count; ++k) {
      add(item, index, k, set.item_name(item), choice);
    }
    ++index;
  }
}

// Adds element k of the item that stands at `index` of its list. A name ends at
// its first zero byte, if any.
void record_view::add(const item_descriptor& item, std::size_t index,
                      std::size_t k, std::string_view name,
                      const item_choice& choice) {
  const std::size_t begin = text_.size();
  text_.append(NAME_POSITION, ' ');
  text_ += name.substr(0, name.find('\0'));
  if (item.count > 1) text_ += '[' + std::to_string(k) + ']';
  const bool selected =
      is_selected(choice, index, name, item.count > 1,
                  std::string_view(text_).substr(begin + NAME_POSITION));
  const std::size_t length = text_.size() - begin;
  if (length < LABEL_WIDTH) text_.append(LABEL_WIDTH - length, ' ');
  text_ += ": ";
  elements_.push_back(
      {.type = item_type_of(static_cast<char>(item.type)),
       .label_begin = static_cast<std::uint32_t>(begin),
       .label_length = static_cast<std::uint16_t>(text_.size() - begin),
       .offset = static_cast<std::uint16_t>(item.offset + (k - 1) * item.size),
       .size = item.size,
       .selected = selected});
}
