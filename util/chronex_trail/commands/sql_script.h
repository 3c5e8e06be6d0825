#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_SQL_SCRIPT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_SQL_SCRIPT_H

#include <cstdint>
#include <string>

#include "util/chronex_trail/run/shared_options.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/sql/sql_output.h"

enum class script_engine_name { postgresql, clickhouse };

struct script_options {
  script_engine_name engine = script_engine_name::postgresql;
  // Empty: none.
  std::string cluster;
  // 0: the script has the whole trail.
  std::int64_t segment = 0;
  // A script that is there is replaced.
  bool force = false;
  // Of a piece of the trail, what is in the pieces in front of it; null: the
  // script does not depend on others.
  const earlier_rows* earlier = nullptr;
};

// Writes the trail of a run as a script. Returns the exit status.
int write_script(trail_run& run, const shared_options& shared,
                 const script_options& options, const run_facts& facts);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_SQL_SCRIPT_H
