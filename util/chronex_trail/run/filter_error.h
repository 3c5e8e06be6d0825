#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_FILTER_ERROR_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_FILTER_ERROR_H

#include <string>

#include "util/chronex/messages/messages.h"

// Tells what is wrong with a filter text that cannot be compiled: the line at
// fault, a caret under the place, and what was expected there. `text` is as the
// user wrote it, in UTF-8, and `encoded` the same with one byte a character.
// Returns whether there was something to tell.
bool tell_filter_error(const std::string& text, const std::string& encoded,
                       run_messages& messages);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_FILTER_ERROR_H
