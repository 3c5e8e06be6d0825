#ifndef CHRONEX_COMMON_SAME_TEXT_H
#define CHRONEX_COMMON_SAME_TEXT_H

#include <strings.h>

#include <string_view>

// True when both texts are the same but for upper and lower case. An empty text
// may have no data.
inline bool same_text(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  return a.empty() || strncasecmp(a.data(), b.data(), a.size()) == 0;
}

#endif  // CHRONEX_COMMON_SAME_TEXT_H
