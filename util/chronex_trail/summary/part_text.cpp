#include "util/chronex_trail/summary/part_text.h"

#include <array>
#include <cstdlib>
#include <ctime>

std::string time_zone_name() {
  const char* const asked = std::getenv("TZ");
  if (asked != nullptr && *asked != '\0') return asked;
  const std::time_t now = std::time(nullptr);
  std::tm calendar{};
  localtime_r(&now, &calendar);
  std::array<char, 64> name{};
  const std::size_t length =
      std::strftime(name.data(), name.size(), "%Z", &calendar);
  return {name.data(), length};
}
