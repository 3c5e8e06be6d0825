#include "util/chronex/run/output_check.h"

#include <sys/stat.h>
#include <unistd.h>

#include "util/chronex/run/inputs.h"

namespace {

using file_status = struct stat;

// An output that is there.
struct present_output {
  file_status status{};
  // What messages call it.
  const char* kind;
};

bool is_same_file(const file_status& a, const file_status& b) {
  return S_ISREG(a.st_mode) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool is_output(const char* name, const file_status& output) {
  file_status file{};
  return stat(name, &file) == 0 && is_same_file(file, output);
}

bool is_standard_input_output(const file_status& output) {
  file_status input{};
  return fstat(STDIN_FILENO, &input) == 0 && is_same_file(input, output);
}

int check_inputs(std::span<char* const> operands, const present_output& output,
                 run_messages& messages) {
  const bool from_stdin = is_standard_input(operands);
  for (const char* name : operands) {
    if (from_stdin ? is_standard_input_output(output.status)
                   : is_output(name, output.status)) {
      messages.print("%s: input and %s are the same file\n",
                     from_stdin ? "stdin" : name, output.kind);
      return -1;
    }
  }
  return 0;
}

int check_filter_files(std::span<const char* const> names,
                       const present_output& output, run_messages& messages) {
  for (const char* name : names) {
    if (!is_output(name, output.status)) continue;
    messages.print("%s: filter file and %s are the same file\n", name,
                   output.kind);
    return -1;
  }
  return 0;
}

int check_key_files(std::span<const std::string> names,
                    const present_output& output, run_messages& messages) {
  for (const std::string& name : names) {
    if (!is_output(name.c_str(), output.status)) continue;
    messages.print("%s: key file and %s are the same file\n", name.c_str(),
                   output.kind);
    return -1;
  }
  return 0;
}

}  // namespace

int check_output_file(const files_read& files, const output_to_check& output,
                      run_messages& messages) {
  present_output present{.kind = output.kind};
  const int found = output.descriptor >= 0
                        ? fstat(output.descriptor, &present.status)
                        : stat(output.name, &present.status);
  // An output that is not there yet is no file that is read; a terminal, a pipe
  // or a device may be read.
  if (found != 0 || !S_ISREG(present.status.st_mode)) return 0;
  if (check_inputs(files.operands, present, messages) != 0 ||
      check_filter_files(files.filter_files, present, messages) != 0) {
    return -1;
  }
  return check_key_files(files.key_files, present, messages);
}
