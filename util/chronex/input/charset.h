#ifndef CHRONEX_UTIL_CHRONEX_INPUT_CHARSET_H
#define CHRONEX_UTIL_CHRONEX_INPUT_CHARSET_H

// The run's character set. All texts are passed on as the bytes they are; the
// id only tells readers of the output what they are looking at.

// Character set id: -1 until an input header fixes it.
extern int charset_id;

// The name of a character set id; "unknown" for ids without one.
const char* charset_name(int id);

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_CHARSET_H
