#include "fuzz/empty_tables.h"
#include "util/chronex/forward_log/continuity.cpp"  // NOLINT(bugprone-suspicious-include)

void empty_continuity() {
  f_first = true;
  last_generation = 0;
  file_sequence = 0;
  action_sequence = 0;
  f_skip_action = false;
}
