// Input: one audit file. What is written from it can be read again, and what is
// written from that gives itself.
//
// The first of these may say more than the second: a sign-on or schema that
// changed and changed back before anything was written is written again.

#include "fuzz/fuzz_run.h"

namespace {

// The audit file that is written from an audit file.
std::vector<std::uint8_t> copy_of(fuzz_bytes file) {
  std::vector<std::uint8_t> copy;
  const bool done = fuzz_run(std::span(&file, 1), RUN_NO_REPORT, &copy);
  fuzz_check(done, "an audit file that was written can be read");
  return copy;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const fuzz_bytes input(data, size);
  std::vector<std::uint8_t> first;
  fuzz_run(std::span(&input, 1), fuzz_run_settings(input), &first);
  // Nothing is written before all headers were read.
  if (first.empty()) return 0;

  const std::vector<std::uint8_t> second = copy_of(first);
  fuzz_check(copy_of(second) == second, "an audit file gives itself");
  return 0;
}
