// Input: one audit file. What is written from it can be read again, and what is
// written from that gives itself.
//
// The first of these may say more than the second: a sign-on or schema that
// changed and changed back before anything was written is written again.

#include "fuzz/fuzz_run.h"
#include "fuzz/read_back.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const fuzz_bytes input(data, size);
  std::vector<std::uint8_t> first;
  fuzz_run(std::span(&input, 1), fuzz_run_settings(input), &first);
  // Nothing is written before all headers were read.
  if (first.empty()) return 0;

  const std::vector<std::uint8_t> second = fuzz_read_back(first);
  fuzz_check(fuzz_read_back(second) == second, "an audit file gives itself");
  return 0;
}
