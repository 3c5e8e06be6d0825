#include "util/chronex_trail/commands/check_output.h"

#include <string>

int check_output(trail_run& run, const shared_options& options) {
  if (options.output == "-") {
    return inputs_check_output(options.operands, 1, "stdout", run.messages);
  }
  const std::string partial = options.output + ".partial";
  for (const std::string& name : {options.output, partial}) {
    if (inputs_check_output(options.operands, -1, name.c_str(), run.messages) !=
        0) {
      return -1;
    }
  }
  return 0;
}
