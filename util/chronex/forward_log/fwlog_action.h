#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_ACTION_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_ACTION_H

// What the readers of single actions share.

#include <cstdint>
#include <string>

#include "util/chronex/forward_log/fwlog.h"
#include "util/chronex/input/input_file.h"

// One action of a forward log, with its body still to be read from the stream.
struct fw_action {
  fwlog_reader& reader;
  input_file& file;
  // Number of the action within the file.
  std::uint32_t number = 0;
  // Seconds since the epoch.
  std::uint32_t timestamp = 0;

  input_stream& stream() const { return file.stream; }
  trail& events() const { return reader.events; }
  run_messages& messages() const { return reader.events.messages; }
};

// Results of the readers of single actions.
inline constexpr int ACTION_DONE = 0;
inline constexpr int FILE_DONE = 1;
inline constexpr int FILE_FAILED = -1;
// Only where damage is passed over: fwlog_reader::problem says why.
inline constexpr int ACTION_MALFORMED = 2;

// Processes the action that comes next in a file.
int fw_process_action(fwlog_reader& reader, input_file& file);

// Reports that the file ended, or there was no memory to read on, inside the
// part named `what`. Returns the result for the file.
int fw_short_read(const fw_action& action, const char* what);

// Passes over bytes of the part named `what`.
int fw_skip(const fw_action& action, std::uint64_t count, const char* what);

// The session of an action; null = none is known. Where actions have been lost,
// its sign-on may be one of them: then it is known by its number alone.
session_entry* fw_session(const fw_action& action, std::int32_t session_id);

// The operations of a data set are passed over. Tells of it once, if the reason
// may be that actions were lost. Returns ACTION_DONE.
int fw_unknown_set(const fw_action& action, std::int32_t node_id);

// Reports a size that the file format does not allow. Returns the result for
// the action.
int fw_bad_size(const fw_action& action, const char* what, std::uint64_t size,
                const char* limit);

// Reports what else the file format does not allow, in one line without line
// end. Returns the result for the action.
int fw_bad_format(const fw_action& action, const std::string& problem);

// Passes over the operations that come next, as long as of each there is no
// more to do than to count it. The readers of the actions do what is left.
void fw_count_operations(fwlog_reader& reader, input_file& file);

// Read the bodies of record and before-image actions (fwlog_record.cpp).
int fw_record(const fw_action& action);
int fw_before_image(const fw_action& action);

// Read the bodies of audit and context actions (fwlog_state.cpp).
int fw_audit(const fw_action& action);
int fw_context(const fw_action& action);

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_ACTION_H
