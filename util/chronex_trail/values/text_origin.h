#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_TEXT_ORIGIN_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_TEXT_ORIGIN_H

// Where in the inputs a text comes from, and what follows for reading it.

#include <string_view>

#include "util/chronex/input/input_file.h"
#include "util/chronex/tables/event_place.h"

// The characters that the file of a place is written in; those of ASCII when
// there is no file.
int charset_at(const event_place& place);

bool is_in_audit_file(const event_place& place);
bool is_in_forward_log(const event_place& place);

// A file's name as the command line gave it, "-" for standard input.
std::string_view name_as_given(const input_file& file);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_TEXT_ORIGIN_H
