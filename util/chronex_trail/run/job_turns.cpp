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

bool job_turns::is_claimed(std::uint32_t part) const {
  return control_->claimed > part;
}

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
    : turns_(turns), voice_(voice), room_(room) {}

void turn_sink::begin_part(std::uint32_t number) {
  number_ = number;
  has_turn_ = false;
  part_size_ = 0;
}

// Whether bytes are to wait: it is not their turn, and there is room for them.
// If not, all that waited has been written, or a write has failed.
bool turn_sink::can_wait(std::size_t size) {
  if (has_turn_ || write_due() != 0) return false;
  const bool is_due = ended_.empty() && turns_.is_turn_of(number_);
  if (!is_due && size <= room_ - waiting_.size()) {
    part_size_ += size;
    return true;
  }
  static_cast<void>(take_turn());
  return false;
}

int turn_sink::write_now(std::string_view bytes) {
  if (!failed_) failed_ = voice_.write_now(bytes) != 0;
  return failed_ ? -1 : 0;
}

int turn_sink::write(std::string_view bytes) {
  if (!can_wait(bytes.size())) return write_now(bytes);
  waiting_.append(bytes);
  return 0;
}

int turn_sink::write_buffer(std::unique_ptr<text_buffer>& buffer,
                            std::size_t size) {
  if (!can_wait(size)) return write_now({buffer->data(), size});
  waiting_.append(buffer, size);
  return 0;
}

int turn_sink::end_part() {
  if (has_turn_) {
    turns_.pass_on(number_);
    voice_.end_turn();
    has_turn_ = false;
    return 0;
  }
  ended_.push_back({.number = number_,
                    .size = part_size_,
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
  if (write_waiting(part.size) != 0) return -1;
  turns_.pass_on(part.number);
  voice_.end_turn();
  ended_.pop_front();
  return 0;
}

int turn_sink::write_waiting(std::size_t size) {
  return waiting_.take(
      size, [this](std::string_view bytes) { return write_now(bytes); });
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
  return write_waiting(waiting_.size());
}
