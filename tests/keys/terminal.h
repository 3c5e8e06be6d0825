#ifndef CHRONEX_TESTS_KEYS_TERMINAL_H
#define CHRONEX_TESTS_KEYS_TERMINAL_H

// The user's side of a pseudo-terminal on which a passphrase is asked for.

#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

inline bool echo_is_on(int terminal) {
  termios settings{};
  EXPECT_EQ(tcgetattr(terminal, &settings), 0);
  return (settings.c_lflag & ECHO) != 0;
}

// Reads what the terminal shows up to a line that asks for a reply.
inline bool await_prompt(int terminal, std::string& shown) {
  std::string text;
  pollfd wait{.fd = terminal, .events = POLLIN, .revents = 0};
  while (!text.ends_with(":\r\n") && !text.ends_with("again\r\n")) {
    std::array<char, 512> buffer{};
    if (poll(&wait, 1, 20000) <= 0) return false;
    const ssize_t size = read(terminal, buffer.data(), buffer.size());
    if (size <= 0) return false;
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  shown += text;
  return true;
}

inline void type(int terminal, std::string_view text) {
  EXPECT_EQ(write(terminal, text.data(), text.size()),
            static_cast<ssize_t>(text.size()));
}

#endif  // CHRONEX_TESTS_KEYS_TERMINAL_H
