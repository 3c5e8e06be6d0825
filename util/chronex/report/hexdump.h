#ifndef CHRONEX_UTIL_CHRONEX_REPORT_HEXDUMP_H
#define CHRONEX_UTIL_CHRONEX_REPORT_HEXDUMP_H

#include <cstdint>
#include <span>

#include "util/chronex/report/report_stream.h"

// Prints bytes as a hex dump, 16 to a line: `indentation` blanks, the offset,
// the bytes in hex and as characters. Nothing for no bytes.
void dump_data(report_stream& stream, std::span<const std::uint8_t> bytes,
               int indentation);

// Prints text with every byte 0-31 and 128-159 as a backslash and
// three octal digits, and a backslash before each backslash and before the
// character `quote` (0 = none).
void put_escaped(report_stream& stream, std::span<const std::uint8_t> bytes,
                 char quote);

// The same into a place with room for escaped_room() characters; returns the
// place behind the text.
constexpr std::size_t escaped_room(std::size_t bytes) { return 4 * bytes + 8; }
char* write_escaped(std::span<const std::uint8_t> bytes, char quote,
                    char* place);

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_HEXDUMP_H
