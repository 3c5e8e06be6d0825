#include "util/chronex/input/input_file.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// Room for the longest line about what is wrong with a file.
constexpr std::size_t PROBLEM_SIZE = 256;

// Reads a decimal number of the version text the way strtol does, blanks and
// sign included. `position` moves behind it. False when there is no number or
// it is out of range.
bool read_number(const char*& position, int& number) {
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(position, &end, 10);
  if (errno != 0 || end == position) return false;
  if (value < INT_MIN || value > INT_MAX) return false;
  number = static_cast<int>(value);
  position = end;
  return true;
}

}  // namespace

int report_bad_format(const input_file& file, const char* format, ...) {
  std::array<char, PROBLEM_SIZE> problem{};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(problem.data(), problem.size(), format, arguments);
  va_end(arguments);
  file.messages.print("%s: bad file format\n%s\n", file.name.c_str(),
                      problem.data());
  return -1;
}

int report_incompatible_format(const input_file& file, const char* problem) {
  file.messages.print("%s: incompatible file format\n%s\n", file.name.c_str(),
                      problem);
  return -1;
}

bool report_no_resources(const input_file& file) {
  if (file.stream.resource_error() == 0) return false;
  errno = file.stream.resource_error();
  file.messages.perror(file.name.c_str());
  return true;
}

void report_read_error(const input_file& file) {
  if (file.stream.error().empty()) return;
  file.messages.print("%s: %s\n", file.name.c_str(),
                      file.stream.error().c_str());
}

int read_version(input_file& file) {
  // A copy with a zero byte of its own: the block need not hold one.
  std::array<char, SIGNATURE_SIZE + 1> block{};
  for (std::size_t i = 0; i < SIGNATURE_SIZE; ++i) {
    block[i] = static_cast<char>(file.signature[i]);
  }
  const char* position = block.data() + SIGNATURE_TEXT_SIZE;
  if (!read_number(position, file.major) || *position != '.') {
    return report_bad_format(file, "File major version not recognized");
  }
  ++position;
  if (!read_number(position, file.minor) || *position != '\0' ||
      position == block.data() + SIGNATURE_SIZE) {
    return report_bad_format(file, "File minor version not recognized");
  }
  return 0;
}
