#ifndef CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H
#define CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H

// Inputs that one process decompresses and others read.
//
// The writer reads inputs one after the other into a ring in shared memory. The
// readers are processes that it has made by fork; each goes over the same
// inputs in the same order, at its own pace, and finds the bytes in the ring,
// where its streams have their windows. The writer waits before it overwrites
// what a reader still needs, and a reader for bytes that are not there yet.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <utility>

#include "common/shared_memory.h"
#include "util/chronex/input/byte_source.h"

class input_relay {
 public:
  // The most that is read from a source at a time.
  static constexpr std::size_t READ_SIZE = std::size_t{256} * 1024;
  // Of the ring, whose size is rounded up to whole pages. It has to hold the
  // longest window of a stream and a piece read to it.
  static constexpr std::size_t LEAST_SIZE = 2 * READ_SIZE;

  // Makes the ring, for so many readers. `while_waiting` is called now and then
  // while the writer waits for readers: one may have ended without a word.
  // False with errno on failure.
  [[nodiscard]] bool make(std::size_t size, std::size_t readers,
                          std::function<void()> while_waiting);

  // In the writer, for one input after the other: hands on all that the source
  // has. False when there are no readers any more.
  bool feed(byte_source& source);
  // In the writer: the reader needs nothing any more.
  void dismiss(std::size_t index);

  // In a process that was just made: it is that reader.
  void become_reader(std::size_t index);
  // In a reader: what is called now and then while it waits for the writer;
  // nothing at first.
  void set_while_waiting(std::function<void()> while_waiting) {
    while_waiting_ = std::move(while_waiting);
  }

  // For streams of readers, one at a time.

  // The bytes of input `number`, as they were fed, from a place in it on. Null
  // when a later input was taken up already.
  std::unique_ptr<byte_source> attach(std::uint64_t number,
                                      std::uint64_t position);
  // Where the stream's window begins. What its source reads is there already,
  // behind the bytes in it.
  std::uint8_t* window() const { return ring_.data() + place_ % ring_.size(); }
  // That many bytes of the window are not needed any more.
  void drop(std::uint64_t count);

 private:
  class relayed_source;
  struct fed_input;
  struct reader_place;
  struct control_block;

  // How many inputs readers may be behind the writer.
  static constexpr std::size_t FED_INPUTS = 256;

  fed_input& input(std::uint64_t number) const;
  std::span<reader_place> readers() const;
  void await_readers(const std::function<bool(const reader_place&)>& is_behind);
  void await_room(std::uint64_t number);
  bool is_wanted(std::uint64_t number) const;
  std::size_t feed_some(byte_source& source, fed_input& input);
  std::size_t receive(const fed_input& input, std::uint64_t seen) const;
  void leave(std::uint64_t number);

  shared_memory ring_;
  shared_memory shared_;
  control_block* control_ = nullptr;
  std::size_t reader_count_ = 0;
  std::function<void()> while_waiting_;
  // Null in the writer.
  reader_place* reader_ = nullptr;
  // Where the window of this reader begins, in bytes of all inputs.
  std::uint64_t place_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H
