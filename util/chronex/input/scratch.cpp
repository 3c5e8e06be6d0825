#include "util/chronex/input/scratch.h"

#include "common/owned_bytes.h"
#include "util/chronex/messages/run_failed.h"
#include "util/chronex/report/report.h"

std::span<std::uint8_t> get_buffer(std::uint32_t size) {
  static owned_bytes buffer;
  if (!buffer.grow(size)) {
    message_perror("realloc");
    message("Failed to allocate %u bytes\n", size);
    throw run_failed();
  }
  return buffer.bytes().first(size);
}
