#include "util/chronex_trail/commands/fill_tables.h"

#include "util/chronex_trail/run/exit_status.h"

// A piece that fails is the last: one run would not come to the others.
int fill_tables(trail_run& run, sql_output& output, const run_facts& facts,
                const earlier_rows* earlier) {
  output.watch(run.events.sessions);
  if (earlier == nullptr) {
    output.begin(facts);
  } else if (!output.begin_piece(facts, *earlier)) {
    run.messages.print("The state is damaged; what is in it cannot be\n");
    return EXIT_ERROR;
  }
  run.events.add_output(output);
  const int status = process_inputs(run);
  if (!output.failure().empty()) return EXIT_ERROR;
  if (status == 0 && !run.is_last_piece) output.hand_over();
  output.end(status);
  return status;
}
