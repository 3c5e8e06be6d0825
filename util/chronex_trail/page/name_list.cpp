#include "util/chronex_trail/page/name_list.h"

std::uint16_t name_list::number(const std::optional<std::string>& name) {
  if (name) {
    const auto known = numbers_.find(*name);
    if (known != numbers_.end()) return known->second;
  } else if (no_name_ != OTHERS) {
    return no_name_;
  }
  if (names_.size() == MAX_NAMES) return OTHERS;
  const auto number = static_cast<std::uint16_t>(names_.size());
  names_.push_back(name);
  if (name) {
    numbers_.emplace(*name, number);
  } else {
    no_name_ = number;
  }
  return number;
}
