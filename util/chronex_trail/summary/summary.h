#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_SUMMARY_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_SUMMARY_H

// The figures of a trail as text.

#include <cstddef>
#include <optional>

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/stats/figures.h"

struct summary_settings {
  // Rows of a ranked list; none: those of all in data, DEFAULT_TOP in tables.
  std::optional<std::size_t> top;
  // Columns of the window that tables have to fit in; 0 = no limit.
  std::size_t width = 0;

  static constexpr std::size_t DEFAULT_TOP = 10;
};

// Tables, for people; what would steer a terminal is escaped. Times are local.
// Returns 0, or -1 after a failed write, as the others do.
int write_summary_tables(const trail_figures& figures,
                         const summary_settings& settings, byte_sink& sink);

// One table (RFC 4180) of all parts: the first column names the part, and those
// that a part lacks are empty. Times are UTC.
int write_summary_csv(const trail_figures& figures,
                      const summary_settings& settings, byte_sink& sink);

// One JSON object. Times are UTC.
int write_summary_json(const trail_figures& figures,
                       const summary_settings& settings, byte_sink& sink);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_SUMMARY_H
