#include "util/chronex/forward_log/fwlog.h"

#include <utility>

#include "common/byte_cursor.h"
#include "util/chronex/forward_log/careful_actions.h"
#include "util/chronex/forward_log/fwlog_action.h"
#include "util/chronex/forward_log/fwlog_format.h"

namespace {

int process_cluster(const fw_action& action) {
  const std::uint8_t* header = action.stream().take(FW_CLUSTER_HEADER_SIZE);
  if (header == nullptr) return fw_short_read(action, "cluster header");
  const auto pages = static_cast<std::int32_t>(load_u32(header + 8));
  if (pages <= 0) return ACTION_DONE;
  return fw_skip(action, static_cast<std::uint64_t>(pages) * FW_PAGE_SIZE,
                 "cluster page data");
}

int process_meta(const fw_action& action) {
  const std::uint8_t* header = action.stream().take(FW_META_HEADER_SIZE);
  if (header == nullptr) return fw_short_read(action, "meta header");
  const std::uint32_t size = load_u32(header + 4);
  if (size > FW_PAGE_SIZE) {
    return fw_bad_size(action, "meta data", size, "maximum 8192");
  }
  return fw_skip(action, size, "meta data");
}

// No more actions are read. What is left to see is whether compressed data were
// as written.
int finish_file(const fw_action& action) {
  action.stream().verify_rest();
  if (report_no_resources(action.file)) return FILE_FAILED;
  action.reader.numbers.report_damage(action.file);
  return FILE_DONE;
}

int process_end(const fw_action& action) {
  action.events().session_cleanup();
  return finish_file(action);
}

int process_slave_sync(const fw_action& action) {
  if (action.stream().take(FW_SLAVE_SYNC_SIZE) == nullptr) {
    return fw_short_read(action, "slave sync record");
  }
  action.reader.numbers.report_role_change(action.file);
  return ACTION_DONE;
}

int dispatch(std::uint8_t fw_tag, const fw_action& action) {
  switch (fw_tag) {
    case FW_TAG_RECORD:
      return fw_record(action);
    case FW_TAG_PAGE:
      return fw_skip(action, FW_PAGE_SIZE, "page data");
    case FW_TAG_CLUSTER:
      return process_cluster(action);
    case FW_TAG_META:
      return process_meta(action);
    case FW_TAG_BEFORE_IMAGE:
      return fw_before_image(action);
    case FW_TAG_AUDIT:
      return fw_audit(action);
    case FW_TAG_CONTEXT:
      return fw_context(action);
    case FW_TAG_END:
      return process_end(action);
    case FW_TAG_SLAVE_SYNC:
      return process_slave_sync(action);
    default:
      // No length is known for the body of any other tag.
      return finish_file(action);
  }
}

}  // namespace

int fw_process_action(fwlog_reader& reader, input_file& file) {
  fw_action action{.reader = reader, .file = file};
  const std::uint8_t* tag = file.stream.take(1);
  if (tag == nullptr) return fw_short_read(action, "next tag opcode");
  const std::uint8_t fw_tag = *tag;
  const std::uint8_t* fw_pfx = file.stream.take(FW_PREFIX_SIZE);
  if (fw_pfx == nullptr) return fw_short_read(action, "next tag header");
  action.number = load_u32(fw_pfx);
  action.timestamp = load_u32(fw_pfx + 4);
  reader.events.place.number = action.number;
  log_position& position = reader.position;
  if (!position.is_number_checked) {
    reader.numbers.check_action(file, action.number);
    position.is_number_checked = true;
  }
  const int result = dispatch(fw_tag, action);
  // It is checked once, also where the rest of the action has not come yet.
  if (result != FILE_DONE) position.is_number_checked = false;
  return result;
}

void fwlog_reader::begin_log(const input_file& file) {
  const input_file* const last = position.file;
  std::vector<std::string> names;
  if (last != nullptr && last->generation == file.generation &&
      last->sequence == file.sequence) {
    names = std::move(position.names);
  }
  names.push_back(file.name);
  position = {.file = &file, .names = std::move(names), .is_done = true};
}

int fwlog_reader::fwlog_process_file(input_file& file) {
  begin_log(file);
  if (events.file_begins(file) != 0) return FILE_FAILED;
  if (!numbers.accept_version(file)) return FILE_DONE;
  if (events.file_accepted(file) != 0) return FILE_FAILED;
  if (!numbers.accept_file(file)) return FILE_DONE;
  position.is_done = false;
  return process_actions(file);
}

int fwlog_reader::fwlog_go_on(input_file& file) {
  if (position.last.number == 0) {
    const std::uint32_t checked = position.is_number_checked ? 1 : 0;
    position.last.number = numbers.known().action - checked;
  }
  events.place.file = &file;
  position.file = &file;
  position.missing.clear();
  position.open_damage.reset();
  return process_actions(file);
}

int fwlog_reader::process_actions(input_file& file) {
  const bool is_careful = passes_over_damage || awaits_whole_actions;
  careful_actions careful(*this, file);
  if (!is_careful) position.last = {};
  int result = ACTION_DONE;
  while (result == ACTION_DONE) {
    if (events.only_counts_operations() && !is_careful) {
      fw_count_operations(*this, file);
    }
    position.byte = file.stream.position();
    result =
        is_careful ? careful.process_next() : fw_process_action(*this, file);
    events.action_done();
  }
  // More of it may come.
  if (was_interrupted || !position.missing.empty()) return result;
  position.is_done = true;
  // What follows this file is no repeat of it.
  events.f_skip_action = false;
  events.file_ends();
  return result;
}

void fwlog_reader::tell_missing_rest() {
  std::string missing = std::exchange(position.missing, {});
  if (missing.empty()) missing = "next tag opcode";
  position.is_done = true;
  position.is_number_checked = false;
  if (position.open_damage) {
    numbers.report_damaged_bytes(*position.file, *position.open_damage);
    position.open_damage.reset();
  } else {
    numbers.fw_unexpected_eof(*position.file, missing.c_str());
  }
  events.f_skip_action = false;
  events.file_ends();
}
