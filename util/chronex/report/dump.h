#ifndef CHRONEX_UTIL_CHRONEX_REPORT_DUMP_H
#define CHRONEX_UTIL_CHRONEX_REPORT_DUMP_H

// The contents of a record in the clear-text report: item by item, with each
// value as text and changed values before and after, or as hex dumps.

#include <cstdint>
#include <span>

#include "util/chronex/tables/node.h"

// Prints a record of a data set to the report stream, which must be there. The
// images are in clear text and as long as the record; a span without data
// stands for none. `hex` asks for hex dumps, otherwise the item view is shown,
// narrowed by -I and -i.
void dump_record(const node_entry& node, std::span<const std::uint8_t> before,
                 std::span<const std::uint8_t> after, bool hex);

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_DUMP_H
