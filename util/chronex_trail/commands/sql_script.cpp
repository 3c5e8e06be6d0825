#include "util/chronex_trail/commands/sql_script.h"

#include <sys/stat.h>

#include <memory>

#include "util/chronex_trail/commands/fill_tables.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/script/clickhouse_syntax.h"
#include "util/chronex_trail/script/postgresql_syntax.h"
#include "util/chronex_trail/script/script_engine.h"

namespace {

std::unique_ptr<script_syntax> syntax_of(const script_options& options) {
  const bool shared = options.segment > 0 || options.earlier != nullptr;
  if (options.engine == script_engine_name::postgresql) {
    return std::make_unique<postgresql_syntax>(shared);
  }
  return std::make_unique<clickhouse_syntax>(shared, options.cluster);
}

// Returns the exit status.
int fill(trail_run& run, byte_sink& sink, const script_options& options,
         const run_facts& facts) {
  const std::unique_ptr<script_syntax> syntax = syntax_of(options);
  script_engine engine(sink, *syntax, options.segment);
  sql_output output(run.messages, engine, &run.item_names);
  try {
    return fill_tables(run, output, facts, options.earlier);
  } catch (const write_error&) {
    return EXIT_ERROR;
  }
}

bool is_there(const std::string& name) {
  struct stat status {};
  return stat(name.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

int write_script(trail_run& run, const shared_options& shared,
                 const script_options& options, const run_facts& facts) {
  if (!options.force && is_there(shared.output)) {
    run.messages.print("%s: is there already; --force replaces it\n",
                       shared.output.c_str());
    return EXIT_ERROR;
  }
  result_file file(run.messages);
  if (file.open(shared.output, shared.use_master_keys) != 0) return EXIT_ERROR;
  const int status = fill(run, file, options, facts);
  return file.close(status != EXIT_ERROR) == 0 ? status : EXIT_ERROR;
}
