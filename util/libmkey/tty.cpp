#include "util/libmkey/tty.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "common/wipe.h"
#include "util/libmkey/prompt_signals.h"

namespace {

constexpr std::sig_atomic_t NO_TTY = -1;

struct file_closer {
  void operator()(std::FILE* fp) const noexcept { std::fclose(fp); }
};

// "/dev/tty" while a prompt is open. The signal handler must not touch the
// stream, it goes by the descriptor.
std::unique_ptr<std::FILE, file_closer> tty_fp;
volatile std::sig_atomic_t tty_fd = NO_TTY;
volatile std::sig_atomic_t echo_is_off = 0;

// The program was stopped at the prompt and goes on: the prompt must be shown
// again, and what was typed before does not count.
volatile std::sig_atomic_t was_stopped = 0;

// What is being typed, for the signal handler to wipe.
passphrase_text* volatile typed = nullptr;

// ------------------------------------- fit for signal handlers, up to the next

// Turns echo off or on, after pending output has drained. Settings that cannot
// be read are left alone (result 0).
int apply_echo(int fd, bool off) {
  constexpr auto ECHO_FLAGS = static_cast<tcflag_t>(ECHO | ECHOE);
  termios settings{};
  if (tcgetattr(fd, &settings) != 0) return 0;
  if (off) {
    settings.c_lflag &= ~ECHO_FLAGS;
  } else {
    settings.c_lflag |= ECHO_FLAGS;
  }
  return tcsetattr(fd, TCSADRAIN, &settings);
}

// False when another process group has the terminal, and has set it up.
bool has_terminal(int fd) {
  const pid_t owner = tcgetpgrp(fd);
  return owner <= 0 || owner == getpgrp();
}

// Turns echo on and drops what was typed so far, so that whoever reads from the
// terminal next does not get the beginning of a passphrase.
void release_terminal() {
  if (echo_is_off == 0 || !has_terminal(tty_fd)) return;
  tcflush(tty_fd, TCIFLUSH);
  static_cast<void>(apply_echo(tty_fd, false));
  echo_is_off = 0;
}

// Appends as much of `text` as fits and returns the end.
char* append(char* to, const char* end, std::string_view text) {
  const auto room = static_cast<std::size_t>(end - to);
  return std::copy_n(text.begin(), std::min(room, text.size()), to);
}

[[noreturn]] void report_and_exit(int signal_number) {
  std::array<char, 12> digits{};
  auto first = digits.end();
  for (int rest = signal_number; rest > 0; rest /= 10) {
    *--first = static_cast<char>('0' + rest % 10);
  }
  std::array<char, 64> text{};
  char* end = append(text.begin(), text.end(), "Trapped signal #");
  end = append(end, text.end(), {first, digits.end()});
  end = append(end, text.end(), " -- exiting\n");
  const auto size = static_cast<std::size_t>(end - text.begin());
  [[maybe_unused]] const ssize_t written =
      write(STDERR_FILENO, text.data(), size);
  _exit(128 + signal_number);
}

extern "C" void tty_sighandler(int signal_number) {
  const int error = errno;
  release_terminal();
  if (typed != nullptr) wipe(typed->data(), typed->size());
  if (signal_number == SIGINT || signal_number == SIGTERM) {
    report_and_exit(signal_number);
  }
  was_stopped = 1;
  if (signal_number != SIGCONT) take_default_effect(signal_number);
  errno = error;
}

// ------------------------------------------------------------------ the
// dialogue

// Turns echo off or on; -1 when the stream is not a terminal.
int tty_echo(std::FILE* stream, bool off) {
  const int fd = fileno(stream);
  return isatty(fd) != 0 ? apply_echo(fd, off) : -1;
}

void tty_close() {
  if (!tty_fp) return;
  static_cast<void>(tty_echo(tty_fp.get(), false));
  echo_is_off = 0;
  tty_fd = NO_TTY;
  unroute_signals();
  tty_fp.reset();
}

void tty_open() {
  assert(tty_fp == nullptr);
  std::fflush(stdout);
  std::fflush(stderr);
  tty_fp.reset(std::fopen("/dev/tty", "r+"));
  if (!tty_fp) return;
  tty_fd = fileno(tty_fp.get());
  route_signals(tty_sighandler);
}

// Returns when the terminal is this program's: setting what is set already
// stops a program in the background until it is brought to the foreground.
bool await_terminal() {
  termios settings{};
  do {
    if (tcgetattr(tty_fd, &settings) != 0) return true;
    if (tcsetattr(tty_fd, TCSADRAIN, &settings) == 0) return true;
  } while (errno == EINTR);
  return false;
}

// Turns echo off for a prompt; false when there is no terminal to do so.
bool take_terminal() {
  if (!tty_fp) return false;
  admit_stop_signals();
  const bool is_ours = await_terminal();
  block_stop_signals();
  was_stopped = 0;
  if (!is_ours) return false;
  echo_is_off = 1;
  return tty_echo(tty_fp.get(), true) == 0;
}

enum class reply { COMPLETE, ENDED, FAILED, INTERRUPTED };

// Reads a character. Signals that stop the program take effect only here, while
// there is none to read.
reply read_character(int fd, char& c) {
  pollfd input{.fd = fd, .events = POLLIN, .revents = 0};
  while (true) {
    const int ready = ppoll(&input, 1, nullptr, &open_signals());
    if (was_stopped != 0) return reply::INTERRUPTED;
    if (ready < 0 && errno == EINTR) continue;
    const ssize_t size = read(fd, &c, 1);
    if (size == 1) return reply::COMPLETE;
    if (size == 0) return reply::ENDED;
    if (errno != EINTR) return reply::FAILED;
  }
}

// Reads a line into `text`. What does not fit is left for the next line, or
// dropped when the line is read `whole`.
reply read_line(int fd, bool whole, passphrase_text& text) {
  text.fill('\0');
  std::size_t size = 0;
  char c = '\0';
  while (c != '\n' && (whole || size + 1 < text.size())) {
    const reply result = read_character(fd, c);
    if (result == reply::ENDED && size > 0) return reply::COMPLETE;
    if (result != reply::COMPLETE) return result;
    if (size + 1 < text.size()) text[size++] = c;
  }
  return reply::COMPLETE;
}

// Reads the reply, once more after the end of input or an error.
reply read_reply(int fd, std::FILE* prompt, bool whole, passphrase_text& text) {
  const reply result = read_line(fd, whole, text);
  if (result == reply::COMPLETE || result == reply::INTERRUPTED) return result;
  std::fputs("Unable to read passphrase -- try again\n", prompt);
  std::fflush(prompt);
  return read_line(fd, whole, text);
}

void show_prompt(std::FILE* prompt, const char* id) {
  std::fprintf(prompt, "Enter passphrase for %s:\n", id);
  std::fflush(prompt);
}

// Holds the dialogue on standard error and standard input.
reply ask_on_stdio(const char* id, passphrase_text& text) {
  show_prompt(stderr, id);
  return read_reply(STDIN_FILENO, stderr, false, text);
}

// Holds it on the terminal; none when that cannot be had.
std::optional<reply> ask_on_terminal(const char* id, passphrase_text& text) {
  reply result = reply::INTERRUPTED;
  while (result == reply::INTERRUPTED) {
    if (!take_terminal()) return std::nullopt;
    show_prompt(tty_fp.get(), id);
    result = read_reply(tty_fd, tty_fp.get(), true, text);
  }
  return result;
}

void strip_line_end(passphrase_text& text) {
  std::size_t size = std::strlen(text.data());
  for (const char end : {'\n', '\r'}) {
    if (size > 0 && text[size - 1] == end) text[--size] = '\0';
  }
}

}  // namespace

bool tty_ask_passphrase(const char* id, bool use_stdio,
                        passphrase_text& passphrase) {
  typed = &passphrase;
  if (!use_stdio) tty_open();
  const std::optional<reply> result = use_stdio
                                          ? ask_on_stdio(id, passphrase)
                                          : ask_on_terminal(id, passphrase);
  tty_close();
  typed = nullptr;
  if (!result) {
    std::fputs("Unable to open tty -- failed\n", stderr);
    return false;
  }
  if (*result != reply::COMPLETE) {
    std::fputs("Unable to read passphrase -- giving up\n", stderr);
    return false;
  }
  strip_line_end(passphrase);
  return true;
}
