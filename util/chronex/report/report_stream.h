#ifndef CHRONEX_UTIL_CHRONEX_REPORT_REPORT_STREAM_H
#define CHRONEX_UTIL_CHRONEX_REPORT_REPORT_STREAM_H

// The buffered text stream of the clear-text report.
//
// A report has several lines for every operation of a log, so numbers and texts
// are put into one buffer without a formatting library in between. A failed
// write is remembered; what follows is dropped and the end of the run tells.

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

class report_stream {
 public:
  // Writes to a file descriptor, which stays the caller's.
  explicit report_stream(int descriptor) noexcept;
  report_stream(const report_stream&) = delete;
  report_stream& operator=(const report_stream&) = delete;

  void put(char character) {
    if (used_ == buffer_.size()) flush();
    buffer_[used_++] = character;
  }
  void put(std::string_view text) {
    if (text.size() > buffer_.size() - used_) {
      put_large(text);
      return;
    }
    std::copy(text.begin(), text.end(), buffer_.data() + used_);
    used_ += text.size();
  }
  // Room for `size` characters (at most MAX_ROOM) behind what was put in. What
  // is written there counts once it is claimed.
  static constexpr std::size_t MAX_ROOM = std::size_t{16} * 1024;
  std::span<char> room(std::size_t size) {
    assert(size <= MAX_ROOM);
    if (size > buffer_.size() - used_) flush();
    return {buffer_.data() + used_, size};
  }
  // Puts in the first `size` characters of the room.
  void claim(std::size_t size) {
    assert(size <= buffer_.size() - used_);
    used_ += size;
  }
  // Whether what is put in is shown on a terminal.
  bool on_terminal() const { return on_terminal_; }
  // Text that the inputs hold: on a terminal, its control characters are put in
  // as a backslash and three octal digits.
  void put_foreign(std::string_view text) {
    if (on_terminal_) {
      put_visible(text);
    } else {
      put(text);
    }
  }
  // The same, up to the first zero byte, if any.
  void put_foreign_c_string(std::span<const std::uint8_t> bytes) {
    const auto* text = reinterpret_cast<const char*>(bytes.data());
    put_foreign(std::string_view(text, strnlen(text, bytes.size())));
  }
  // The same character `count` times.
  void fill(char character, std::size_t count);
  // Decimal numbers, without padding.
  void put_signed(std::int64_t number);
  void put_unsigned(std::uint64_t number);
  // At least two characters, filled up with a zero as printf does.
  void put_two_digits(int number);
  // Lower-case hexadecimal digits, at least `min_digits` of them (at most 16).
  void put_hex(std::uint64_t number, int min_digits = 1);

  // Hands everything that was put in to the system.
  void flush();

  // The errno of the first write that failed; 0 = none did.
  int error() const { return error_; }

 private:
  void put_large(std::string_view text);
  void put_visible(std::string_view text);

  int descriptor_;
  bool on_terminal_;
  int error_ = 0;
  std::size_t used_ = 0;
  std::array<char, std::size_t{256} * 1024> buffer_;
};

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_REPORT_STREAM_H
