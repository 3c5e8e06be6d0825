#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_NAME_LIST_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_NAME_LIST_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

// Numbers for names, as many as a page has room for.
class name_list {
 public:
  // What comes when there is no room any more.
  static constexpr std::uint16_t OTHERS = 0xFFFF;
  static constexpr std::size_t MAX_NAMES = 20'000;

  // The number of a name, from 0; of no name, too.
  std::uint16_t number(const std::optional<std::string>& name);

  const std::vector<std::optional<std::string>>& names() const {
    return names_;
  }

 private:
  std::vector<std::optional<std::string>> names_;
  std::unordered_map<std::string, std::uint16_t> numbers_;
  std::uint16_t no_name_ = OTHERS;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_NAME_LIST_H
