#ifndef CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_OUTPUT_H
#define CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_OUTPUT_H

// The audit file, as an output of the trail. Its stream must be open.

#include "util/chronex/audit_file/audit_stream.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/trail/output.h"

class audit_output final : public trail_output {
 public:
  explicit audit_output(run_messages& messages)
      : stream(messages), messages_(messages) {}

  audit_stream stream;

  // Begins the file: writes the header, with the run's character set, and the
  // user comment as the first record, if there is one and it is not empty.
  // Returns 0, or -1 after a failure whose message has been printed.
  int audit_write_header(int charset_id, const char* user_comment);

  sign_on_result sign_on(const session_entry& session, sign_on_caller caller,
                         const event_place& place) override;
  int sign_off(const session_entry& session, const event_place& place) override;
  int schema(const node_entry& node, const event_place& place) override;
  int memo(const memo_view& memo) override;
  int operation(const image_operation& operation,
                const event_place& place) override;
  int notice(const trail_notice& notice) override;

 private:
  int audit_write_comment(std::string_view text);

  run_messages& messages_;
};

#endif  // CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_OUTPUT_H
