#include "util/chronex/input/input_relay.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace {

// What a reader has at a time, so that the writer hears of it.
constexpr std::size_t PORTION = std::size_t{256} * 1024;
// A process that was killed wakes nobody.
constexpr std::chrono::milliseconds LOOK_AROUND{20};
constexpr std::uint64_t NOT_KNOWN = std::numeric_limits<std::uint64_t>::max();
// The place of a reader that is none.
constexpr std::uint64_t NOWHERE = std::numeric_limits<std::uint64_t>::max();

}  // namespace

// One stream's use of the relay. The places are in bytes of all inputs.
struct input_relay::attachment {
  std::uint64_t position = 0;
  std::uint64_t begin = 0;
  // The rest is valid once this is known.
  std::atomic<std::uint64_t> end{NOT_KNOWN};
  std::atomic<bool> is_compressed{false};
  // The stream was left before its end.
  bool was_left = false;
  bool truncated = false;
  int resource_error = 0;
  std::array<char, 256> error{};
};

// What a reader still needs.
struct input_relay::reader_place {
  std::atomic<std::uint64_t> place{NOWHERE};
  std::atomic<std::uint64_t> attached{NOWHERE};
};

struct input_relay::control_block {
  // Bytes and inputs so far.
  std::atomic<std::uint64_t> produced{0};
  std::atomic<std::uint64_t> attached{0};
  std::atomic<bool> is_closed{false};
  // Advance when the writer, or a reader, has done something.
  shared_counter written;
  shared_counter released;
  std::array<attachment, ATTACHMENTS> attachments;
};

// The bytes of a stream's source, in the writer or in a reader.
class input_relay::relayed_source final : public byte_source {
 public:
  // No source: this process is a reader.
  relayed_source(input_relay& relay, std::unique_ptr<byte_source> source,
                 attachment& input)
      : relay_(relay),
        source_(std::move(source)),
        input_(input),
        next_(input.begin) {}
  ~relayed_source() override { leave(); }

  // In a reader, the bytes are at their place already.
  std::size_t read(std::span<std::uint8_t> room) override {
    const std::size_t count = relay_.is_reader()
                                  ? relay_.receive(input_, next_)
                                  : relay_.produce(*source_, room, input_);
    next_ += count;
    if (count == 0) note_end();
    return count;
  }
  bool is_compressed() const override { return input_.is_compressed; }

 private:
  void note_end() {
    if (relay_.is_lost()) return;
    error_ = input_.error.data();
    truncated_ = input_.truncated;
    resource_error_ = input_.resource_error;
  }
  void leave() {
    if (relay_.is_reader() || input_.end != NOT_KNOWN) return;
    input_.was_left = true;
    input_.end = next_;
    relay_.control_->written.advance();
  }

  input_relay& relay_;
  std::unique_ptr<byte_source> source_;
  attachment& input_;
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

input_relay::attachment& input_relay::attachment_of(
    std::uint64_t number) const {
  return control_->attachments[number % ATTACHMENTS];
}

std::span<input_relay::reader_place> input_relay::readers() const {
  return {reinterpret_cast<reader_place*>(control_ + 1), reader_count_};
}

void input_relay::admit(std::size_t index) {
  readers()[index].attached = attached_;
  readers()[index].place = begin_;
}

void input_relay::dismiss(std::size_t index) {
  readers()[index].place = NOWHERE;
  readers()[index].attached = NOWHERE;
}

void input_relay::close() {
  control_->is_closed = true;
  control_->written.advance();
}

void input_relay::become_reader(std::size_t index) {
  reader_ = &readers()[index];
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

// The writer's own window is in front of what is produced and short.
void input_relay::await_room(std::size_t size) {
  const std::uint64_t produced = control_->produced;
  await_readers([this, produced, size](const reader_place& each) {
    const std::uint64_t place = each.place;
    return place != NOWHERE && produced + size > place + ring_.size();
  });
}

std::unique_ptr<byte_source> input_relay::attach(
    std::unique_ptr<byte_source> source, std::uint64_t position) {
  attachment& input = attachment_of(attached_);
  if (is_reader()) {
    if (!await_attachment(position)) return nullptr;
  } else {
    await_readers([this](const reader_place& each) {
      const std::uint64_t attached = each.attached;
      return attached != NOWHERE && attached + ATTACHMENTS <= attached_;
    });
    std::construct_at(&input);
    input.position = position;
    input.begin = control_->produced;
  }
  ++attached_;
  begin_ = input.begin;
  set_place();
  return std::make_unique<relayed_source>(*this, std::move(source), input);
}

// Tells the others where this process is.
void input_relay::set_place() {
  if (is_reader()) {
    reader_->place = begin_;
    reader_->attached = attached_;
    control_->released.advance();
  } else {
    control_->attached = attached_;
    control_->written.advance();
  }
}

bool input_relay::await_attachment(std::uint64_t position) {
  for (;;) {
    const std::uint32_t seen = control_->written.value();
    if (control_->attached > attached_) break;
    if (control_->is_closed) return false;
    control_->written.wait(seen, LOOK_AROUND);
  }
  return attachment_of(attached_).position == position;
}

void input_relay::drop(std::size_t count) {
  begin_ += count;
  if (is_reader()) set_place();
}

std::size_t input_relay::produce(byte_source& source,
                                 std::span<std::uint8_t> room,
                                 attachment& input) {
  if (input.end != NOT_KNOWN) return 0;
  await_room(room.size());
  const std::size_t count = source.read(room);
  input.is_compressed = source.is_compressed();
  if (count == 0) {
    const std::string_view error = source.error();
    error.copy(input.error.data(), input.error.size() - 1);
    input.truncated = source.truncated();
    input.resource_error = source.resource_error();
    input.end = control_->produced.load();
  }
  control_->produced += count;
  control_->written.advance();
  return count;
}

// What comes behind the end is of the next input.
std::size_t input_relay::receive(const attachment& input, std::uint64_t seen) {
  for (;;) {
    const std::uint32_t written = control_->written.value();
    const std::uint64_t produced = control_->produced;
    const std::uint64_t end = input.end;
    const std::uint64_t there = std::min(produced, end);
    if (there > seen) return std::min<std::uint64_t>(there - seen, PORTION);
    is_lost_ = end == NOT_KNOWN ? control_->is_closed.load() : input.was_left;
    if (end != NOT_KNOWN || is_lost_) return 0;
    control_->written.wait(written, LOOK_AROUND);
  }
}
