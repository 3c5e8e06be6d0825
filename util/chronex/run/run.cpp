#include "util/chronex/run/run.h"

#include <cassert>

void watch_names(chronex_run& run) {
  run.names.emplace(run.filter.filter_expr());
  run.item_names.for_each(
      [&run](std::string_view name) { run.names->add_item_name(name); });
  run.events.names = &*run.names;
}

void tell_unknown_names(chronex_run& run) {
  if (!run.names) return;
  for (const std::string& note :
       run.names->notes(charset_name(run.charset_id))) {
    run.messages.print("%s", note.c_str());
  }
}

int process_input(chronex_run& run, input_file& file) {
  int result = -1;
  switch (file.type) {
    case FWLOG_FILE:
      result = run.forward_logs.fwlog_process_file(file);
      break;
    case AUDIT_FILE:
      result = run.audit_files.audit_process_file(file);
      break;
    default:
      assert(!"unknown file type");
  }
  file.stream.suspend();
  return result < 0 ? -1 : 0;
}
