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
  if (action.reader.passes_over_damage) {
    action.reader.problem = problem;
    return ACTION_MALFORMED;
  }
  report_bad_format(action.file, "%s in forward-log action %u-%u.%u",
                    problem.c_str(), action.file.generation,
                    action.file.sequence, action.number);
  action.events().notice({.kind = notice_kind::bad_format, .problem = problem});
  return FILE_FAILED;
}

session_entry* fw_session(const fw_action& action, std::int32_t session_id) {
  trail& events = action.events();
  session_entry* const known = events.sessions.session_get_entry(session_id);
  if (known != nullptr || !events.has_lost_actions) return known;
  return events.assume_session(session_id);
}

int fw_unknown_set(const fw_action& action, std::int32_t node_id) {
  if (action.events().has_lost_actions &&
      action.reader.unknown_sets.insert(node_id).second) {
    action.reader.numbers.report_unknown_set(action.file, node_id);
  }
  return ACTION_DONE;
}
