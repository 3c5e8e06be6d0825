// The wording of what is missing, repeated, or happened to a log.

#include "util/chronex/forward_log/continuity.h"
#include "util/chronex/tables/sign_on_data.h"

void continuity::report_missing_generations(const input_file& file) {
  const char* name = file.name.c_str();
  const std::uint32_t found = file.generation;
  const std::uint32_t expected = known_.generation + 1;
  const std::uint32_t missing = found - known_.generation - 1;
  trail_.messages.print(
      "WARNING: file generation mismatch in file %s\n"
      "         found: %u, expected: %u\n"
      "         information from %u forward-log generation(s) is apparently "
      "missing\n",
      name, found, expected, missing);
  const std::string comment = format_text(
      "WARNING: while the original forward-log was processed, file %s was "
      "skipped due to a file generation mismatch (found: %u, expected: %u) - "
      "information from %u forward-log generation(s) is apparently missing",
      name, found, expected, missing);
  notice_gap({.kind = notice_kind::missing_generations,
              .found = found,
              .expected = expected,
              .missing = missing,
              .comment = comment});
}

void continuity::report_missing_files(const input_file& file) {
  const char* name = file.name.c_str();
  const std::uint32_t found = file.sequence;
  const std::uint32_t expected = known_.sequence + 1;
  const std::uint32_t missing = found - known_.sequence - 1;
  trail_.messages.print(
      "WARNING: file sequence mismatch in file %s\n"
      "         found: %u, expected: %u\n"
      "         information from %u file(s) is apparently missing\n",
      name, found, expected, missing);
  const std::string comment = format_text(
      "WARNING: while the original forward-log was processed, file %s was "
      "skipped due to a file sequence mismatch (found: %u, expected: %u) - "
      "information from %u file(s) is apparently missing",
      name, found, expected, missing);
  notice_gap({.kind = notice_kind::missing_files,
              .found = found,
              .expected = expected,
              .missing = missing,
              .comment = comment});
}

void continuity::report_missing_actions(const input_file& file,
                                        std::uint32_t found) {
  const char* name = file.name.c_str();
  const std::uint32_t expected = known_.action + 1;
  const std::uint32_t missing = found - known_.action - 1;
  trail_.messages.print(
      "WARNING: action sequence mismatch in file %s\n"
      "         found: %u, expected: %u\n"
      "         information from %u action(s) is apparently missing\n",
      name, found, expected, missing);
  const std::string comment = format_text(
      "WARNING: while the original forward-log was processed, an action "
      "sequence mismatch was detected in file %s (found: %u, expected: %u) - "
      "information from %u action(s) is apparently missing",
      name, found, expected, missing);
  notice_gap({.kind = notice_kind::missing_actions,
              .found = found,
              .expected = expected,
              .missing = missing,
              .comment = comment});
}

void continuity::notice_gap(const trail_notice& gap) {
  trail_.notice(gap);
  if (loses_actions_in_gaps) trail_.actions_lost();
}

void continuity::report_repeated_generation(const input_file& file) {
  const std::uint32_t expected = known_.generation + 1;
  if (trail_.messages.verbose != 0) {
    trail_.messages.print(
        "INFO: file generation mismatch (found: %u, expected: %u)\n"
        "      skipping file %s\n",
        file.generation, expected, file.name.c_str());
  }
  trail_.notice({.kind = notice_kind::repeated_generation,
                 .found = file.generation,
                 .expected = expected});
}

void continuity::report_repeated_file(const input_file& file) {
  const std::uint32_t expected = known_.sequence + 1;
  if (trail_.messages.verbose != 0) {
    trail_.messages.print(
        "INFO: file sequence mismatch (found: %u, expected: %u)\n"
        "      skipping file %s\n",
        file.sequence, expected, file.name.c_str());
  }
  trail_.notice({.kind = notice_kind::repeated_file,
                 .found = file.sequence,
                 .expected = expected});
}

void continuity::report_repeated_actions(const input_file& file,
                                         std::uint32_t found) {
  const std::uint32_t expected = known_.action + 1;
  if (trail_.messages.verbose != 0) {
    trail_.messages.print(
        "INFO: action sequence mismatch in file %s\n"
        "      found: %u, expected: %u\n"
        "      skipping %u actions\n",
        file.name.c_str(), found, expected, expected - found);
  }
  trail_.notice({.kind = notice_kind::repeated_actions,
                 .found = found,
                 .expected = expected});
}

