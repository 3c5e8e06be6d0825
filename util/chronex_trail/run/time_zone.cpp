#include "util/chronex_trail/run/time_zone.h"

#include <cctype>
#include <cstdlib>
#include <ctime>
#include <filesystem>

namespace {

std::filesystem::path zone_directory() {
  const char* const directory = std::getenv("TZDIR");
  return directory != nullptr ? directory : "/usr/share/zoneinfo";
}

bool is_named(const std::string& zone) {
  std::error_code error;
  return zone.find("..") == zone.npos &&
         std::filesystem::is_regular_file(zone_directory() / zone, error);
}

// A zone that its text describes: at least three letters, or a name in angle
// brackets, and the difference to UTC.
bool is_described(const std::string& zone) {
  std::size_t at = 0;
  while (at < zone.size() &&
         std::isalpha(static_cast<unsigned char>(zone[at])) != 0) {
    ++at;
  }
  const std::size_t close = zone.find('>');
  if (zone.starts_with('<') && close != zone.npos) at = close + 1;
  if (at < 3 || at == zone.size()) return false;
  if (zone[at] == '+' || zone[at] == '-') ++at;
  return at < zone.size() &&
         std::isdigit(static_cast<unsigned char>(zone[at])) != 0;
}

}  // namespace

bool set_time_zone(const std::string& zone) {
  if (zone.empty() || (!is_named(zone) && !is_described(zone))) return false;
  setenv("TZ", zone.c_str(), 1);
  tzset();
  return true;
}
