#include "util/chronex/input/scratch.h"

#include "util/chronex/messages/run_failed.h"

std::span<std::uint8_t> scratch_buffer::get_buffer(std::uint32_t size) {
  if (!buffer_.grow(size)) {
    messages_.perror("realloc");
    messages_.print("Failed to allocate %u bytes\n", size);
    throw run_failed();
  }
  return buffer_.bytes().first(size);
}
