#ifndef CHRONEX_UTIL_CHRONEX_REPORT_REPORT_H
#define CHRONEX_UTIL_CHRONEX_REPORT_REPORT_H

// What the clear-text report shows, where it goes, and the messages on standard
// error that must keep their place beside it. The options set it all once;
// every module that prints reads it.

#include "util/chronex/report/report_stream.h"

struct report_settings {
  // The report stream, or null: no report at all.
  report_stream* fp = nullptr;
  // 1: every report entry is preceded by an empty line.
  int blank_line = 0;
  // 1: a "processing file" line per input; 2: also what its header says.
  int file_level = 0;
  // Comments of audit files on standard error: 1 shortened, 2 whole.
  int comment_level = 0;
  // SIGN-ON lines (1), with the sign-on strings (2).
  int sign_on_level = 0;
  int sign_off_level = 0;
  // MEMO lines (1), with the memo text (2).
  int memo_level = 0;
  // Memo texts as hex dumps.
  int memo_dump = 0;
  // SCHEMA lines (1), with one line per item (2).
  int schema_level = 0;
  // Operation lines (1), with the time stamp (2), with item values (3).
  int image_level = 0;
  // Record images as hex dumps.
  int image_dump = 0;
  // How many leading items the item view shows.
  int item_limit = 0;
};

extern report_settings report;

// The number of -v options.
extern int verbose;

// Begins a report entry: an empty line where the settings ask for one, and
// before the first entry of the run in any case. Needs a report stream.
void print_conditional_newline();

// Hands what was reported so far to the system. This is the report's only
// flush: it comes before every message, before every wait for input, at the end
// of each input file and at the end of the run.
void report_flush();

// To be called after each action or record: flushes where someone watches,
// that is, where standard output is a terminal.
void report_action_done();

// Print a message on standard error, after what was already reported.
[[gnu::format(printf, 1, 2)]] void message(const char* format, ...);
// The system error of errno with the name of a file or call before it.
void message_perror(const char* name);

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_REPORT_H
