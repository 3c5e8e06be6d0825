// Uses the crypto layer as its arguments say, one word after another, and
// prints the outcome of each on standard error, among the layer's own messages.

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "common/crypto_api.h"
#include "common/crypto_map.h"

namespace {

// How many required procedures were found, and which of the optional ones.
void print_slots() {
  const auto found = std::ranges::count_if(
      fn_map_required, [](const fn_map_entry& entry) { return !!*entry.slot; });
  std::fprintf(stderr, "%d", static_cast<int>(found));
  for (const fn_map_entry& entry : fn_map_optional) {
    if (*entry.slot) std::fprintf(stderr, " %s", entry.name);
  }
  std::fprintf(stderr, "\n");
}

void print_load() {
  const int result = ko_enc__load(nullptr);
  const char* version = ko_enc__version();
  std::fprintf(stderr, "load %d loaded %d version %s\n", result,
               ko_enc__loaded(), version != nullptr ? version : "none");
}

void print(const char* what, int result) {
  std::fprintf(stderr, "%s %d\n", what, result);
}

}  // namespace

int main(int argc, char** argv) {
  constexpr std::array<std::uint8_t, 16> KEY = {};
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "ssl") ko_enc__init(ENC_MODE_SSL);
    if (word == "basic") ko_enc__init(ENC_MODE_BASIC);
    // As a preloaded library would be there.
    if (word == "interpose") dlopen("libcrypto.so", RTLD_NOW | RTLD_GLOBAL);
    if (word == "load") print_load();
    if (word == "cleanup") ko_enc__cleanup();
    if (word == "key") print("key", ko_enc__set_aes_key(KEY, 2) != nullptr);
    if (word == "random") print("random", ko__RAND_bytes(nullptr, 1));
    if (word == "reset") print("reset", ko__EVP_CIPHER_CTX_cleanup(nullptr));
    if (word == "slots") print_slots();
  }
  std::fprintf(stderr, "end\n");
  return 0;
}
