// Unlocks master keys as the environment says and tells on standard output what
// the store then holds. With "-stdio" the dialogue uses standard input. The
// exit status is 0 when all signals have the actions again that they had
// before.
//
// With "-scan" it searches its memory for secrets on every SIGUSR1 and, at the
// end, sends itself one: each time, a line on standard error tells how often
// each was found. The last line tells how the process is protected.

#include <sys/prctl.h>
#include <sys/resource.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "common/crypto_api.h"
#include "server/misc/keyutil.h"
#include "tests/keys/memory_scan.h"
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

std::vector<void (*)(int)> signal_actions() {
  std::vector<void (*)(int)> actions;
  for (int each = 1; each <= SIGRTMAX; ++each) {
    struct sigaction action {};
    sigaction(each, nullptr, &action);
    actions.push_back(action.sa_handler);
  }
  return actions;
}

void print_sightings(int /*signal_number*/) {
  std::string text;
  for (const sightings& each : scan_memory()) {
    text +=
        " " + std::to_string(each.guarded) + "/" + std::to_string(each.exposed);
  }
  std::fprintf(stderr, "found%s\n", text.c_str());
}

void install_scan() {
  static std::array<std::uint8_t, std::size_t{1} << 16U> stack;
  const stack_t description{
      .ss_sp = stack.data(), .ss_flags = 0, .ss_size = stack.size()};
  sigaltstack(&description, nullptr);
  struct sigaction action {};
  action.sa_handler = print_sightings;
  action.sa_flags = SA_ONSTACK;
  sigaction(SIGUSR1, &action, nullptr);
}

void print_protection() {
  rlimit core{};
  getrlimit(RLIMIT_CORE, &core);
  std::fprintf(stderr, "core %d %d dumpable %d\n",
               static_cast<int>(core.rlim_cur), static_cast<int>(core.rlim_max),
               prctl(PR_GET_DUMPABLE, 0, 0, 0, 0));
}

}  // namespace

int main(int argc, char** argv) {
  int result = 0;
  const std::string_view option = argc > 1 ? argv[1] : "";
  if (option == "-scan") install_scan();
  const auto actions = signal_actions();
  if (option == "-stdio") {
    result = ko_enc__load(nullptr);
    if (result == 0) {
      result = ko_mkey_enable(nullptr, std::getenv("KO_MKEYID"), true);
    }
  } else {
    result = ko_mkey_init();
  }
  if (option == "-scan") {
    std::raise(SIGUSR1);
    print_protection();
  }
  print_store();
  std::printf("result %d\n", result);
  return signal_actions() == actions ? EXIT_SUCCESS : EXIT_FAILURE;
}
