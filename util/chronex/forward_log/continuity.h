#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_CONTINUITY_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_CONTINUITY_H

// Watches the numbers of a forward log (generations, files within a generation,
// actions within a file) for gaps and repeats, and words the notices about what
// happened to a log.
//
// What is missing is a WARNING, what is repeated an INFO (with -v only). Each
// WARNING and NOTE is given twice: on standard error, and as a notice to the
// outputs, with a comment for the later reader of the audit file. None of them
// ends the run; a comment that cannot be written does.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "util/chronex/input/input_file.h"
#include "util/chronex/trail/trail.h"

// What is known of the numbers so far.
struct log_numbers {
  // No file has passed the version gate yet.
  bool is_first = true;
  // Generation and file sequence of the last accepted file; the sequence is 0
  // after a change of generation.
  std::uint32_t generation = 0;
  std::uint32_t sequence = 0;
  // Number of the last accepted action of the current file.
  std::uint32_t action = 0;
};

// Bytes of a forward log that were passed over.
struct damaged_bytes {
  // Offsets in the file as it is when decompressed: of the first, and of what
  // follows them.
  std::uint64_t from = 0;
  std::uint64_t to = 0;
  // Numbers of the actions before and behind; 0 = none.
  std::uint32_t last_number = 0;
  std::uint32_t next_number = 0;
  // What was wrong first.
  std::string reason;
};

class continuity {
 public:
  // The trail is the run's and outlives the object.
  explicit continuity(trail& trail) : trail_(trail) {}

  const log_numbers& known() const { return known_; }
  // Goes on behind what another run knew.
  void go_on(const log_numbers& numbers) { known_ = numbers; }

  // False when the file is of a version without audit information and is to be
  // skipped.
  bool accept_version(const input_file& file);

  // False when the file is older than, or the same as, one already processed
  // and is to be skipped. Otherwise the file's actions are counted from 1
  // again.
  bool accept_file(const input_file& file);

  // Checks the number of an action. Switches quiet mode on for a repeated
  // action and off for an expected or higher number.
  void check_action(const input_file& file, std::uint32_t number);

  // Reports that the file ended while the part named `what` was being read.
  // Returns 1: the file is done.
  int fw_unexpected_eof(const input_file& file, const char* what);

  // After a short read or a check of what is left: reports what was wrong with
  // the file's compression, or that the system could not read it. Of a file
  // that just ended there is nothing to report.
  void report_damage(const input_file& file);

  // Something was passed over as damage in the run, or is damaged in its
  // compression.
  bool has_passed_over() const { return has_passed_over_; }
  void set_passed_over() { has_passed_over_ = true; }
  // Reports bytes that were passed over, and goes on counting behind them.
  void report_damaged_bytes(const input_file& file,
                            const damaged_bytes& damage);
  // Reports that operations cannot be understood since actions were lost.
  void report_unknown_set(const input_file& file, std::int32_t node_id);
  // Missing numbers, too, make uncertain what was known before.
  bool loses_actions_in_gaps = false;

  void report_server_abort(const input_file& file);
  void report_role_change(const input_file& file);

  // A before-image or an operation's image (`what`) of `size` bytes where the
  // stored record has `expected`.
  void report_short_image(const input_file& file, const char* what,
                          std::size_t size, std::size_t expected);

  // The sign-on data of a session, in the action of this number: the bytes that
  // their strings do not fill, and the normal form that is kept.
  void report_malformed_sign_on(const input_file& file, std::uint32_t number,
                                std::int32_t session_id,
                                std::span<const std::uint8_t> found,
                                std::span<const std::uint8_t> kept);

 private:
  bool accept_generation(const input_file& file);
  bool accept_sequence(const input_file& file);
  void report_missing_generations(const input_file& file);
  void report_missing_files(const input_file& file);
  void report_missing_actions(const input_file& file, std::uint32_t found);
  void report_repeated_generation(const input_file& file);
  void report_repeated_file(const input_file& file);
  void report_repeated_actions(const input_file& file, std::uint32_t found);

  // Tells the outputs of missing numbers.
  void notice_gap(const trail_notice& gap);

  trail& trail_;
  log_numbers known_;
  bool has_passed_over_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_CONTINUITY_H
