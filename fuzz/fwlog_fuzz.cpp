// Input: forward logs, and audit files beside them, one after the other; see
// fuzz_run.h for how they are told apart and what decides on the settings.

#include "fuzz/fuzz_run.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const fuzz_bytes input(data, size);
  fuzz_run(fuzz_run_files(input), fuzz_run_settings(input), nullptr);
  return 0;
}
