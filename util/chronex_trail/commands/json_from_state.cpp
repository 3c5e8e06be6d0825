// chronex-trail json --from: a piece of a trail.

#include "util/chronex_trail/commands/json_from_state.h"

#include <memory>

#include "util/chronex_trail/commands/piece_start.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_state.h"

int json_from_state(trail_run& run, const shared_options& options,
                    const std::string& state_name) {
  trail_state state(run, options);
  if (start_piece(run, options, state_name, state) != 0) return EXIT_ERROR;
  result_file file(run.messages);
  const auto output =
      std::make_unique<json_output>(run.messages, file, &run.item_names);
  if (!output->restore(state.output())) {
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
