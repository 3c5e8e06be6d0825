#include "util/chronex/filter/item_lookup.h"

#include <charconv>
#include <optional>

#include "common/same_text.h"
#include "util/chronex/tables/set_context.h"

namespace {

// Returns k when `name` is the item's name followed by [k], k being a plain
// decimal number from 1 to `count`. The item's name ends at a zero byte.
std::optional<std::size_t> subscript_of(std::string_view name,
                                        std::string_view item_name,
                                        std::size_t count) {
  item_name = item_name.substr(0, item_name.find('\0'));
  if (name.size() < item_name.size() + 3 ||
      !same_text(name.substr(0, item_name.size()), item_name)) {
    return std::nullopt;
  }
  const std::string_view rest = name.substr(item_name.size());
  if (rest.front() != '[' || rest.back() != ']' || rest[1] == '0') {
    return std::nullopt;
  }
  std::size_t subscript = 0;
  const char* const digits_end = rest.data() + rest.size() - 1;
  const auto [end, error] =
      std::from_chars(rest.data() + 1, digits_end, subscript);
  if (error != std::errc() || end != digits_end || subscript > count) {
    return std::nullopt;
  }
  return subscript;
}

}  // namespace

std::string_view without_image_sign(std::string_view name) {
  if (name.starts_with('-') || name.starts_with('+')) name.remove_prefix(1);
  return name;
}

item_element find_item(const set_context& set, std::string_view name) {
  for (const item_descriptor& item : set.item_list()) {
    if (item.count == 1) {
      if (same_text(name, set.item_name(item))) return {&item, 0};
    } else if (const auto subscript =
                   subscript_of(name, set.item_name(item), item.count)) {
      return {&item, *subscript - 1};
    }
  }
  return {};
}

const item_descriptor* find_item_with_elements(const set_context& set,
                                               std::string_view name) {
  if (name.ends_with(']')) name = name.substr(0, name.rfind('['));
  for (const item_descriptor& item : set.item_list()) {
    if (item.count != 1 && same_text(name, set.item_name(item))) return &item;
  }
  return nullptr;
}
