#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_CAREFUL_ACTIONS_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_CAREFUL_ACTIONS_H

// Reads the actions of one forward log whole, or not at all.
//
// An action is processed once all of it is there, so that a log can be followed
// while it is being written. With fwlog_reader::passes_over_damage it must also
// be one: its number follows, and where it ends another action begins. Behind
// what is none, reading goes on where the headers of three actions chain. The
// last action before a hole is lost with it, unless it is seen to be whole: the
// hole may begin anywhere in it.

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "util/chronex/forward_log/action_extent.h"
#include "util/chronex/forward_log/fwlog.h"

class careful_actions {
 public:
  // Both are the caller's. The header of the file has been read.
  careful_actions(fwlog_reader& reader, input_file& file)
      : reader_(reader), file_(file), last_(reader.position.last) {}

  // Processes the next action, or passes over what is none. Returns what the
  // readers of single actions return.
  int process_next();

 private:
  using byte_run = std::span<const std::uint8_t>;
  // Where reading can go on; nothing = nowhere in what is there.
  using place = std::optional<std::size_t>;

  // The next action as far as it can be looked at.
  struct next_action {
    byte_run bytes;
    action_extent extent;
    bool is_whole() const;
    bool is_long() const;
  };

  next_action look();
  bool is_next_number(byte_run bytes) const;
  head_limits limits() const;
  bool is_next(byte_run bytes);
  bool is_begin(const next_action& next);
  bool is_followed(const action_head& head, byte_run follower) const;
  bool is_end(const next_action& next);
  int interrupted();
  int process_action();
  int pass_long_action(const next_action& next);
  int pass_over(std::uint64_t from, const std::string& reason,
                std::uint64_t step = 0);
  int leave(const damaged_bytes& damage);
  bool seek(std::uint64_t from);
  bool is_lone_end(byte_run bytes, std::uint64_t passed) const;
  place find(byte_run bytes, std::size_t end, std::uint64_t passed) const;

  fwlog_reader& reader_;
  input_file& file_;
  // The action before: log_position::last.
  action_head& last_;
};

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_CAREFUL_ACTIONS_H
