#ifndef CHRONEX_UTIL_CHRONEX_REPORT_CLEAR_TEXT_REPORT_H
#define CHRONEX_UTIL_CHRONEX_REPORT_CLEAR_TEXT_REPORT_H

// The clear-text report, as an output of the trail.
//
// Without a report stream nothing is reported but the comments of audit files,
// which go to standard error.

#include "util/chronex/filter/item_names.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/report/dump.h"
#include "util/chronex/report/local_time.h"
#include "util/chronex/report/report_settings.h"
#include "util/chronex/report/report_stream.h"
#include "util/chronex/trail/output.h"

class clear_text_report final : public trail_output {
 public:
  // `item_names` are those of -I. Both are the run's and outlive the report.
  clear_text_report(run_messages& messages, const item_name_list& item_names)
      : messages_(messages), dump_(report, item_names) {}

  // To be set before the first event.
  report_settings report;

  // Hands what was reported so far to the system. It comes before every
  // message, before every wait for input, at the end of each input file and at
  // the end of the run.
  void report_flush();

  int file_accepted(const input_file& file) override;
  sign_on_result sign_on(const session_entry& session, sign_on_caller caller,
                         const event_place& place) override;
  int sign_off(const session_entry& session, const event_place& place) override;
  int schema(const node_entry& node, const event_place& place) override;
  int memo(const memo_view& memo) override;
  int operation(const image_operation& operation,
                const event_place& place) override;
  int comment(std::string_view text, const event_place& place) override;
  void action_done() override;
  void file_ends() override;

 private:
  // Begins a report entry: an empty line where the settings ask for one, and
  // before the first entry of the run in any case.
  void print_conditional_newline();
  void report_version(const input_file& file);
  void report_forward_log(const input_file& file);
  bool is_of_interest(sign_on_caller caller) const;
  bool shows_operations() const;
  void report_sign_on(const session_entry& session);
  void report_sign_on_strings(const session_entry& session);
  void report_items(const node_entry& node);
  void report_session_memo(const memo_view& memo);
  void report_operation(const image_operation& operation);

  run_messages& messages_;
  record_dump dump_;
  local_time local_time_;
  bool first_entry_ = true;
};

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_CLEAR_TEXT_REPORT_H
