#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_BYTE_SINK_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_BYTE_SINK_H

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

// Where a writer collects text for a sink.
using text_buffer = std::array<char, std::size_t{320} * 1024>;

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
  // The same for the first bytes of a buffer. A sink that keeps the buffer puts
  // another one in its place.
  virtual int write_buffer(std::unique_ptr<text_buffer>& buffer,
                           std::size_t size) {
    return write({buffer->data(), size});
  }
  // Hands what was collected of it to the system. Returns 0, or -1 as above.
  virtual int flush() { return 0; }
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_BYTE_SINK_H
