#ifndef CHRONEX_UTIL_CHRONEX_INPUT_CHARSET_H
#define CHRONEX_UTIL_CHRONEX_INPUT_CHARSET_H

// Character sets. All texts are passed on as the bytes they are; the id only
// tells readers of the output what they are looking at.

// The run's character set id as long as no input header has fixed it.
inline constexpr int NO_CHARSET = -1;

// The name of a character set id; "unknown" for ids without one.
const char* charset_name(int id);

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_CHARSET_H
