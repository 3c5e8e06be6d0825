#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_TURNS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_TURNS_H

// Whose turn it is to write, of processes that make the parts of one output in
// order; and where what they make waits for their turn.
//
// A job whose turn it is writes straight to the output. Of the others each has
// some room in shared memory, and waits when that is full.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "common/shared_memory.h"
#include "util/chronex_trail/files/byte_sink.h"

class job_turns {
 public:
  // Makes room of `room` bytes for so many jobs at a time. The first turn is
  // that of job 0. False with errno on failure.
  [[nodiscard]] bool make(std::size_t jobs, std::size_t room);

  bool is_turn_of(std::uint32_t number) const;
  // Waits for it; false when it will never come.
  [[nodiscard]] bool await_turn_of(std::uint32_t number) const;
  // The job is done.
  void pass_on(std::uint32_t number);
  // Nobody is to write any more.
  void stop();

 private:
  friend class turn_sink;
  struct control_block;

  shared_memory shared_;
  shared_memory rooms_;
  std::size_t room_size_ = 0;
  control_block* control_ = nullptr;
};

// The output of a job, in its process.
class turn_sink : public byte_sink {
 public:
  // The job is `number` of all, and `place` of those that there are at a time.
  // `begin` is called when its turn has come, and `write_now` writes to the
  // output then; it returns 0 or -1 as write() does.
  turn_sink(job_turns& turns, std::size_t place, std::uint32_t number,
            std::function<void()> begin,
            std::function<int(std::string_view)> write_now);

  int write(std::string_view bytes) override;
  // Waits for the job's turn and writes what has been collected. Returns 0, or
  // -1 after a failed write. Does not return when the turn will never come.
  int take_turn();

 private:
  void collect(std::string_view bytes);

  job_turns& turns_;
  const std::size_t begin_of_room_;
  // The room is ready to be written to up to here.
  std::size_t prepared_;
  const std::uint32_t number_;
  const std::function<void()> begin_;
  const std::function<int(std::string_view)> write_now_;
  bool has_turn_ = false;
  std::size_t used_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_TURNS_H
