#include "util/chronex_trail/run/job_turns.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <memory>

#include "util/chronex_trail/run/job_end.h"

namespace {

constexpr std::chrono::milliseconds LONGEST_WAIT{1000};

}  // namespace

struct job_turns::control_block {
  std::atomic<std::uint32_t> claimed{0};
  std::atomic<std::uint32_t> turn{0};
  // No part from this one on will be there.
  std::atomic<std::uint32_t> end{std::numeric_limits<std::uint32_t>::max()};
  shared_counter changed;
};

bool job_turns::make() {
  if (!shared_.allocate(sizeof(control_block))) return false;
  control_ =
      std::construct_at(reinterpret_cast<control_block*>(shared_.data()));
  return true;
}

std::uint32_t job_turns::claim() { return control_->claimed.fetch_add(1); }

void job_turns::give_up(std::uint32_t part) {
  std::uint32_t end = control_->end;
  while (part < end && !control_->end.compare_exchange_weak(end, part)) {
  }
  control_->changed.advance();
}

bool job_turns::is_turn_of(std::uint32_t part) const {
  return control_->turn == part;
}

bool job_turns::await_turn_of(std::uint32_t part) const {
  for (;;) {
    const std::uint32_t seen = control_->changed.value();
    if (control_->turn == part) return true;
    if (control_->end < part) return false;
    control_->changed.wait(seen, LONGEST_WAIT);
  }
}

void job_turns::pass_on(std::uint32_t part) {
  control_->turn = part + 1;
  control_->changed.advance();
}

turn_sink::turn_sink(job_turns& turns, turn_voice& voice, std::size_t room)
    : turns_(turns), voice_(voice), room_(room) {
  collected_.reserve(room);
}

void turn_sink::begin_part(std::uint32_t number) {
  number_ = number;
  has_turn_ = false;
  part_begin_ = collected_.size();
}

int turn_sink::write(std::string_view bytes) {
  if (!has_turn_) {
    if (write_due() != 0) return -1;
    const bool is_due = ended_.empty() && turns_.is_turn_of(number_);
    if (!is_due && bytes.size() <= room_ - collected_.size()) {
      collected_ += bytes;
      return 0;
    }
    if (take_turn() != 0) return -1;
  }
  if (voice_.write_now(bytes) != 0) failed_ = true;
  return failed_ ? -1 : 0;
}

int turn_sink::end_part() {
  if (has_turn_) {
    turns_.pass_on(number_);
    voice_.end_turn();
    has_turn_ = false;
    return 0;
  }
  ended_.push_back({.number = number_,
                    .size = collected_.size() - part_begin_,
                    .messages = voice_.take_messages()});
  return write_due();
}

int turn_sink::write_due() {
  while (!ended_.empty() && turns_.is_turn_of(ended_.front().number)) {
    if (write_first() != 0) return -1;
  }
  return failed_ ? -1 : 0;
}

// Writes a part whose turn has come.
int turn_sink::write_first() {
  if (failed_) return -1;
  const ended_part& part = ended_.front();
  voice_.begin_turn(part.messages);
  if (voice_.write_now(
          std::string_view(collected_).substr(written_, part.size)) != 0) {
    failed_ = true;
    return -1;
  }
  turns_.pass_on(part.number);
  voice_.end_turn();
  written_ += part.size;
  ended_.pop_front();
  if (!ended_.empty()) return 0;
  collected_.erase(0, written_);
  part_begin_ -= written_;
  written_ = 0;
  return 0;
}

void turn_sink::await_turn_of(std::uint32_t part) const {
  if (!turns_.await_turn_of(part)) _exit(static_cast<int>(job_end::lost));
}

int turn_sink::write_ended() {
  while (!ended_.empty()) {
    await_turn_of(ended_.front().number);
    if (write_first() != 0) return -1;
  }
  return failed_ ? -1 : 0;
}

int turn_sink::take_turn() {
  if (write_ended() != 0) return -1;
  if (has_turn_) return 0;
  await_turn_of(number_);
  has_turn_ = true;
  voice_.begin_turn();
  if (voice_.write_now(collected_) != 0) failed_ = true;
  collected_.clear();
  part_begin_ = 0;
  return failed_ ? -1 : 0;
}