int continuity::fw_unexpected_eof(const input_file& file, const char* what) {
  trail_.messages.print(
      "WARNING: unexpected EOF encountered on forward-log action %u-%u.%u "
      "while reading %s\n",
      file.generation, file.sequence, known_.action, what);
  trail_.notice(
      notice_kind::unexpected_end,
      format_text("WARNING: while the original forward-log was processed, an "
                  "unexpected EOF was encountered on forward-log action "
                  "%u-%u.%u while reading %s",
                  file.generation, file.sequence, known_.action, what));
  report_damage(file);
  return 1;
}

void continuity::report_damage(const input_file& file) {
  if (!file.stream.is_compressed()) {
    report_read_error(file);
    return;
  }
  if (!file.stream.broke_off()) return;
  has_passed_over_ = has_passed_over_ || !file.stream.error().empty();
  const char* name = file.name.c_str();
  const char* reason = file.stream.error().empty()
                           ? "unexpected end of file"
                           : file.stream.error().c_str();
  trail_.messages.print(
      "WARNING: damage detected in compressed file %s\n"
      "         reason: %s\n"
      "         information from the file may be missing or wrong\n",
      name, reason);
  trail_.notice(
      notice_kind::damaged_compression,
      format_text("WARNING: while the original forward-log was processed, "
                  "damage was detected in compressed file %s (reason: %s) - "
                  "information from the file may be missing or wrong",
                  name, reason));
}

void continuity::report_server_abort(const input_file& file) {
  trail_.messages.print(
      "WARNING: server abort detected in forward-log segment %u-%u - "
      "continuing\n",
      file.generation, file.sequence);
  trail_.notice(
      notice_kind::server_abort,
      format_text("WARNING: while the original forward-log was processed, a "
                  "server abort was detected in forward-log segment %u-%u",
                  file.generation, file.sequence));
}

void continuity::report_role_change(const input_file& file) {
  trail_.messages.print(
      "NOTE: role change from replication slave to master detected in "
      "forward-log segment %u-%u - continuing\n",
      file.generation, file.sequence);
  trail_.notice(
      notice_kind::role_change,
      format_text("NOTE: while the original forward-log was processed, a role "
                  "change from replication slave to master was detected in "
                  "forward-log segment %u-%u",
                  file.generation, file.sequence));
}

void continuity::report_short_image(const input_file& file, const char* what,
                                    std::size_t size, std::size_t expected) {
  trail_.messages.print(
      "WARNING: short %s in forward-log action %u-%u.%u\n"
      "         found: %zu bytes, expected: %zu bytes\n"
      "         information from the record is apparently missing\n",
      what, file.generation, file.sequence, known_.action, size, expected);
  trail_.notice(
      notice_kind::short_image,
      format_text("WARNING: while the original forward-log was processed, a "
                  "short %s was encountered on forward-log action %u-%u.%u "
                  "(found: %zu bytes, expected: %zu bytes) - information from "
                  "the record is apparently missing",
                  what, file.generation, file.sequence, known_.action, size,
                  expected));
}

void continuity::report_malformed_sign_on(const input_file& file,
                                          std::uint32_t number,
                                          std::int32_t session_id,
                                          std::span<const std::uint8_t> found,
                                          std::span<const std::uint8_t> kept) {
  const std::size_t announced = sign_on_strings(found).strings_left();
  const std::size_t whole = sign_on_strings(kept).strings_left();
  trail_.messages.print(
      "WARNING: malformed sign-on data in forward-log action %u-%u.%u\n"
      "         found: %zu string(s) in %zu bytes, kept: %zu string(s)\n"
      "         information about session %d is apparently missing\n",
      file.generation, file.sequence, number, announced, found.size(), whole,
      session_id);
  trail_.notice(
      notice_kind::malformed_sign_on,
      format_text("WARNING: while the original forward-log was processed, "
                  "malformed sign-on data was encountered on forward-log "
                  "action %u-%u.%u (found: %zu string(s) in %zu bytes, kept: "
                  "%zu string(s)) - information about session %d is "
                  "apparently missing",
                  file.generation, file.sequence, number, announced,
                  found.size(), whole, session_id));
}
