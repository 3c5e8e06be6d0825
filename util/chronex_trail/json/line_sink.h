#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LINE_SINK_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LINE_SINK_H

#include <string_view>

// Takes the lines of events: a file, compressed or not, or standard output.
class line_sink {
 public:
  line_sink() = default;
  line_sink(const line_sink&) = delete;
  line_sink& operator=(const line_sink&) = delete;
  virtual ~line_sink() = default;

  // Takes the next bytes, which may be parts of lines. Returns 0, or -1 after a
  // failure that ends the run; the message has been printed.
  virtual int write(std::string_view bytes) = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LINE_SINK_H
