// Unlocks master keys as the environment says and tells on standard output what
// the store then holds. With "-stdio" the dialogue uses standard input. The
// exit status is 0 when the prompt's signals have their default actions again.

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "common/crypto_api.h"
#include "server/misc/keyutil.h"
#include "tests/support/hex.h"
#include "util/libmkey/mkey.h"

namespace {

void print_store() {
  mkey_info info{};
  for (int i = 0; ko_enc_mkey_enum(i, info) == 1; ++i) {
    // Under an XOR key, zeros become the key.
    std::vector<std::uint8_t> bytes(info.sz);
    const int result = ko_enc_mkey_crypt(info.mcheck, bytes, true);
    std::printf("%u state=%u type=%u crypt=%d:%s\n", info.id, info.state,
                info.type, result, to_hex(bytes).c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  int result = 0;
  if (argc > 1 && argv[1] == std::string_view("-stdio")) {
    result = ko_enc__load(nullptr);
    if (result == 0) {
      result = ko_mkey_enable(nullptr, std::getenv("KO_MKEYID"), true);
    }
  } else {
    result = ko_mkey_init();
  }
  print_store();
  std::printf("result %d\n", result);
  for (const int signal_number : {SIGINT, SIGTERM}) {
    if (std::signal(signal_number, SIG_DFL) != SIG_DFL) return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
