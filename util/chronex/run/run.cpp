#include "util/chronex/run/run.h"

#include <cassert>

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
