#include "util/chronex/run/output_check.h"

#include <sys/stat.h>
#include <unistd.h>

#include "util/chronex/run/inputs.h"

namespace {

using file_status = struct stat;

bool is_same_file(const file_status& a, const file_status& b) {
  return S_ISREG(a.st_mode) && S_ISREG(b.st_mode) && a.st_dev == b.st_dev &&
         a.st_ino == b.st_ino;
}

bool is_output(const char* name, const file_status& output) {
  file_status file{};
  return stat(name, &file) == 0 && is_same_file(file, output);
}

bool is_standard_input_output(const file_status& output) {
  file_status input{};
  return fstat(STDIN_FILENO, &input) == 0 && is_same_file(input, output);
}

int check_inputs(std::span<char* const> operands, const file_status& output,
                 run_messages& messages) {
  const bool from_stdin = is_standard_input(operands);
  for (const char* name : operands) {
    if (from_stdin ? is_standard_input_output(output)
                   : is_output(name, output)) {
      messages.print("%s: input and audit output are the same file\n",
                     from_stdin ? "stdin" : name);
      return -1;
    }
  }
  return 0;
}

int check_filter_files(std::span<const char* const> names,
                       const file_status& output, run_messages& messages) {
  for (const char* name : names) {
    if (!is_output(name, output)) continue;
    messages.print("%s: filter file and audit output are the same file\n",
                   name);
    return -1;
  }
  return 0;
}

int check_key_files(std::span<const std::string> names,
                    const file_status& output, run_messages& messages) {
  for (const std::string& name : names) {
    if (!is_output(name.c_str(), output)) continue;
    messages.print("%s: key file and audit output are the same file\n",
                   name.c_str());
    return -1;
  }
  return 0;
}

}  // namespace

int check_output_file(const files_read& files, int descriptor, const char* name,
                      run_messages& messages) {
  file_status output{};
  const int found =
      descriptor >= 0 ? fstat(descriptor, &output) : stat(name, &output);
  // An output that is not there yet is no file that is read.
  if (found != 0) return 0;
  if (check_inputs(files.operands, output, messages) != 0 ||
      check_filter_files(files.filter_files, output, messages) != 0) {
    return -1;
  }
  return check_key_files(files.key_files, output, messages);
}
