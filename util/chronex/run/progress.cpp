#include "util/chronex/run/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace {

// A run that is over sooner shows nothing.
constexpr std::chrono::milliseconds FIRST{1000};
constexpr std::chrono::milliseconds INTERVAL{200};

constexpr std::uint64_t KILOBYTE = 1000;
constexpr std::uint64_t MEGABYTE = 1000 * KILOBYTE;

// A process in the background does not own the terminal.
bool is_in_foreground() {
  const pid_t owner = tcgetpgrp(STDERR_FILENO);
  return owner < 0 || owner == getpgrp();
}

bool is_wanted(progress_mode mode) {
  switch (mode) {
    case progress_mode::never:
      return false;
    case progress_mode::always:
      return true;
    default:
      return is_terminal(STDERR_FILENO) && !is_terminal(STDOUT_FILENO);
  }
}

int window_columns() {
  constexpr int USUAL = 80;
  winsize size{};
  const bool known =
      ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : USUAL;
}

std::string amount(std::uint64_t bytes) {
  if (bytes < MEGABYTE) {
    return format_text("%u kB", static_cast<unsigned>(bytes / KILOBYTE));
  }
  return format_text("%llu MB",
                     static_cast<unsigned long long>(bytes / MEGABYTE));
}

std::string duration(double seconds) {
  const auto whole = static_cast<unsigned long long>(seconds);
  if (whole < 3600) return format_text("%llu:%02llu", whole / 60, whole % 60);
  return format_text("%llu:%02llu:%02llu", whole / 3600, whole / 60 % 60,
                     whole % 60);
}

// Bytes of a character behind its first take no column.
bool is_first_byte(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

int columns_of(std::string_view text) {
  return static_cast<int>(std::ranges::count_if(text, is_first_byte));
}

// A name without what a terminal might obey. Bytes from 128 on that do so stand
// for themselves, or behind the first that two bytes of UTF-8 can begin with.
std::string harmless(std::string name) {
  unsigned before = 0;
  for (char& place : name) {
    const auto byte = static_cast<unsigned char>(place);
    const bool is_c1 =
        byte >= 0x80 && byte < 0xA0 && (before < 0x80 || before == 0xC2);
    if (byte < 0x20 || byte == 0x7F || is_c1) place = '?';
    before = byte;
  }
  return name;
}

// The end of a name, which says more than its beginning.
std::string fitting_name(std::string name, int columns) {
  constexpr std::string_view CUT = "...";
  if (columns_of(name) <= columns) return name;
  const int kept = std::max(columns - columns_of(CUT), 0);
  while (columns_of(name) > kept ||
         (!name.empty() && !is_first_byte(name.front()))) {
    name.erase(0, 1);
  }
  return std::string(CUT) + name;
}

}  // namespace

run_progress::run_progress(run_messages& messages, const input_list& inputs,
                           progress_mode mode)
    : messages_(messages), inputs_(inputs) {
  if (is_wanted(mode)) watch();
}

run_progress::~run_progress() {
  if (!watching_) return;
  for (const auto& file : inputs_.files()) file->stream.set_refilled(nullptr);
  messages_.progress.clear();
}

void run_progress::watch() {
  watching_ = true;
  began_ = clock::now();
  next_ = began_ + FIRST;
  bool all_known = true;
  for (const auto& file : inputs_.files()) {
    const std::size_t index = before_.size();
    before_.push_back(total_);
    total_ += file->stream.stored_size();
    all_known = all_known && file->stream.is_regular();
    file->stream.set_refilled([this, index] { refilled(index); });
  }
  if (!all_known) total_ = 0;
}

void run_progress::refilled(std::size_t index) {
  const clock::time_point now = clock::now();
  if (now < next_) return;
  next_ = now + INTERVAL;
  if (!is_in_foreground()) return;
  const input_file& file = *inputs_.files()[index];
  // What is no file has no stored size; there are the bytes that came out.
  const std::uint64_t done =
      total_ == 0 ? file.stream.position()
                  : before_[index] + file.stream.stored_position();
  show(file, done, std::chrono::duration<double>(now - began_).count());
}

void run_progress::show(const input_file& file, std::uint64_t done,
                        double seconds) {
  const double speed = static_cast<double>(done) / seconds;
  std::string text = "  ";
  if (total_ == 0) {
    text += amount(done);
  } else {
    // A file that grows meanwhile has more than was counted.
    done = std::min(done, total_);
    text += format_text("%u %%", static_cast<unsigned>(done * 100 / total_));
  }
  text += "  " + amount(static_cast<std::uint64_t>(speed)) + "/s";
  if (total_ > 0 && done > 0) {
    const auto left = static_cast<double>(total_ - done);
    text += "  " + duration(left / speed) + " left";
  }
  const int room = window_columns() - 1 - columns_of(text);
  if (room < 4) return;
  text = fitting_name(harmless(file.name), room) + text;
  messages_.progress.show(text, columns_of(text));
}
