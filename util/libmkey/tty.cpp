#include "util/libmkey/tty.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "common/wipe.h"

namespace {

constexpr std::sig_atomic_t NO_TTY = -1;

struct file_closer {
  void operator()(std::FILE* fp) const noexcept { std::fclose(fp); }
};

// "/dev/tty" while a prompt is open. The signal handler must not touch the
// stream, it goes by the descriptor.
std::unique_ptr<std::FILE, file_closer> tty_fp;
volatile std::sig_atomic_t tty_fd = NO_TTY;

// What is being typed, kept here so that the signal handler can wipe it.
passphrase_text typed;

// Turns echo off or on, after pending output has drained. Settings that cannot
// be read are left alone (result 0). Fit for signal handlers.
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

// Turns echo off or on; -1 when the stream is not a terminal.
int tty_echo(std::FILE* stream, bool off) {
  const int fd = fileno(stream);
  return isatty(fd) != 0 ? apply_echo(fd, off) : -1;
}

// Appends as much of `text` as fits and returns the end.
char* append(char* to, const char* end, std::string_view text) {
  const auto room = static_cast<std::size_t>(end - to);
  return std::copy_n(text.begin(), std::min(room, text.size()), to);
}

// Only async-signal-safe calls from here on: no stdio, no exit handlers.
extern "C" void tty_sighandler(int signal_number) {
  if (tty_fd != NO_TTY) static_cast<void>(apply_echo(tty_fd, false));
  wipe(typed.data(), typed.size());

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

// Routes the prompt's signals to `handler`; neither interrupts the other's.
void route_signals(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaddset(&action.sa_mask, SIGINT);
  sigaddset(&action.sa_mask, SIGTERM);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

void tty_close() {
  if (!tty_fp) return;
  static_cast<void>(tty_echo(tty_fp.get(), false));
  tty_fd = NO_TTY;
  tty_fp.reset();
  route_signals(SIG_DFL);
}

bool tty_open() {
  assert(tty_fp == nullptr);
  std::fflush(stdout);
  std::fflush(stderr);
  tty_fp.reset(std::fopen("/dev/tty", "r+"));
  if (!tty_fp) return false;
  tty_fd = fileno(tty_fp.get());
  route_signals(tty_sighandler);
  if (tty_echo(tty_fp.get(), true) == 0) return true;
  tty_close();
  return false;
}

bool read_typed(std::FILE* in) {
  return std::fgets(typed.data(), static_cast<int>(typed.size()), in) !=
         nullptr;
}

// Reads the reply from `in`, once more after the end of input or an error.
bool read_reply(std::FILE* in, std::FILE* prompt) {
  if (read_typed(in)) return true;
  // A terminal goes on after an end of input, but the stream remembers it.
  std::clearerr(in);
  std::fputs("Unable to read passphrase -- try again\n", prompt);
  std::fflush(prompt);
  return read_typed(in);
}

// Drops what is left of a line that was too long, so that the next prompt does
// not take it for its reply.
void drop_rest_of_line(std::FILE* in) {
  const std::size_t size = std::strlen(typed.data());
  if (size + 1 < typed.size() || typed[size - 1] == '\n') return;
  int c = 0;
  do {
    c = std::getc(in);
  } while (c != '\n' && c != EOF);
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
  if (!use_stdio && !tty_open()) {
    std::fputs("Unable to open tty -- failed\n", stderr);
    return false;
  }
  const wipe_guard typed_guard(typed.data(), typed.size());
  std::FILE* in = use_stdio ? stdin : tty_fp.get();
  std::FILE* prompt = use_stdio ? stderr : tty_fp.get();
  // Unbuffered, so that no copy of the passphrase stays in the stream.
  std::setvbuf(in, nullptr, _IONBF, 0);
  std::fprintf(prompt, "Enter passphrase for %s:\n", id);
  std::fflush(prompt);

  const bool got_reply = read_reply(in, prompt);
  if (got_reply && !use_stdio) drop_rest_of_line(in);
  tty_close();
  if (!got_reply) {
    std::fputs("Unable to read passphrase -- giving up\n", stderr);
    return false;
  }
  strip_line_end(typed);
  passphrase = typed;
  return true;
}
