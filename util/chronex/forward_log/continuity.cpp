#include "util/chronex/forward_log/continuity.h"

bool continuity::accept_version(const input_file& file) {
  if (file.major > 1 || (file.major == 1 && file.minor >= 1)) return true;
  trail_.messages.print(
      "WARNING: file version %d.%02d does not provide audit information\n"
      "         skipping file %s\n",
      file.major, file.minor, file.name.c_str());
  trail_.notice(
      notice_kind::old_version,
      format_text("WARNING: while the original forward-log was processed, file "
                  "%s was skipped because its file version %d.%02d does not "
                  "provide audit information",
                  file.name.c_str(), file.major, file.minor));
  return false;
}

bool continuity::accept_generation(const input_file& file) {
  const std::uint32_t generation = file.generation;
  if (!f_first_ && generation == last_generation_) return true;
  if (!f_first_ && generation != last_generation_ + 1) {
    if (generation < last_generation_) {
      report_repeated_generation(file);
      return false;
    }
    report_missing_generations(file);
  }
  f_first_ = false;
  last_generation_ = generation;
  file_sequence_ = 0;
  return true;
}

bool continuity::accept_sequence(const input_file& file) {
  if (file.sequence != file_sequence_ + 1) {
    if (file.sequence <= file_sequence_) {
      report_repeated_file(file);
      return false;
    }
    report_missing_files(file);
  }
  file_sequence_ = file.sequence;
  return true;
}

bool continuity::accept_file(const input_file& file) {
  if (!accept_generation(file) || !accept_sequence(file)) return false;
  action_sequence_ = 0;
  return true;
}

void continuity::check_action(const input_file& file, std::uint32_t number) {
  if (number == action_sequence_ + 1) {
    action_sequence_ = number;
    trail_.f_skip_action = false;
    return;
  }
  if (number > action_sequence_) {
    report_missing_actions(file, number);
    trail_.f_skip_action = false;
    action_sequence_ = number;
    return;
  }
  if (trail_.f_skip_action) return;
  trail_.f_skip_action = true;
  report_repeated_actions(file, number);
}
