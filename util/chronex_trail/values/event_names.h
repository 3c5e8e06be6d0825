#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_EVENT_NAMES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_EVENT_NAMES_H

// The words that stand for what happens, the same wherever a trail is handed on
// as data.

#include <cstdint>
#include <string_view>

#include "util/chronex/input/input_file.h"
#include "util/chronex/trail/output.h"

// "c", "u" or "d" for an operation's code.
std::string_view op_letter(int op);

// The name of a memo's mode; empty = the mode has none.
std::string_view memo_mode_name(std::uint32_t mode);

// "log", "audit-only" or "audit".
std::string_view format_name(const input_file& file);

enum class notice_event { gap, repeat, damage, warning };

// What kind of event a notice is, and its kind among these or the warning's
// code. Of damage only bytes that were passed over have a kind.
struct notice_shape {
  notice_event event;
  std::string_view kind;
};

notice_shape shape_of(notice_kind kind);

std::string_view notice_event_name(notice_event event);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_EVENT_NAMES_H
