// A library with some of libssl's procedures and none of its functions. It gets
// the names that it is asked for when it is linked.

#include <cstdint>
#include <cstdio>

// What all names lead to that are looked up but not called.
extern "C" void not_called() {}

extern "C" int init_old() { return std::fprintf(stderr, "library init\n"); }
extern "C" void load_strings() { std::fprintf(stderr, "load strings\n"); }
extern "C" int init_new(std::uint64_t options, const void* settings) {
  std::fprintf(stderr, "init ssl %#llx %s\n",
               static_cast<unsigned long long>(options),
               settings == nullptr ? "no settings" : "settings");
  return 1;
}
extern "C" int refuse(std::uint64_t /*options*/, const void* /*settings*/) {
  return 0;
}

namespace {
[[gnu::destructor]] void close_library() {
  std::fprintf(stderr, "ssl closed\n");
}
}  // namespace
