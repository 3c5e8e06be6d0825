#include "util/chronex/report_stream.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>

void report_stream::put_large(std::string_view text) {
  while (!text.empty()) {
    if (used_ == buffer_.size()) flush();
    const std::size_t piece = std::min(text.size(), buffer_.size() - used_);
    std::memcpy(buffer_.data() + used_, text.data(), piece);
    used_ += piece;
    text.remove_prefix(piece);
  }
}

void report_stream::fill(char character, std::size_t count) {
  for (; count > 0; --count) put(character);
}

void report_stream::put_signed(std::int64_t number) {
  std::array<char, 20> text;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  put(std::string_view(text.data(), end));
}

void report_stream::put_unsigned(std::uint64_t number) {
  std::array<char, 20> text;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  put(std::string_view(text.data(), end));
}

void report_stream::put_two_digits(int number) {
  if (number >= 0 && number < 10) put('0');
  put_signed(number);
}

void report_stream::put_hex(std::uint64_t number, int min_digits) {
  std::array<char, 16> text;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), number, 16).ptr;
  for (auto digits = end - text.data(); digits < min_digits; ++digits) put('0');
  put(std::string_view(text.data(), end));
}

void report_stream::flush() {
  std::size_t done = 0;
  while (done < used_ && error_ == 0) {
    const ssize_t written =
        write(descriptor_, buffer_.data() + done, used_ - done);
    if (written >= 0) {
      done += static_cast<std::size_t>(written);
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  used_ = 0;
}
