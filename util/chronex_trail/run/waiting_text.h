#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_WAITING_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_WAITING_TEXT_H

// Text that waits to be written, in the buffers that it was collected in.

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "util/chronex_trail/files/byte_sink.h"

class waiting_text {
 public:
  // Bytes that wait.
  std::size_t size() const { return size_; }

  void append(std::string_view bytes);
  // The same for the first bytes of a buffer. Unless they are so few that they
  // are copied, the buffer is kept and another one put in its place.
  void append(std::unique_ptr<text_buffer>& buffer, std::size_t size);

  // Hands the first `size` bytes, in pieces, to `write`, which returns 0 or -1;
  // what it took does not wait any more. Returns 0, or -1 when it failed.
  int take(std::size_t size, const std::function<int(std::string_view)>& write);

 private:
  struct filled_buffer {
    std::unique_ptr<text_buffer> text;
    // What waits of it.
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  std::unique_ptr<text_buffer> spare_buffer();

  std::deque<filled_buffer> buffers_;
  std::vector<std::unique_ptr<text_buffer>> spare_;
  std::size_t size_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_WAITING_TEXT_H
