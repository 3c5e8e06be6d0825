#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/key_memory.h"
#include "common/wipe.h"

namespace {

#if defined(__x86_64__)

// Fills both halves of a vector register, as a copied key does.
[[gnu::noinline]] void fill_wide_register() {
  asm("movabs $0x5ec2e7b175da11e5, %rax\n"
      "movq %rax, %xmm7\n"
      "vinserti128 $1, %xmm7, %ymm7, %ymm7\n");
}
[[gnu::noinline]] void fill_register() {
  asm("movabs $0x5ec2e7b175da11e5, %rax\n"
      "movq %rax, %xmm7\n");
}

std::array<std::uint8_t, std::size_t{1} << 16U> signal_stack;
volatile int found = 0;

// The system has saved all registers on the signal's stack; this function's
// frame is there, too, which the sanitizer has marked.
[[gnu::no_sanitize_address]] void count_pattern(int /*signal_number*/) {
  static constexpr std::uint8_t REVERSED[] = {0x5e, 0xc2, 0xe7, 0xb1,
                                              0x75, 0xda, 0x11, 0xe5};
  const std::uint8_t* bytes = signal_stack.data();
  std::size_t matched = 0;
  int count = 0;
  for (std::size_t i = 0; i < sizeof signal_stack; ++i) {
    matched = bytes[i] == REVERSED[7 - matched] ? matched + 1 : 0;
    if (matched == sizeof REVERSED) ++count;
    if (matched == sizeof REVERSED) matched = 0;
  }
  found = count;
}

// How often the pattern is in the vector registers; the general ones have been
// used for something else in between.
int count_in_registers() {
  std::raise(SIGUSR1);
  return found;
}

TEST(traces, vector_registers_are_cleared_in_their_full_width) {
  const stack_t stack{.ss_sp = signal_stack.data(),
                      .ss_flags = 0,
                      .ss_size = signal_stack.size()};
  ASSERT_EQ(sigaltstack(&stack, nullptr), 0);
  struct sigaction action {};
  action.sa_handler = count_pattern;
  action.sa_flags = SA_ONSTACK;
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  const bool is_wide = __builtin_cpu_supports("avx2");
  for (const bool wiped : {false, true}) {
    signal_stack.fill(0);
    if (is_wide) {
      fill_wide_register();
    } else {
      fill_register();
    }
    if (wiped) wipe_traces();
    const int expected = is_wide ? 2 : 1;
    EXPECT_EQ(count_in_registers(), wiped ? 0 : expected) << wiped;
  }
}

#endif

}  // namespace

TEST(KeyMemory, IsAlignedForAnyTypeAndClean) {
  for (std::size_t size = 1; size <= 80; ++size) {
    std::vector<std::uint8_t*> blocks;
    for (int i = 0; i < 3; ++i) {
      auto* block = static_cast<std::uint8_t*>(key_memory_take(size));
      ASSERT_NE(nullptr, block);
      EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(block) %
                        alignof(std::max_align_t))
          << size;
      EXPECT_EQ(static_cast<std::ptrdiff_t>(size),
                std::count(block, block + size, 0));
      std::fill_n(block, size, std::uint8_t{0xaa});
      blocks.push_back(block);
    }
    for (std::uint8_t* block : blocks) key_memory_return(block, size);
  }
}
