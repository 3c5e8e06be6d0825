#include "common/vector_registers.h"

// The instructions stand alone in functions that no caller sees into. Callers
// therefore expect what every call may do: to lose the vector registers.

#if defined(__x86_64__)

namespace {

// %xmm0 to %xmm15
[[gnu::noinline]] void clear_sse() noexcept {
  asm("pxor %xmm0, %xmm0\n"
      "pxor %xmm1, %xmm1\n"
      "pxor %xmm2, %xmm2\n"
      "pxor %xmm3, %xmm3\n"
      "pxor %xmm4, %xmm4\n"
      "pxor %xmm5, %xmm5\n"
      "pxor %xmm6, %xmm6\n"
      "pxor %xmm7, %xmm7\n"
      "pxor %xmm8, %xmm8\n"
      "pxor %xmm9, %xmm9\n"
      "pxor %xmm10, %xmm10\n"
      "pxor %xmm11, %xmm11\n"
      "pxor %xmm12, %xmm12\n"
      "pxor %xmm13, %xmm13\n"
      "pxor %xmm14, %xmm14\n"
      "pxor %xmm15, %xmm15\n");
}

// %ymm0 to %ymm15, and with them the lower halves
[[gnu::noinline]] void clear_avx() noexcept { asm("vzeroall"); }

// %zmm16 to %zmm31, which vzeroall does not reach
[[gnu::noinline]] void clear_avx512() noexcept {
  asm("vpxorq %zmm16, %zmm16, %zmm16\n"
      "vpxorq %zmm17, %zmm17, %zmm17\n"
      "vpxorq %zmm18, %zmm18, %zmm18\n"
      "vpxorq %zmm19, %zmm19, %zmm19\n"
      "vpxorq %zmm20, %zmm20, %zmm20\n"
      "vpxorq %zmm21, %zmm21, %zmm21\n"
      "vpxorq %zmm22, %zmm22, %zmm22\n"
      "vpxorq %zmm23, %zmm23, %zmm23\n"
      "vpxorq %zmm24, %zmm24, %zmm24\n"
      "vpxorq %zmm25, %zmm25, %zmm25\n"
      "vpxorq %zmm26, %zmm26, %zmm26\n"
      "vpxorq %zmm27, %zmm27, %zmm27\n"
      "vpxorq %zmm28, %zmm28, %zmm28\n"
      "vpxorq %zmm29, %zmm29, %zmm29\n"
      "vpxorq %zmm30, %zmm30, %zmm30\n"
      "vpxorq %zmm31, %zmm31, %zmm31\n");
}

}  // namespace

void clear_vector_registers() noexcept {
  if (!__builtin_cpu_supports("avx")) return clear_sse();
  clear_avx();
  if (__builtin_cpu_supports("avx512f")) clear_avx512();
}

#elif __has_cpp_attribute(gnu::zero_call_used_regs)

namespace {
[[gnu::zero_call_used_regs("all")]] void clear_all() noexcept {}
}  // namespace

void clear_vector_registers() noexcept {
  // Read at run time, so that the call is not taken for one without effect.
  void (*const volatile clear)() noexcept = clear_all;
  clear();
}

#else
#error "how this compiler clears the vector registers is not known"
#endif
