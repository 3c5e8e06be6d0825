#include "util/chronex_trail/run/job_turns.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "util/chronex_trail/run/exit_status.h"

namespace {

constexpr std::uint32_t NOBODY = std::numeric_limits<std::uint32_t>::max();
constexpr std::chrono::milliseconds LONGEST_WAIT{1000};

}  // namespace

struct job_turns::control_block {
  std::atomic<std::uint32_t> turn{0};
  shared_counter changed;
};

bool job_turns::make(std::size_t jobs, std::size_t room) {
  const std::size_t page = shared_memory::page_size();
  room_size_ = (room + page - 1) / page * page;
  if (!shared_.allocate(sizeof(control_block)) ||
      !rooms_.allocate(jobs * room_size_)) {
    return false;
  }
  control_ =
      std::construct_at(reinterpret_cast<control_block*>(shared_.data()));
  return true;
}

bool job_turns::is_turn_of(std::uint32_t number) const {
  return control_->turn == number;
}

bool job_turns::await_turn_of(std::uint32_t number) const {
  for (;;) {
    const std::uint32_t seen = control_->changed.value();
    const std::uint32_t turn = control_->turn;
    if (turn == number || turn == NOBODY) return turn == number;
    control_->changed.wait(seen, LONGEST_WAIT);
  }
}

void job_turns::pass_on(std::uint32_t number) {
  control_->turn = number + 1;
  control_->changed.advance();
}

void job_turns::stop() {
  control_->turn = NOBODY;
  control_->changed.advance();
}

turn_sink::turn_sink(job_turns& turns, std::size_t place, std::uint32_t number,
                     std::function<void()> begin,
                     std::function<int(std::string_view)> write_now)
    : turns_(turns),
      begin_of_room_(place * turns.room_size_),
      prepared_(begin_of_room_),
      number_(number),
      begin_(std::move(begin)),
      write_now_(std::move(write_now)) {}

int turn_sink::write(std::string_view bytes) {
  const bool fits = bytes.size() <= turns_.room_size_ - used_;
  if (!has_turn_ && fits && !turns_.is_turn_of(number_)) {
    collect(bytes);
    return 0;
  }
  return take_turn() == 0 ? write_now_(bytes) : -1;
}

void turn_sink::collect(std::string_view bytes) {
  const std::size_t end = begin_of_room_ + used_ + bytes.size();
  while (prepared_ < end) prepared_ = turns_.rooms_.prepare(prepared_);
  std::memcpy(turns_.rooms_.data() + begin_of_room_ + used_, bytes.data(),
              bytes.size());
  used_ += bytes.size();
}

int turn_sink::take_turn() {
  if (has_turn_) return 0;
  if (!turns_.await_turn_of(number_)) _exit(EXIT_ERROR);
  has_turn_ = true;
  begin_();
  const auto* const collected =
      reinterpret_cast<const char*>(turns_.rooms_.data() + begin_of_room_);
  return write_now_({collected, used_});
}
