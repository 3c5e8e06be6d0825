#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_BYTE_SINK_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_BYTE_SINK_H

#include <string_view>

// Takes what a command writes: a file, compressed or not, or standard output.
class byte_sink {
 public:
  byte_sink() = default;
  byte_sink(const byte_sink&) = delete;
  byte_sink& operator=(const byte_sink&) = delete;
  virtual ~byte_sink() = default;

  // Takes the next bytes. Returns 0, or -1 after a failure that ends the run;
  // the message has been printed.
  virtual int write(std::string_view bytes) = 0;
  // Hands what was collected of it to the system. Returns 0, or -1 as above.
  virtual int flush() { return 0; }
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_BYTE_SINK_H
