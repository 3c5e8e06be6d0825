#include "util/chronex_trail/commands/check_output.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "util/chronex/run/output_check.h"
#include "util/libmkey/mkey.h"

int check_output(trail_run& run, const shared_options& options) {
  files_read files{.operands = options.operands,
                   .filter_files = options.filter_files};
  if (options.use_master_keys) {
    files.key_files = ko_mkey_files(std::getenv("KO_MKEYFILE"));
  }
  if (options.output == "-") {
    return check_output_file(
        files, {.kind = "output", .descriptor = STDOUT_FILENO}, run.messages);
  }
  const std::string partial = options.output + ".partial";
  for (const std::string& name : {options.output, partial}) {
    const output_to_check output{.kind = "output", .name = name.c_str()};
    if (check_output_file(files, output, run.messages) != 0) return -1;
  }
  return 0;
}

std::function<int(const std::string&)> check_of_logs(
    trail_run& run, const shared_options& options) {
  return [&run, &options](std::string name) {
    char* const operand = name.data();
    shared_options log = options;
    log.operands = {&operand, 1};
    return check_output(run, log);
  };
}
