// Unlocks master keys as the environment says and tells on standard output what
// the store then holds. With "-stdio" the dialogue uses standard input. Any
// other argument is a secret, with the lowest bit of each byte flipped: whether
// it is left in this process's memory is told too. The exit status is 0 when
// the prompt's signals have their default actions again.

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ios>
#include <string>
#include <string_view>
#include <vector>

#include "common/crypto_api.h"
#include "server/misc/keyutil.h"
#include "util/libmkey/mkey.h"

namespace {

void print_store() {
  mkey_info info{};
  for (int i = 0; ko_enc_mkey_enum(i, info) == 1; ++i) {
    // Under an XOR key, zeros become the key.
    std::vector<std::uint8_t> bytes(info.sz);
    const int result = ko_enc_mkey_crypt(info.mcheck, bytes, true);
    std::printf("%u state=%u type=%u crypt=%d:", info.id, info.state, info.type,
                result);
    for (const std::uint8_t byte : bytes) std::printf("%02x", byte);
    std::printf("\n");
  }
}

// Searches every private writable region of a bearable size, such as data, heap
// and stack.
bool in_memory(std::string_view flipped) {
  constexpr std::uint64_t MAX_REGION = std::uint64_t{64} << 20;
  const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  std::ifstream maps("/proc/self/maps");
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  char dash = 0;
  std::string mode;
  std::string rest;
  bool found = false;
  while (maps >> std::hex >> start >> dash >> end >> mode &&
         std::getline(maps, rest)) {
    if (mode != "rw-p" || end - start > MAX_REGION) continue;
    std::string region(end - start, '\0');
    const ssize_t size =
        pread(memory, region.data(), region.size(), static_cast<off_t>(start));
    const auto stop = region.begin() + std::max<ssize_t>(size, 0);
    found = found ||
            std::search(region.begin(), stop, flipped.begin(), flipped.end(),
                        [](char a, char b) { return a == (b ^ 1); }) != stop;
  }
  close(memory);
  return found;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view argument = argc > 1 ? argv[1] : "";
  int result = 0;
  if (argument == "-stdio") {
    result = ko_enc__load(nullptr);
    if (result == 0) {
      result = ko_mkey_enable(nullptr, std::getenv("KO_MKEYID"), true);
    }
  } else {
    result = ko_mkey_init();
  }
  // Before anything else reuses the memory.
  const bool secret_left = argc > 1 && in_memory(argument);
  print_store();
  std::printf("result %d\n", result);
  if (argc > 1) std::printf("secret in memory: %d\n", secret_left ? 1 : 0);
  for (const int signal_number : {SIGINT, SIGTERM}) {
    if (std::signal(signal_number, SIG_DFL) != SIG_DFL) return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
