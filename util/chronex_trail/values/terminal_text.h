#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_TERMINAL_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_TERMINAL_TEXT_H

// Texts for the columns of a terminal. All are well-formed UTF-8.

#include <cstddef>
#include <string>
#include <string_view>

// A text without what would steer a terminal or turn the order of its
// characters round: control characters become \x1b, marks of direction and
// characters that cannot be seen \u202e.
std::string terminal_text(std::string_view utf8);

// The columns that a text takes. Those that wide characters take are known of
// the scripts and pictures that have them.
std::size_t terminal_width(std::string_view utf8);

// The beginning of a text that takes at most so many columns, the last of which
// says that something was cut; the whole text if it fits.
std::string cut_to_width(std::string_view utf8, std::size_t width);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_TERMINAL_TEXT_H
