#include "util/chronex_trail/commands/piece_start.h"

#include <cerrno>

int start_piece(trail_run& run, const shared_options& options,
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
