#ifndef CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H
#define CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H

// Inputs that several processes read, and one of them decompresses.
//
// The readers are processes that were made by fork; each goes over the same
// inputs in the same order, at its own pace, and finds the bytes in a ring in
// shared memory, where its streams have their windows. One of the readers is
// the writer, too: between its other work it reads the inputs, one after the
// other, into the ring, so far ahead as keeps the others from waiting. It does
// not overwrite what a reader still needs, and a reader waits for bytes that
// are not there yet. So there is no process more than have work of their own.

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

  // Makes the source of the next input; null behind the last one.
  using next_input = std::function<std::unique_ptr<byte_source>()>;

  // Makes the ring, for so many readers. False with errno on failure.
  [[nodiscard]] bool make(std::size_t size, std::size_t readers);

  // In the process that made the others: the reader needs nothing any more.
  void dismiss(std::size_t index);

  // In a process that was just made: it is that reader.
  void become_reader(std::size_t index);
  // This reader is the writer, of these inputs.
  void become_writer(next_input inputs) { inputs_ = std::move(inputs); }
  // What is called now and then while a reader waits for others; nothing at
  // first.
  void set_while_waiting(std::function<void()> while_waiting) {
    while_waiting_ = std::move(while_waiting);
  }
  // When a reader has time: the writer puts into the ring what the others can
  // do with for a while. False when they may come to wait for it all the same,
  // so that it had better go on reading, for there to be room.
  bool keep_ahead();
  // When a reader needs nothing any more: the writer puts into the ring what
  // others still need.
  void leave();

  // For streams of readers, one at a time.

  // The bytes of input `number`, decompressed, from a place in it on. Null
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
  void dismiss(reader_place& reader);
  bool is_writer() const { return inputs_ != nullptr; }
  bool has_readers() const;
  bool begin_input();
  bool has_room(std::uint64_t number) const;
  bool is_wanted(std::uint64_t number) const;
  bool write_some();
  std::size_t read_source(fed_input& input);
  bool is_ahead(std::uint64_t distance) const;
  void write_ahead(std::uint64_t distance);
  void await_readers(std::uint32_t seen);
  void await_writer(std::uint32_t seen);
  std::uint64_t end_so_far(const fed_input& input) const;
  std::size_t receive(const fed_input& input, std::uint64_t seen);
  void leave_input(std::uint64_t number);

  shared_memory ring_;
  shared_memory shared_;
  control_block* control_ = nullptr;
  std::size_t reader_count_ = 0;
  std::function<void()> while_waiting_;
  // Null in all but the writer. The source is that of the input that was begun
  // last, null when that has ended.
  next_input inputs_;
  std::unique_ptr<byte_source> source_;
  bool has_written_all_ = false;
  // Null in the process that made the readers.
  reader_place* reader_ = nullptr;
  // Where the window of this reader begins, in bytes of all inputs.
  std::uint64_t place_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H
