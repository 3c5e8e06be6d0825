#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_STATE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_STATE_H

// The state of a run and its output between two actions (doc/state-file.md):
// taken from a file, put into the run, and written again.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "util/chronex/state/run_state.h"
#include "util/chronex/state/state_bytes.h"
#include "util/chronex_trail/run/shared_options.h"
#include "util/chronex_trail/run/trail_run.h"

// Which part of a trail a run makes, counted from 1; 0 of 0 = all that comes.
struct trail_piece {
  std::uint32_t number = 0;
  std::uint32_t count = 0;

  bool is_last() const { return number == count; }
};

class trail_state {
 public:
  // All are the caller's. To be made before the run is prepared: it keeps from
  // then on what a state has of encrypted data.
  trail_state(trail_run& run, const shared_options& options);

  // Takes a state from a file, which need not be there. Must come before the
  // run is prepared. Returns 0, or -1 with a message.
  int read(const std::string& name);
  // Takes the state of that check sum, which NAME has, or NAME.next, if a run
  // was killed before it could adopt it.
  int read(const std::string& name, std::span<const std::uint8_t> check_sum);

  // No state was taken: the run begins with nothing.
  bool is_new() const { return sections_.empty(); }

  // Puts the state into the prepared run, and finds out what of its inputs is
  // to be read. Returns 0, or -1 with a message.
  int restore();

  // Whether a log, a file of this name, begins with what was read of the one
  // that the state is in the midst of.
  bool begins_as_known(const std::string& name) const;

  // Whether the log that the state is in the midst of has changed. To be asked
  // of logs that are no inputs of the run before they are gone on with. Returns
  // 0, or -1 with a message.
  int check_log(const input_file& file);

  // The section of the output, behind restore(); it reads as failed when there
  // was no state.
  state_reader& output() { return output_; }
  // To be called when the output cannot read its section. Returns -1.
  int damaged();

  const trail_piece& piece() const { return piece_; }
  void set_piece(const trail_piece& piece) { piece_ = piece; }

  // The bytes of a file with the present state; `output` is the section of the
  // output. To be called between two actions.
  std::vector<std::uint8_t> bytes(const state_writer& output);
  // Writes them to a file. Returns 0, or -1 with a message.
  int write(const std::string& name, const state_writer& output);

 private:
  int failure(const std::string& problem);
  bool begins_as_known(const input_file& file) const;
  int begin();
  run_parts parts();
  int check_options(state_reader& state);
  int check_volume_set(const input_file& file);
  int find_rest();
  int check_logs();
  void save_options(state_writer& state) const;

  trail_run& run_;
  const shared_options& options_;
  std::string name_;
  std::vector<std::uint8_t> file_;
  std::span<const std::uint8_t> sections_;
  state_reader output_{{}};
  // The digest of what is in front of the place.
  state_reader tail_{{}};
  trail_piece piece_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_STATE_H
