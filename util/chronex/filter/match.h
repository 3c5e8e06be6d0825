#ifndef CHRONEX_UTIL_CHRONEX_FILTER_MATCH_H
#define CHRONEX_UTIL_CHRONEX_FILTER_MATCH_H

// The wildcard matcher of filter expressions.
//
//   *       any sequence of characters, also none
//   ?       exactly one character
//   [set]   exactly one character of the set, which lists characters and
//           ranges (a-z). A ']' or a '-' right after the '[' is a member, a '-'
//           right before the ']' is ignored. There is no negation.
//   \c      the character c; a '\' at the end stands for itself
//
// Any other character stands for itself, as does a '[' that no ']' closes.

#include <string_view>

// Tells whether `text` as a whole matches `pattern`. Both are counted; a NUL is
// an ordinary character. Unless `case_sensitive`, letters are equal to their
// other case (A-Z only), but never as members of a set. Takes at most time
// proportional to the product of both lengths.
bool match(std::string_view text, std::string_view pattern,
           bool case_sensitive);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_MATCH_H
