#ifndef CHRONEX_UTIL_CHRONEX_RUN_RUN_H
#define CHRONEX_UTIL_CHRONEX_RUN_RUN_H

// A run: everything that lives from the command line to the closing of the
// outputs. Whoever makes one finds every table empty.

#include <optional>

#include "util/chronex/audit_file/audit_output.h"
#include "util/chronex/audit_file/audit_reader.h"
#include "util/chronex/filter/filter.h"
#include "util/chronex/filter/item_names.h"
#include "util/chronex/filter/name_check.h"
#include "util/chronex/forward_log/fwlog.h"
#include "util/chronex/input/charset.h"
#include "util/chronex/input/scratch.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/report/clear_text_report.h"
#include "util/chronex/run/inputs.h"
#include "util/chronex/trail/trail.h"

struct chronex_run {
  // The report stands in front of all other outputs.
  chronex_run() {
    events.add_output(report);
    messages.set_let_out([this] { report.report_flush(); });
  }

  run_messages messages;
  run_filter filter{messages};
  item_name_list item_names{messages};
  std::optional<name_check> names;
  trail events{messages, filter};
  clear_text_report report{messages, item_names};
  audit_output audit{messages};

  scratch_buffer scratch{messages};
  fwlog_reader forward_logs{events, scratch};
  audit_reader audit_files{events, scratch};
  // The run's character set id, NO_CHARSET until an input header fixes it.
  int charset_id = NO_CHARSET;
  // Inputs stay open until the run ends.
  input_list inputs{messages, charset_id};
};

// Begins to look for names of the filter and of -I that no input has. Throws
// std::bad_alloc.
void watch_names(chronex_run& run);

// Says on standard error which they are, if they were watched.
void tell_unknown_names(chronex_run& run);

// Processes one input by its type. Returns 0, or -1 after a failure that ends
// the run; its message has been printed.
int process_input(chronex_run& run, input_file& file);

#endif  // CHRONEX_UTIL_CHRONEX_RUN_RUN_H
