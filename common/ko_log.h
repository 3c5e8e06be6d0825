#ifndef CHRONEX_COMMON_KO_LOG_H
#define CHRONEX_COMMON_KO_LOG_H

// The log hook of the key handling code.

// Categories that the callers pass; they do not change what is printed.
inline constexpr int LOG_CATEGORY_CRYPTO = 'C';
inline constexpr int LOG_CATEGORY_INTERNAL = 'I';

// Writes the message (a printf format and its arguments) to standard error when
// `level` is 0, without adding a line end; writes nothing at any other level.
[[gnu::format(printf, 3, 4)]] void ko__Log(int category, int level,
                                           const char* format, ...);

#endif  // CHRONEX_COMMON_KO_LOG_H
