// Reading from files byte by byte.
//
// The program reads its inputs through a large window, in which one byte too
// many looks like any other. So the fuzzers put this in the place of zlib's
// gzfread (the linker's --wrap does it): it delivers one byte at a time, and
// what follows that in the window is out of bounds for the address sanitizer
// until it is delivered.

#include <sanitizer/asan_interface.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>

namespace {

// Further than any read is likely to go wrong by.
constexpr z_size_t OUT_OF_BOUNDS = 4096;

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" z_size_t __real_gzfread(voidp buf, z_size_t size, z_size_t nitems,
                                   gzFile file);

extern "C" z_size_t __wrap_gzfread(voidp buf, z_size_t size, z_size_t nitems,
                                   gzFile file) {
  auto* const start = static_cast<std::uint8_t*>(buf);
  const z_size_t room = size * nitems;
  ASAN_UNPOISON_MEMORY_REGION(start, 1);
  const z_size_t count = __real_gzfread(start, 1, 1, file);
  if (count == 0) {
    // Someone else may fill the window now.
    ASAN_UNPOISON_MEMORY_REGION(start, room);
  } else {
    ASAN_POISON_MEMORY_REGION(start + 1, std::min(room - 1, OUT_OF_BOUNDS));
  }
  return count;
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
