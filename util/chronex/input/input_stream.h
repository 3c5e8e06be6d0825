#ifndef CHRONEX_UTIL_CHRONEX_INPUT_INPUT_STREAM_H
#define CHRONEX_UTIL_CHRONEX_INPUT_INPUT_STREAM_H

// An open input file as a run of bytes, read front to back through one window.
//
// This is the one place where bytes come in: what a reader takes is there in
// full, or it is told that the input ended.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "common/owned_bytes.h"
#include "util/chronex/input/byte_source.h"
#include "util/chronex/input/input_relay.h"

class input_stream {
 public:
  input_stream() = default;
  input_stream(const input_stream&) = delete;
  input_stream& operator=(const input_stream&) = delete;
  ~input_stream();

  // The largest run that take() can deliver.
  static constexpr std::size_t MAX_RUN = std::size_t{64} * 1024;

  // Opens a file for reading; false with errno on failure. `before_wait` is
  // called before every read from a pipe or device, which may have to wait.
  [[nodiscard]] bool open(const char* path, std::function<void()> before_wait);
  // The same for a duplicate of an open descriptor.
  [[nodiscard]] bool open_duplicate(int descriptor,
                                    std::function<void()> before_wait);

  // Takes the next `count` bytes (at most MAX_RUN) and returns where they
  // stand, valid until the next operation; null when fewer are left, which
  // drops them.
  const std::uint8_t* take(std::size_t count) {
    if (end_ - next_ < count && !fill(count)) return nullptr;
    const std::uint8_t* run = view_ + next_;
    next_ += count;
    return run;
  }

  // What peek() can be asked for.
  static constexpr std::size_t MAX_PEEK = std::size_t{200} * 1024;
  enum class patience { waits, takes_what_is_there };

  // Shows the bytes that come next and leaves them there: all that are in the
  // window, at least `count` (at most MAX_PEEK) unless fewer are left. Of a
  // growing file that may be what is there now. Valid until the next operation.
  std::span<const std::uint8_t> peek(std::size_t count,
                                     patience how = patience::waits);

  // Copies the next bytes into all of `destination`; false when fewer are left.
  [[nodiscard]] bool read(std::span<std::uint8_t> destination);
  // Passes over bytes; false when fewer are left.
  [[nodiscard]] bool skip(std::uint64_t count);

  // After a short read: what zlib or the system found wrong, as damage or as a
  // failed read; empty when the input just ended there.
  const std::string& error() const { return error_; }
  // After a short read: the input did not end as it should, because of that
  // error or in the middle of its compressed data.
  bool broke_off() const { return !error_.empty() || truncated_; }
  // After a short read: it was for want of memory or descriptors. The errno; 0
  // = that was not the reason.
  int resource_error() const { return resource_error_; }

  // Whether the input is gzip-compressed, as far as it has been read.
  bool is_compressed() const { return source_ && source_->is_compressed(); }
  // Reads a compressed input to its end, so that its check sum is verified, and
  // drops what is left. What is told after a short read is then told of that.
  // A pipe is waited for until whoever writes it closes it, a growing file is
  // not.
  void verify_rest();

  // What is to be done at the end of a file that may still grow (null, or the
  // caller's), and whether to go on behind damage of the compression with the
  // next gzip member. To be called before the first byte is taken, or while the
  // input is suspended.
  void take_care(growth_watch* growth, bool passes_over_damage);
  // A growing file broke off because the run is to end.
  bool stopped() const { return growth_ != nullptr && growth_->stopped(); }
  // Takes up reading at an earlier position, if the input can be read again.
  void go_back(std::uint64_t position);

  // How many bytes have been taken, of what the input is when decompressed.
  std::uint64_t position() const {
    return source_ ? delivered_ - (end_ - next_) : resume_at_;
  }

  // The size of the file as it is stored, and how much of that has been read,
  // ahead of what has been taken. Of what is no regular file, or was not handed
  // over at its beginning, both are 0.
  std::uint64_t stored_size() const;
  std::uint64_t stored_position() const;
  bool is_regular() const { return regular_; }
  // Calls `refilled` each time the window has been filled, a few times
  // in a megabyte; none: no more.
  void set_refilled(std::function<void()> refilled) {
    refilled_ = std::move(refilled);
  }
  // Goes on at a byte further on, of what the input is when decompressed.
  // Nothing of a plain file is read on the way there. False when it has fewer
  // bytes, or the errno of resource_error() or what error() says; a plain file
  // finds that out at the next take().
  [[nodiscard]] bool go_to(std::uint64_t position);

  // The file is to be read by several processes that are made after this.
  // Regular files without growth only. A compressed one becomes input `number`
  // of `relay`, the caller's, for the writer of which is shared_source().
  // False when the file is plain: each process reads it by itself.
  [[nodiscard]] bool share(input_relay& relay, std::uint64_t number);
  // The whole file, for one process; the stream must outlive the source.
  std::unique_ptr<byte_source> shared_source() const;

  // Gives back the buffers of a file that will be read on later, or not at all
  // any more. What can be read again costs only its descriptor meanwhile.
  void suspend();
  // Ends all reading and gives back the descriptor, too.
  void close();

 private:
  [[nodiscard]] bool adopt(int descriptor, std::function<void()> before_wait);
  [[nodiscard]] bool ready();
  void pass_over(std::uint64_t bytes);
  std::size_t read_on();
  [[nodiscard]] bool is_plain_file() const;
  std::unique_ptr<byte_source> make_source();
  [[nodiscard]] bool have_window();
  void attach();
  void drop_taken();
  bool gather(std::size_t count);
  bool fill(std::size_t count);
  void note_end();

  int descriptor_ = -1;
  // The descriptor was not handed over: nothing else depends on its place.
  bool is_own_ = false;
  bool regular_ = false;
  std::function<void()> before_wait_;
  std::function<void()> refilled_;
  growth_watch* growth_ = nullptr;
  bool passes_over_damage_ = false;
  // Known to be so, from what was read before.
  bool is_plain_ = false;
  std::unique_ptr<byte_source> source_;
  // Nothing but the first HEAD_SIZE bytes is read yet.
  bool is_head_ = false;
  // Null: the window is this stream's own.
  input_relay* relay_ = nullptr;
  std::uint64_t relay_number_ = 0;
  // The place of the descriptor is not this process's alone.
  bool reads_apart_ = false;
  owned_bytes window_;
  // Where the window begins.
  std::uint8_t* view_ = nullptr;
  // The bytes of the window that have not been taken yet.
  std::size_t next_ = 0;
  std::size_t end_ = 0;
  // Bytes delivered by the source so far, and to be passed over after a pause.
  std::uint64_t delivered_ = 0;
  std::uint64_t resume_at_ = 0;
  std::string error_;
  bool truncated_ = false;
  int resource_error_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_INPUT_STREAM_H
