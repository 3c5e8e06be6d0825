#include "util/chronex/input/input_relay.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <string_view>

namespace {

// What a reader has at a time, so that the writer hears of it.
constexpr std::size_t PORTION = std::size_t{128} * 1024;
// A process that goes on wakes others each time that it has done so many bytes,
// since waking is dear; and before it waits itself.
constexpr std::uint64_t WAKING_STEP = 2 * input_relay::READ_SIZE;
// What part of the ring a reader that writes keeps filled, whatever else it
// does, for who is in front.
constexpr std::size_t PARTS_AHEAD = 16;
// A process that was killed wakes nobody.
constexpr std::chrono::milliseconds LOOK_AROUND{20};
constexpr std::uint64_t NOT_KNOWN = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t NOTHING = std::numeric_limits<std::uint64_t>::max();

bool is_step(std::uint64_t from, std::uint64_t to) {
  return from / WAKING_STEP != to / WAKING_STEP;
}

}  // namespace

// The places are in bytes of all inputs.
struct input_relay::fed_input {
  std::uint64_t begin = 0;
  // The rest is valid once this is known.
  std::atomic<std::uint64_t> end{NOT_KNOWN};
  std::atomic<bool> is_compressed{false};
  bool truncated = false;
  int resource_error = 0;
  std::array<char, 256> error{};
};

// What a reader still needs: inputs from this one on, bytes from there on.
struct input_relay::reader_place {
  std::atomic<std::uint64_t> number{0};
  std::atomic<std::uint64_t> place{0};
};

struct input_relay::control_block {
  // Bytes, and inputs that were begun, so far.
  std::atomic<std::uint64_t> produced{0};
  std::atomic<std::uint64_t> begun{0};
  // Advance when the writer, or a reader, has done something.
  shared_counter written;
  shared_counter released;
  std::array<fed_input, FED_INPUTS> inputs;
};

class input_relay::relayed_source final : public byte_source {
 public:
  relayed_source(input_relay& relay, std::uint64_t number)
      : relay_(relay),
        number_(number),
        input_(relay.input(number)),
        next_(relay.place_) {}
  ~relayed_source() override { relay_.leave_input(number_); }

  // The bytes are at their place already.
  std::size_t read(std::span<std::uint8_t> /*room*/) override {
    const std::size_t count = relay_.receive(input_, next_);
    next_ += count;
    if (count == 0) note_end();
    return count;
  }
  bool is_compressed() const override { return input_.is_compressed; }

 private:
  void note_end() {
    error_ = input_.error.data();
    truncated_ = input_.truncated;
    resource_error_ = input_.resource_error;
  }

  input_relay& relay_;
  const std::uint64_t number_;
  const fed_input& input_;
  // Where the next byte is, in bytes of all inputs.
  std::uint64_t next_;
};

bool input_relay::make(std::size_t size, std::size_t readers) {
  const std::size_t page = shared_memory::page_size();
  const std::size_t whole_pages =
      (std::max(size, LEAST_SIZE) + page - 1) / page * page;
  const std::size_t control_size =
      sizeof(control_block) + readers * sizeof(reader_place);
  if (!ring_.allocate_ring(whole_pages) || !shared_.allocate(control_size)) {
    return false;
  }
  control_ =
      std::construct_at(reinterpret_cast<control_block*>(shared_.data()));
  reader_count_ = readers;
  for (reader_place& each : this->readers()) std::construct_at(&each);
  return true;
}

input_relay::fed_input& input_relay::input(std::uint64_t number) const {
  return control_->inputs[number % FED_INPUTS];
}

std::span<input_relay::reader_place> input_relay::readers() const {
  return {reinterpret_cast<reader_place*>(control_ + 1), reader_count_};
}

void input_relay::dismiss(std::size_t index) { dismiss(readers()[index]); }

void input_relay::leave() {
  dismiss(*reader_);
  while (is_writer() && has_readers()) {
    const std::uint32_t seen = control_->released.value();
    if (write_some()) continue;
    if (has_written_all_) return;
    await_readers(seen);
  }
}

void input_relay::dismiss(reader_place& reader) {
  reader.number = NOTHING;
  reader.place = NOTHING;
  control_->released.advance();
}

void input_relay::become_reader(std::size_t index) {
  reader_ = &readers()[index];
  while_waiting_ = [] {};
}

bool input_relay::has_readers() const {
  return std::ranges::any_of(readers(), [](const reader_place& each) {
    return each.number != NOTHING;
  });
}

// Readers that have left this input will say what they need of the next one.
bool input_relay::has_room(std::uint64_t number) const {
  const std::uint64_t produced = control_->produced;
  return std::ranges::none_of(readers(), [=, this](const reader_place& each) {
    const std::uint64_t place = each.place;
    return place != NOTHING && each.number <= number &&
           produced + READ_SIZE > place + ring_.size();
  });
}

