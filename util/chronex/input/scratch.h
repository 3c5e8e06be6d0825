#ifndef CHRONEX_UTIL_CHRONEX_INPUT_SCRATCH_H
#define CHRONEX_UTIL_CHRONEX_INPUT_SCRATCH_H

#include <cstdint>
#include <span>

#include "common/owned_bytes.h"
#include "util/chronex/messages/messages.h"

// One buffer that all readers of a run share.
class scratch_buffer {
 public:
  explicit scratch_buffer(run_messages& messages) : messages_(messages) {}

  // Returns `size` bytes: the buffer grows to the largest request. The bytes
  // are valid until the next call; their contents are undefined. Without memory
  // the run ends with exit status 1 (run_failed).
  std::span<std::uint8_t> get_buffer(std::uint32_t size);

 private:
  run_messages& messages_;
  owned_bytes buffer_;
};

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_SCRATCH_H
