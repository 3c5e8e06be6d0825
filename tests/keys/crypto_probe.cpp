// Uses the crypto layer as its arguments say, one word after another, and
// prints the outcome of each on standard error, among the layer's own messages.

#include <dlfcn.h>

#include <array>
#include <cstdio>
#include <string_view>

#include "common/crypto_api.h"
#include "common/crypto_map.h"

namespace {

void print_slots() {
  for (const fn_map_entry& entry : fn_map_optional) {
    if (*entry.slot) std::fprintf(stderr, "%s\n", entry.name);
  }
}

void print_missing_slots() {
  for (const fn_map_entry& entry : fn_map_required) {
    if (!*entry.slot) std::fprintf(stderr, "%s\n", entry.name);
  }
}

void print_load() {
  const int result = ko_enc__load(nullptr);
  const char* version = ko_enc__version();
  std::fprintf(stderr, "load %d loaded %d version %s\n", result,
               ko_enc__loaded(), version != nullptr ? version : "none");
}

void print_key() {
  constexpr std::array<std::uint8_t, 16> KEY = {};
  const aes_key_ptr key = ko_enc__set_aes_key(KEY, AES_MODE_DECRYPT);
  std::fprintf(stderr, "key %s\n", key != nullptr ? "made" : "none");
}

void print_random() {
  std::uint8_t buffer = 0;
  const int first = ko__RAND_bytes(&buffer, 1);
  const int second = ko__RAND_pseudo_bytes(&buffer, 1);
  std::fprintf(stderr, "random %d %d\n", first, second);
}

void print_reset() {
  std::fprintf(stderr, "reset %d\n", ko__EVP_CIPHER_CTX_cleanup(nullptr));
}

// As a preloaded library would do.
void interpose() {
  if (dlopen("libcrypto.so", RTLD_NOW | RTLD_GLOBAL) == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "ssl") ko_enc__init(ENC_MODE_SSL);
    if (word == "basic") ko_enc__init(ENC_MODE_BASIC);
    if (word == "interpose") interpose();
    if (word == "load") print_load();
    if (word == "cleanup") ko_enc__cleanup();
    if (word == "key") print_key();
    if (word == "random") print_random();
    if (word == "reset") print_reset();
    if (word == "slots") print_slots();
    if (word == "missing") print_missing_slots();
  }
  std::fprintf(stderr, "end\n");
  return 0;
}
