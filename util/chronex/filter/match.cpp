#include "util/chronex/filter/match.h"

#include <cstddef>

namespace {

unsigned char fold(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + 32)
                                    : byte;
}

bool between(char low, char c, char high) {
  return static_cast<unsigned char>(low) <= static_cast<unsigned char>(c) &&
         static_cast<unsigned char>(c) <= static_cast<unsigned char>(high);
}

// `set` is what stands between the brackets, at least one character. A '-' in
// the middle spans a range from the character before it to the one after it.
bool is_member(std::string_view set, char c) {
  if (set[0] == c) return true;
  for (std::size_t i = 1; i < set.size(); ++i) {
    if (set[i] != '-') {
      if (set[i] == c) return true;
    } else if (i + 1 < set.size()) {
      if (between(set[i - 1], c, set[i + 1])) return true;
      // The end of a range that runs backwards is no member.
      ++i;
    }
  }
  return false;
}

class matcher {
 public:
  matcher(std::string_view pattern, bool case_sensitive)
      : pattern_(pattern),
        last_bracket_(pattern.rfind(']')),
        case_sensitive_(case_sensitive) {}

  bool matches(std::string_view text) const;

 private:
  bool same(char a, char b) const {
    return a == b || (!case_sensitive_ && fold(a) == fold(b));
  }
  bool match_one(char c, std::size_t& position) const;

  std::string_view pattern_;
  std::size_t last_bracket_;
  bool case_sensitive_;
};

// Matches `c` against the pattern element at `position`, which is not a star.
// Moves `position` behind the element if it matches.
bool matcher::match_one(char c, std::size_t& position) const {
  std::size_t at = position;
  switch (pattern_[at]) {
    case '?':
      break;
    case '[':
      // The first member is never the closing bracket. Comparing with the last
      // bracket keeps a row of unclosed ones from being searched each time.
      if (last_bracket_ != std::string_view::npos && last_bracket_ >= at + 2) {
        const std::size_t end = pattern_.find(']', at + 2);
        if (!is_member(pattern_.substr(at + 1, end - at - 1), c)) return false;
        at = end;
      } else if (c != '[') {
        return false;
      }
      break;
    case '\\':
      if (at + 1 < pattern_.size()) ++at;
      [[fallthrough]];
    default:
      if (!same(c, pattern_[at])) return false;
  }
  position = at + 1;
  return true;
}

// What stands between two stars takes the earliest place where it fits: a later
// one would leave the next star less to choose from, never more. So only the
// last star is ever retried.
bool matcher::matches(std::string_view text) const {
  constexpr std::size_t NO_STAR = std::string_view::npos;
  std::size_t position = 0;
  std::size_t after_star = NO_STAR;
  std::size_t star_end = 0;  // where in the text the last star ends for now
  std::size_t i = 0;
  while (i < text.size()) {
    if (position < pattern_.size() && pattern_[position] == '*') {
      after_star = ++position;
      star_end = i;
      if (after_star == pattern_.size()) return true;
    } else if (position < pattern_.size() && match_one(text[i], position)) {
      ++i;
    } else if (after_star != NO_STAR) {
      position = after_star;
      i = ++star_end;
    } else {
      return false;
    }
  }
  while (position < pattern_.size() && pattern_[position] == '*') ++position;
  return position == pattern_.size();
}

}  // namespace

bool match(std::string_view text, std::string_view pattern,
           bool case_sensitive) {
  return matcher(pattern, case_sensitive).matches(text);
}
