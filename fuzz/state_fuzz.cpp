// Input: the sections of a state that a run is made of, as they stand in a
// state file without the check sum that would keep most inputs out.

#include <memory>
#include <string>
#include <vector>

#include "fuzz/fuzz_run.h"
#include "util/chronex/state/run_state.h"
#include "util/chronex/state/state_file.h"

namespace {

struct restored_run {
  chronex_run run;
  std::vector<std::unique_ptr<input_file>> earlier_files;

  run_parts parts() {
    return {.events = run.events,
            .forward_logs = run.forward_logs,
            .charset_id = run.charset_id,
            .earlier_files = earlier_files};
  }
  bool restore(fuzz_bytes sections) {
    run.messages.silent = true;
    run.events.keeps_stored = true;
    state_reader reader(sections);
    std::string problem;
    return restore_run(parts(), reader, problem) == 0;
  }
  std::vector<std::uint8_t> saved() {
    state_writer state;
    save_run(parts(), state);
    return state.written();
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const fuzz_bytes input(data, size);
  fuzz_bytes sections;
  std::string problem;
  fuzz_check(open_state(input, sections, problem) == problem.empty(),
             "a file is a state or has a problem");

  const auto first = std::make_unique<restored_run>();
  if (!first->restore(input)) return 0;
  const std::vector<std::uint8_t> saved = first->saved();
  const auto second = std::make_unique<restored_run>();
  fuzz_check(second->restore(saved), "what was restored can be saved");
  fuzz_check(second->saved().size() == saved.size(),
             "a state stays what it is");
  return 0;
}
