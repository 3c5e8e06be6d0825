// A library with some of libcrypto's procedures and none of its functions. It
// gets the names that it is asked for when it is linked.

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

// What all names lead to that are looked up but not called.
extern "C" void not_called() {}

// A queue of two errors.
extern "C" unsigned long get_error() {
  static unsigned long next = 7;
  return next <= 8 ? next++ : 0;
}

extern "C" void error_string(unsigned long code, char* text, std::size_t size) {
  std::snprintf(text, size, "error %lu", code);
}

extern "C" void rand_seed(const void* seed, int size) {
  std::array<std::uint32_t, 2> words = {};
  if (size == sizeof words) std::memcpy(words.data(), seed, sizeof words);
  const std::time_t age = std::time(nullptr) - std::time_t{words[0]};
  const bool is_good =
      age >= 0 && age < 60 && words[1] == static_cast<std::uint32_t>(getpid());
  std::fprintf(stderr, "seed %s\n", is_good ? "good" : "bad");
}

extern "C" int rand_bytes(std::uint8_t* /*buffer*/, int size) { return size; }
extern "C" const char* old_version(int /*kind*/) { return "old"; }
extern "C" const char* new_version(int /*kind*/) { return "new"; }
extern "C" int old_reset(void* /*context*/) { return 10; }
extern "C" int new_reset(void* /*context*/) { return 11; }
extern "C" void free_strings() { std::fprintf(stderr, "free strings\n"); }

namespace {
[[gnu::destructor]] void close_library() {
  std::fprintf(stderr, "crypto closed\n");
}
}  // namespace
