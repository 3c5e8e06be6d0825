#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_TURNS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_TURNS_H

// Which process makes which part of an output, and whose turn it is to write.
//
// The parts have numbers, from 0 on. Each is made by the job that claims it,
// which writes straight to the output while it is the part's turn. What it
// makes before waits in the job's memory, while the job goes on with the next
// part that it claims; the job waits when there is no more room for it.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "common/shared_memory.h"
#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/run/waiting_text.h"

class job_turns {
 public:
  // False with errno on failure. The first turn is that of part 0.
  [[nodiscard]] bool make();

  // The next part that nobody makes yet is the caller's.
  std::uint32_t claim();
  // Somebody makes that part, or has made it.
  bool is_claimed(std::uint32_t part) const;
  // The caller does not make the part that it has claimed, because none of that
  // number is to come.
  void give_up(std::uint32_t part);

  bool is_turn_of(std::uint32_t part) const;
  // Waits for it; false when it will never come.
  [[nodiscard]] bool await_turn_of(std::uint32_t part) const;
  // The part is written.
  void pass_on(std::uint32_t part);

 private:
  struct control_block;

  shared_memory shared_;
  control_block* control_ = nullptr;
};

// What a job that writes has to do with its process.
class turn_voice {
 public:
  turn_voice() = default;
  turn_voice(const turn_voice&) = delete;
  turn_voice& operator=(const turn_voice&) = delete;
  virtual ~turn_voice() = default;

  // The messages that were kept of the part that ends; they are kept no longer.
  virtual std::string take_messages() = 0;
  // It is the turn of the part that has these messages, or whose messages are
  // those that are kept: what is told from now on is told at once.
  virtual void begin_turn(std::string_view messages) = 0;
  virtual void begin_turn() = 0;
  // Messages are kept again.
  virtual void end_turn() = 0;
  // Writes to the output. Returns 0 or -1 as byte_sink::write() does.
  virtual int write_now(std::string_view bytes) = 0;
};

// The output of a job, in its process.
class turn_sink : public byte_sink {
 public:
  // Both are the caller's. Up to `room` bytes wait for their turn.
  turn_sink(job_turns& turns, turn_voice& voice, std::size_t room);

  // What comes is of this part from now on, up to end_part().
  void begin_part(std::uint32_t number);
  int write(std::string_view bytes) override;
  int write_buffer(std::unique_ptr<text_buffer>& buffer,
                   std::size_t size) override;
  // Returns 0, or -1 after a failed write.
  int end_part();

  // Writes the parts that have ended and whose turn has come. To be called now
  // and then while nothing is written. Returns as end_part().
  int write_due();
  // Waits for the turns of all parts that have ended, and writes them. Returns
  // as end_part(). Does not return when a turn will never come.
  int write_ended();
  // The same, and for that of the present part.
  int take_turn();

 private:
  struct ended_part {
    std::uint32_t number;
    std::size_t size;
    std::string messages;
  };

  bool can_wait(std::size_t size);
  int write_now(std::string_view bytes);
  int write_first();
  int write_waiting(std::size_t size);
  void await_turn_of(std::uint32_t part) const;

  job_turns& turns_;
  turn_voice& voice_;
  const std::size_t room_;
  std::uint32_t number_ = 0;
  bool has_turn_ = false;
  bool failed_ = false;
  std::deque<ended_part> ended_;
  // Of these, and of the present part; how much of it is of that.
  waiting_text waiting_;
  std::size_t part_size_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_TURNS_H
