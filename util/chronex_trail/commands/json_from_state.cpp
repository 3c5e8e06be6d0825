// chronex-trail json --from: a piece of a trail.

#include "util/chronex_trail/commands/json_from_state.h"

#include <cerrno>
#include <memory>

#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/trail_state.h"

namespace {

constexpr int EXIT_ERROR = 1;

// A piece begins between files, and all that is named is part of it.
int begin(trail_run& run, const shared_options& options,
          const std::string& state_name, trail_state& state) {
  if (state.read(state_name) != 0) return -1;
  if (state.is_new()) {
    errno = ENOENT;
    run.messages.perror(state_name.c_str());
    return -1;
  }
  if (state.piece().number == 0) {
    run.messages.print("%s: is no state of a piece; go on with it by --state\n",
                       state_name.c_str());
    return -1;
  }
  if (prepare_run(run, options) != 0 || state.restore() != 0) return -1;
  run.goes_on_behind.reset();
  run.is_last_piece = state.piece().is_last();
  return 0;
}

}  // namespace

int json_from_state(trail_run& run, const shared_options& options,
                    const std::string& state_name) {
  trail_state state(run, options);
  if (begin(run, options, state_name, state) != 0) return EXIT_ERROR;
  result_file file(run.messages);
  const auto output =
      std::make_unique<json_output>(run.messages, file, &run.item_names);
  if (!output->restore(state.output()) || !state.output().is_at_end()) {
    state.damaged();
    return EXIT_ERROR;
  }
  if (file.open(options.output, options.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  run.events.add_output(*output);
  int status = process_inputs(run);
  // Only the last piece comes to the end of the trail, or one that fails.
  const int ended =
      run.is_last_piece || status != 0 ? output->end(status) : output->flush();
  if (ended != 0) status = EXIT_ERROR;
  return file.close(status == 0) == 0 ? status : EXIT_ERROR;
}
