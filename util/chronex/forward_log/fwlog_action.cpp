#include "util/chronex/forward_log/fwlog_action.h"

int fw_short_read(const fw_action& action, const char* what) {
  if (report_no_resources(action.file)) return FILE_FAILED;
  if (action.reader.is_growing && action.stream().error().empty()) {
    action.reader.position.missing = what;
    return FILE_DONE;
  }
  return action.reader.numbers.fw_unexpected_eof(action.file, what);
}

int fw_skip(const fw_action& action, std::uint64_t count, const char* what) {
  if (action.stream().skip(count)) return ACTION_DONE;
  return fw_short_read(action, what);
}

int fw_bad_size(const fw_action& action, const char* what, std::uint64_t size,
                const char* limit) {
  return fw_bad_format(
      action, format_text("Unexpected size of %s (%llu bytes, %s)", what,
                          static_cast<unsigned long long>(size), limit));
}

int fw_bad_format(const fw_action& action, const std::string& problem) {
  report_bad_format(action.file, "%s in forward-log action %u-%u.%u",
                    problem.c_str(), action.file.generation,
                    action.file.sequence, action.number);
  action.events().notice({.kind = notice_kind::bad_format, .problem = problem});
  return FILE_FAILED;
}
