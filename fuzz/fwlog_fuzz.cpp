// Input: forward logs, and audit files beside them, one after the other; see
// fuzz_run.h for how they are told apart and what decides on the settings. What
// is written from them can be read again, and gives the same operations.

#include "fuzz/fuzz_run.h"
#include "fuzz/read_back.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const fuzz_bytes input(data, size);
  std::vector<std::uint8_t> audit;
  const bool done =
      fuzz_run(fuzz_run_files(input), fuzz_run_settings(input), &audit);
  if (done && !audit.empty()) fuzz_read_back(audit);
  return 0;
}
