#ifndef CHRONEX_UTIL_CHRONEX_REPORT_REPORT_SETTINGS_H
#define CHRONEX_UTIL_CHRONEX_REPORT_REPORT_SETTINGS_H

// What the clear-text report shows and where it goes. The options set it all
// once.

class report_stream;

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

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_REPORT_SETTINGS_H