bool input_relay::is_wanted(std::uint64_t number) const {
  return std::ranges::any_of(readers(), [number](const reader_place& each) {
    return each.number <= number;
  });
}

// False when a reader is too many inputs behind, or there are no more.
bool input_relay::begin_input() {
  const std::uint64_t number = control_->begun;
  const bool is_full =
      std::ranges::any_of(readers(), [number](const reader_place& each) {
        return number >= FED_INPUTS && each.number <= number - FED_INPUTS;
      });
  if (is_full) return false;
  source_ = inputs_();
  has_written_all_ = source_ == nullptr;
  if (has_written_all_) return false;
  std::construct_at(&input(number))->begin = control_->produced;
  control_->begun = number + 1;
  control_->written.advance();
  return true;
}

// Takes a step: begins an input, or reads once. False when there is no room, or
// nothing left.
bool input_relay::write_some() {
  if (has_written_all_) return false;
  if (source_ == nullptr) return begin_input();
  const std::uint64_t number = control_->begun - 1;
  if (!has_room(number)) return false;
  fed_input& fed = input(number);
  if (is_wanted(number) && read_source(fed) > 0) return true;
  fed.end = control_->produced.load();
  source_.reset();
  control_->written.advance();
  return true;
}

std::size_t input_relay::read_source(fed_input& input) {
  const std::uint64_t produced = control_->produced;
  const std::size_t count =
      source_->read({ring_.data() + produced % ring_.size(), READ_SIZE});
  input.is_compressed = source_->is_compressed();
  if (count == 0) {
    const std::string_view error = source_->error();
    error.copy(input.error.data(), input.error.size() - 1);
    input.truncated = source_->truncated();
    input.resource_error = source_->resource_error();
  }
  control_->produced = produced + count;
  if (is_step(produced, produced + count)) control_->written.advance();
  return count;
}

// Whether each reader has so many bytes, or many inputs, before it.
bool input_relay::is_ahead(std::uint64_t distance) const {
  const std::uint64_t produced = control_->produced;
  const std::uint64_t begun = control_->begun;
  return std::ranges::none_of(readers(), [=](const reader_place& each) {
    const std::uint64_t place = each.place;
    return place != NOTHING && place + distance > produced &&
           each.number + FED_INPUTS / 2 > begun;
  });
}

void input_relay::write_ahead(std::uint64_t distance) {
  while (!is_ahead(distance) && write_some()) {
  }
}

bool input_relay::keep_ahead() {
  if (!is_writer()) return true;
  const std::size_t distance = ring_.size() / 2;
  write_ahead(distance);
  return has_written_all_ || is_ahead(distance);
}

// In the writer, for room.
void input_relay::await_readers(std::uint32_t seen) {
  control_->written.advance();
  while_waiting_();
  control_->released.wait(seen, LOOK_AROUND);
}

// In a reader, for bytes or an input.
void input_relay::await_writer(std::uint32_t seen) {
  if (is_writer()) {
    const std::uint32_t released = control_->released.value();
    if (!write_some()) await_readers(released);
  } else {
    while_waiting_();
    control_->written.wait(seen, LOOK_AROUND);
  }
}

std::unique_ptr<byte_source> input_relay::attach(std::uint64_t number,
                                                 std::uint64_t position) {
  if (reader_->number > number) return nullptr;
  // What comes before is not needed: the writer is to go on.
  reader_->number = number;
  control_->released.advance();
  for (;;) {
    const std::uint32_t seen = control_->written.value();
    if (control_->begun > number) break;
    await_writer(seen);
  }
  place_ = input(number).begin;
  drop(position);
  return std::make_unique<relayed_source>(*this, number);
}

void input_relay::leave_input(std::uint64_t number) {
  reader_->number = number + 1;
  control_->released.advance();
}

void input_relay::drop(std::uint64_t count) {
  const std::uint64_t before = place_;
  place_ += count;
  reader_->place = place_;
  if (is_step(before, place_)) control_->released.advance();
  if (is_writer()) write_ahead(ring_.size() / PARTS_AHEAD);
}

// Where the bytes of an input end that are there so far. Looked at in this
// order: while its end is not known, none of the next input have been produced.
std::uint64_t input_relay::end_so_far(const fed_input& input) const {
  const std::uint64_t produced = control_->produced;
  return std::min(produced, input.end.load());
}

std::size_t input_relay::receive(const fed_input& input, std::uint64_t seen) {
  const auto has_to_wait = [&] {
    return end_so_far(input) <= seen && input.end == NOT_KNOWN;
  };
  if (has_to_wait()) control_->released.advance();
  for (;;) {
    const std::uint32_t written = control_->written.value();
    if (!has_to_wait()) break;
    await_writer(written);
  }
  const std::uint64_t end = end_so_far(input);
  return end > seen ? std::min<std::uint64_t>(end - seen, PORTION) : 0;
}
