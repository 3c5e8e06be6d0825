#include "util/chronex_trail/values/event_names.h"

#include "util/chronex/tables/image_record.h"
#include "util/chronex/tables/session.h"

std::string_view op_letter(int op) {
  switch (op) {
    case OP_PUT:
      return "c";
    case OP_UPDATE:
      return "u";
    default:
      return "d";
  }
}

std::string_view memo_mode_name(std::uint32_t mode) {
  switch (mode) {
    case MEMO_DBBEGIN:
      return "DBBEGIN";
    case MEMO_DBEND:
      return "DBEND";
    case MEMO_DBMEMO:
      return "DBMEMO";
    default:
      return "";
  }
}

std::string_view format_name(const input_file& file) {
  if (file.type == AUDIT_FILE) return "audit";
  return file.audit_only ? "audit-only" : "log";
}

notice_shape shape_of(notice_kind kind) {
  switch (kind) {
    case notice_kind::missing_generations:
      return {notice_event::gap, "generation"};
    case notice_kind::missing_files:
      return {notice_event::gap, "sequence"};
    case notice_kind::missing_actions:
      return {notice_event::gap, "action"};
    case notice_kind::repeated_generation:
      return {notice_event::repeat, "generation"};
    case notice_kind::repeated_file:
      return {notice_event::repeat, "sequence"};
    case notice_kind::repeated_actions:
      return {notice_event::repeat, "action"};
    case notice_kind::damaged_bytes:
      return {notice_event::damage, "bytes"};
    case notice_kind::server_abort:
      return {notice_event::warning, "abort"};
    case notice_kind::role_change:
      return {notice_event::warning, "role_change"};
    case notice_kind::old_version:
      return {notice_event::warning, "old_version"};
    case notice_kind::character_set:
      return {notice_event::warning, "character_set"};
    case notice_kind::ignored_key:
      return {notice_event::warning, "ignored_key"};
    case notice_kind::filter_failed:
      return {notice_event::warning, "filter_failed"};
    default:
      return {notice_event::damage, ""};
  }
}

std::string_view notice_event_name(notice_event event) {
  switch (event) {
    case notice_event::gap:
      return "gap";
    case notice_event::repeat:
      return "repeat";
    case notice_event::damage:
      return "damage";
    default:
      return "warning";
  }
}
