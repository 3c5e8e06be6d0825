#include "util/chronex/input/input_relay.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <string_view>

namespace {

// What a reader has at a time, so that the writer hears of it.
constexpr std::size_t PORTION = std::size_t{128} * 1024;
// A process that was killed wakes nobody.
constexpr std::chrono::milliseconds LOOK_AROUND{20};
constexpr std::uint64_t NOT_KNOWN = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t NOTHING = std::numeric_limits<std::uint64_t>::max();

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
  ~relayed_source() override { relay_.leave(number_); }

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

bool input_relay::make(std::size_t size, std::size_t readers,
                       std::function<void()> while_waiting) {
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
  while_waiting_ = std::move(while_waiting);
  return true;
}

input_relay::fed_input& input_relay::input(std::uint64_t number) const {
  return control_->inputs[number % FED_INPUTS];
}

std::span<input_relay::reader_place> input_relay::readers() const {
  return {reinterpret_cast<reader_place*>(control_ + 1), reader_count_};
}

void input_relay::dismiss(std::size_t index) {
  readers()[index].number = NOTHING;
  readers()[index].place = NOTHING;
}

void input_relay::become_reader(std::size_t index) {
  reader_ = &readers()[index];
  while_waiting_ = [] {};
}

// Waits, in the writer, until no reader is behind any more.
void input_relay::await_readers(
    const std::function<bool(const reader_place&)>& is_behind) {
  for (;;) {
    const std::uint32_t seen = control_->released.value();
    if (std::ranges::none_of(readers(), is_behind)) return;
    control_->released.wait(seen, LOOK_AROUND);
    while_waiting_();
  }
}

// Readers that have left this input will say what they need of the next one.
void input_relay::await_room(std::uint64_t number) {
  const std::uint64_t produced = control_->produced;
  await_readers([=, this](const reader_place& each) {
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

bool input_relay::feed(byte_source& source) {
  const std::uint64_t number = control_->begun;
  await_readers([number](const reader_place& each) {
    return each.number + FED_INPUTS <= number;
  });
  fed_input& fed = *std::construct_at(&input(number));
  fed.begin = control_->produced;
  control_->begun = number + 1;
  do {
    await_room(number);
  } while (is_wanted(number) && feed_some(source, fed) > 0);
  if (fed.end == NOT_KNOWN) fed.end = control_->produced.load();
  control_->written.advance();
  return std::ranges::any_of(readers(), [](const reader_place& each) {
    return each.number != NOTHING;
  });
}

std::size_t input_relay::feed_some(byte_source& source, fed_input& input) {
  const std::uint64_t produced = control_->produced;
  const std::size_t count =
      source.read({ring_.data() + produced % ring_.size(), READ_SIZE});
  input.is_compressed = source.is_compressed();
  if (count == 0) {
    const std::string_view error = source.error();
    error.copy(input.error.data(), input.error.size() - 1);
    input.truncated = source.truncated();
    input.resource_error = source.resource_error();
    input.end = produced;
  }
  control_->produced = produced + count;
  control_->written.advance();
  return count;
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
    while_waiting_();
    control_->written.wait(seen, LOOK_AROUND);
  }
  place_ = input(number).begin;
  drop(position);
  return std::make_unique<relayed_source>(*this, number);
}

void input_relay::leave(std::uint64_t number) {
  reader_->number = number + 1;
  control_->released.advance();
}

void input_relay::drop(std::uint64_t count) {
  place_ += count;
  reader_->place = place_;
  control_->released.advance();
}

// What comes behind the end is of the next input.
std::size_t input_relay::receive(const fed_input& input,
                                 std::uint64_t seen) const {
  for (;;) {
    const std::uint32_t written = control_->written.value();
    const std::uint64_t end = input.end;
    const std::uint64_t there = std::min(control_->produced.load(), end);
    if (there > seen) return std::min<std::uint64_t>(there - seen, PORTION);
    if (end != NOT_KNOWN) return 0;
    while_waiting_();
    control_->written.wait(written, LOOK_AROUND);
  }
}
