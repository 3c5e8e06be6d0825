#ifndef CHRONEX_UTIL_CHRONEX_STATE_TABLE_STATE_H
#define CHRONEX_UTIL_CHRONEX_STATE_TABLE_STATE_H

// The tables of a run, a section each. Restoring functions return false when
// the section is damaged, or there is no memory.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "util/chronex/state/run_state.h"

// The inputs that sections refer to, by their place in the section of files;
// 0 = none.
class state_files {
 public:
  // The number of a file, which gets one if it has none.
  std::uint32_t number_of(const input_file* file);
  void save(state_writer& state) const;

  // Makes the files, which become the run's.
  bool restore(const run_parts& run, state_reader& state);
  // The file of a number; fails the reader when there is none.
  const input_file* file(std::uint32_t number, state_reader& state) const;

 private:
  std::vector<const input_file*> files_;
};

void save_sessions(session_table& sessions, state_files& files,
                   state_writer& state);
bool restore_sessions(session_table& sessions, const state_files& files,
                      state_reader& state);

void save_nodes(node_table& nodes, state_writer& state);
// Keys that could be used and cannot be now are told in `problem`.
bool restore_nodes(const run_parts& run, state_reader& state,
                   std::string& problem);

void save_images(image_table& images, state_writer& state);
bool restore_images(const run_parts& run, state_reader& state);

// What is uncertain since actions were lost. Of the sessions and nodes that are
// there already.
void save_losses(const run_parts& run, state_writer& state);
bool restore_losses(const run_parts& run, state_reader& state);

// The keys of a key context, without the messages that were printed when it
// came. Null: it cannot be read.
db_key_context_ptr restore_keys(const run_parts& run,
                                std::span<const std::uint8_t> payload);

#endif  // CHRONEX_UTIL_CHRONEX_STATE_TABLE_STATE_H
