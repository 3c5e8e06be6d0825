#ifndef CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H
#define CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H

// Inputs that one process reads and others see.
//
// The writer reads its inputs one after the other into a ring in shared memory,
// where its own window is, too. Readers are processes that it makes on the way
// by fork: each takes up the same inputs at the same place, and finds in the
// ring what the writer has read since, without reading or decompressing it
// again. The writer waits before it overwrites what a reader still needs, and a
// reader for bytes that are not there yet.
//
// Whatever the writer did not do as the reader expects it, the reader goes on
// by itself.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "common/shared_memory.h"
#include "util/chronex/input/byte_source.h"

class input_relay {
 public:
  // Of the ring, whose size is rounded up to whole pages. It has to hold the
  // longest window of a stream and a piece read to it.
  static constexpr std::size_t LEAST_SIZE = std::size_t{512} * 1024;

  // Makes the ring, for so many readers at a time. `while_waiting` is called
  // now and then while the writer waits for readers: one may have ended without
  // a word. False with errno on failure.
  [[nodiscard]] bool make(std::size_t size, std::size_t readers,
                          std::function<void()> while_waiting);

  // In the writer: keeps all that comes from now on until reader `index` has
  // taken it, or is dismissed.
  void admit(std::size_t index);
  void dismiss(std::size_t index);
  // In the writer: it reads no more.
  void close();
  // In a process that was just made: it is that reader.
  void become_reader(std::size_t index);
  bool is_reader() const { return reader_ != nullptr; }

  // For streams, one at a time.

  // Puts the relay between a stream and its source, which is at `position`. In
  // a reader there is no source. Null when a reader cannot have that.
  std::unique_ptr<byte_source> attach(std::unique_ptr<byte_source> source,
                                      std::uint64_t position);
  // Where the stream's window begins. What its source reads is to be read to
  // behind the bytes in it.
  std::uint8_t* window() const { return ring_.data() + begin_ % ring_.size(); }
  // That many bytes of the window are not needed any more.
  void drop(std::size_t count);
  // In a reader, after a read of nothing: the writer has left it alone.
  bool is_lost() const { return is_lost_; }

 private:
  class relayed_source;
  struct attachment;
  struct reader_place;
  struct control_block;

  // How many inputs readers may be behind the writer.
  static constexpr std::size_t ATTACHMENTS = 256;

  attachment& attachment_of(std::uint64_t number) const;
  std::span<reader_place> readers() const;
  void await_readers(const std::function<bool(const reader_place&)>& is_behind);
  void await_room(std::size_t size);
  void set_place();
  bool await_attachment(std::uint64_t position);
  std::size_t produce(byte_source& source, std::span<std::uint8_t> room,
                      attachment& input);
  std::size_t receive(const attachment& input, std::uint64_t seen);

  shared_memory ring_;
  shared_memory shared_;
  control_block* control_ = nullptr;
  std::size_t reader_count_ = 0;
  std::function<void()> while_waiting_;
  // Null in the writer.
  reader_place* reader_ = nullptr;
  // How many inputs this process has taken up.
  std::uint64_t attached_ = 0;
  // Where its window begins, in bytes of all inputs.
  std::uint64_t begin_ = 0;
  bool is_lost_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_INPUT_RELAY_H
