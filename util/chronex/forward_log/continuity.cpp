#include "util/chronex/forward_log/continuity.h"

#include "util/chronex/audit_file/audit_writer.h"
#include "util/chronex/report/report.h"
#include "util/chronex/trail/quiet.h"

namespace {

// No file has passed the version gate yet.
bool f_first = true;
// Generation and file sequence of the last accepted file; the sequence is 0
// after a change of generation.
std::uint32_t last_generation = 0;
std::uint32_t file_sequence = 0;
// Number of the last accepted action of the current file.
std::uint32_t action_sequence = 0;

void report_missing_generations(const input_file& file) {
  const char* name = file.name.c_str();
  const std::uint32_t found = file.generation;
  const std::uint32_t expected = last_generation + 1;
  const std::uint32_t missing = found - last_generation - 1;
  message(
      "WARNING: file generation mismatch in file %s\n"
      "         found: %u, expected: %u\n"
      "         information from %u forward-log generation(s) is apparently "
      "missing\n",
      name, found, expected, missing);
  audit_write_comment(
      "WARNING: while the original forward-log was processed, file %s was "
      "skipped due to a file generation mismatch (found: %u, expected: %u) - "
      "information from %u forward-log generation(s) is apparently missing",
      name, found, expected, missing);
}

void report_missing_files(const input_file& file) {
  const char* name = file.name.c_str();
  const std::uint32_t found = file.sequence;
  const std::uint32_t expected = file_sequence + 1;
  const std::uint32_t missing = found - file_sequence - 1;
  message(
      "WARNING: file sequence mismatch in file %s\n"
      "         found: %u, expected: %u\n"
      "         information from %u file(s) is apparently missing\n",
      name, found, expected, missing);
  audit_write_comment(
      "WARNING: while the original forward-log was processed, file %s was "
      "skipped due to a file sequence mismatch (found: %u, expected: %u) - "
      "information from %u file(s) is apparently missing",
      name, found, expected, missing);
}

void report_missing_actions(const input_file& file, std::uint32_t found) {
  const char* name = file.name.c_str();
  const std::uint32_t expected = action_sequence + 1;
  const std::uint32_t missing = found - action_sequence - 1;
  message(
      "WARNING: action sequence mismatch in file %s\n"
      "         found: %u, expected: %u\n"
      "         information from %u action(s) is apparently missing\n",
      name, found, expected, missing);
  audit_write_comment(
      "WARNING: while the original forward-log was processed, an action "
      "sequence mismatch was detected in file %s (found: %u, expected: %u) - "
      "information from %u action(s) is apparently missing",
      name, found, expected, missing);
}

bool accept_generation(const input_file& file) {
  const std::uint32_t generation = file.generation;
  if (!f_first && generation == last_generation) return true;
  if (!f_first && generation != last_generation + 1) {
    if (generation < last_generation) {
      if (verbose != 0) {
        message(
            "INFO: file generation mismatch (found: %u, expected: %u)\n"
            "      skipping file %s\n",
            generation, last_generation + 1, file.name.c_str());
      }
      return false;
    }
    report_missing_generations(file);
  }
  f_first = false;
  last_generation = generation;
  file_sequence = 0;
  return true;
}

bool accept_sequence(const input_file& file) {
  if (file.sequence != file_sequence + 1) {
    if (file.sequence <= file_sequence) {
      if (verbose != 0) {
        message(
            "INFO: file sequence mismatch (found: %u, expected: %u)\n"
            "      skipping file %s\n",
            file.sequence, file_sequence + 1, file.name.c_str());
      }
      return false;
    }
    report_missing_files(file);
  }
  file_sequence = file.sequence;
  return true;
}

}  // namespace

bool continuity_accept_version(const input_file& file) {
  if (file.major > 1 || (file.major == 1 && file.minor >= 1)) return true;
  message(
      "WARNING: file version %d.%02d does not provide audit information\n"
      "         skipping file %s\n",
      file.major, file.minor, file.name.c_str());
  audit_write_comment(
      "WARNING: while the original forward-log was processed, file %s was "
      "skipped because its file version %d.%02d does not provide audit "
      "information",
      file.name.c_str(), file.major, file.minor);
  return false;
}

bool continuity_accept_file(const input_file& file) {
  if (!accept_generation(file) || !accept_sequence(file)) return false;
  action_sequence = 0;
  return true;
}

void continuity_check_action(const input_file& file, std::uint32_t number) {
  if (number == action_sequence + 1) {
    action_sequence = number;
    f_skip_action = false;
    return;
  }
  if (number > action_sequence) {
    report_missing_actions(file, number);
    f_skip_action = false;
    action_sequence = number;
    return;
  }
  if (f_skip_action) return;
  f_skip_action = true;
  if (verbose != 0) {
    message(
        "INFO: action sequence mismatch in file %s\n"
        "      found: %u, expected: %u\n"
        "      skipping %u actions\n",
        file.name.c_str(), number, action_sequence + 1,
        action_sequence + 1 - number);
  }
}

int fw_unexpected_eof(const input_file& file, const char* what) {
  message(
      "WARNING: unexpected EOF encountered on forward-log action %u-%u.%u "
      "while reading %s\n",
      file.generation, file.sequence, action_sequence, what);
  audit_write_comment(
      "WARNING: while the original forward-log was processed, an unexpected "
      "EOF was encountered on forward-log action %u-%u.%u while reading %s",
      file.generation, file.sequence, action_sequence, what);
  report_read_error(file);
  return 1;
}

void report_server_abort(const input_file& file) {
  message(
      "WARNING: server abort detected in forward-log segment %u-%u - "
      "continuing\n",
      file.generation, file.sequence);
  audit_write_comment(
      "WARNING: while the original forward-log was processed, a server abort "
      "was detected in forward-log segment %u-%u",
      file.generation, file.sequence);
}

void report_role_change(const input_file& file) {
  message(
      "NOTE: role change from replication slave to master detected in "
      "forward-log segment %u-%u - continuing\n",
      file.generation, file.sequence);
  audit_write_comment(
      "NOTE: while the original forward-log was processed, a role change from "
      "replication slave to master was detected in forward-log segment %u-%u",
      file.generation, file.sequence);
}

void report_short_image(const input_file& file, const char* what,
                        std::size_t size, std::size_t expected) {
  message(
      "WARNING: short %s in forward-log action %u-%u.%u\n"
      "         found: %zu bytes, expected: %zu bytes\n"
      "         information from the record is apparently missing\n",
      what, file.generation, file.sequence, action_sequence, size, expected);
  audit_write_comment(
      "WARNING: while the original forward-log was processed, a short %s was "
      "encountered on forward-log action %u-%u.%u (found: %zu bytes, expected: "
      "%zu bytes) - information from the record is apparently missing",
      what, file.generation, file.sequence, action_sequence, size, expected);
}
