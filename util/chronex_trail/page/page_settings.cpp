#include "util/chronex_trail/page/page_settings.h"

#include <charconv>
#include <optional>
#include <utility>

namespace {

using number_pair = std::pair<int, int>;

// "8-18"
std::optional<number_pair> parse_pair(std::string_view text) {
  number_pair pair;
  const char* const end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, pair.first);
  if (first.ec != std::errc() || first.ptr == end || *first.ptr != '-') {
    return std::nullopt;
  }
  const auto second = std::from_chars(first.ptr + 1, end, pair.second);
  if (second.ec != std::errc() || second.ptr != end) return std::nullopt;
  return pair;
}

}  // namespace

bool parse_office_hours(std::string_view text, office_times& office) {
  const auto hours = parse_pair(text);
  if (!hours || hours->first < 0 || hours->first >= hours->second ||
      hours->second > 24) {
    return false;
  }
  office.first_hour = hours->first;
  office.end_hour = hours->second;
  return true;
}

bool parse_office_days(std::string_view text, office_times& office) {
  const auto days = parse_pair(text);
  if (!days || days->first < 1 || days->first > days->second ||
      days->second > 7) {
    return false;
  }
  office.first_day = days->first - 1;
  office.last_day = days->second - 1;
  return true;
}
