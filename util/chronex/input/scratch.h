#ifndef CHRONEX_UTIL_CHRONEX_INPUT_SCRATCH_H
#define CHRONEX_UTIL_CHRONEX_INPUT_SCRATCH_H

#include <cstdint>
#include <span>

// Returns `size` bytes of one scratch buffer that all readers share: it grows
// to the largest request and is never given back. The bytes are valid until the
// next call; their contents are undefined. Without memory the run ends with
// exit status 1 (run_failed).
std::span<std::uint8_t> get_buffer(std::uint32_t size);

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_SCRATCH_H
