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
  if (!known_.is_first && generation == known_.generation) return true;
  if (!known_.is_first && generation != known_.generation + 1) {
    if (generation < known_.generation) {
      report_repeated_generation(file);
      return false;
    }
    report_missing_generations(file);
  }
  known_.is_first = false;
  known_.generation = generation;
  known_.sequence = 0;
  return true;
}

bool continuity::accept_sequence(const input_file& file) {
  if (file.sequence != known_.sequence + 1) {
    if (file.sequence <= known_.sequence) {
      report_repeated_file(file);
      return false;
    }
    report_missing_files(file);
  }
  known_.sequence = file.sequence;
  return true;
}

bool continuity::accept_file(const input_file& file) {
  if (!accept_generation(file) || !accept_sequence(file)) return false;
  known_.action = 0;
  return true;
}

void continuity::check_action(const input_file& file, std::uint32_t number) {
  if (number == known_.action + 1) {
    known_.action = number;
    trail_.f_skip_action = false;
    return;
  }
  if (number > known_.action) {
    report_missing_actions(file, number);
    trail_.f_skip_action = false;
    known_.action = number;
    return;
  }
  if (trail_.f_skip_action) return;
  trail_.f_skip_action = true;
  report_repeated_actions(file, number);
}
