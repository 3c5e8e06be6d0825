#include "util/chronex/run/inputs.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <tuple>

#include "common/owned_bytes.h"
#include "util/chronex/audit_file/audit_reader.h"
#include "util/chronex/forward_log/fwlog.h"
#include "util/chronex/forward_log/fwlog_header.h"

namespace {

// Descriptors besides those of the input files.
constexpr rlim_t OTHER_DESCRIPTORS = 16;

// All inputs stay open, so a long list needs more descriptors than a process is
// given at first.
void raise_descriptor_limit(std::size_t count) {
  struct rlimit limit {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  const rlim_t wanted = count + OTHER_DESCRIPTORS;
  if (limit.rlim_cur >= wanted) return;
  limit.rlim_cur = std::min(wanted, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
}

// Whether a forward log goes before an entry of the list.
bool goes_before(const input_file& log, const input_file& entry) {
  return entry.type == AUDIT_FILE ||
         std::tie(entry.generation, entry.sequence) >
             std::tie(log.generation, log.sequence);
}

}  // namespace

bool is_standard_input(std::span<char* const> operands) {
  return operands.size() == 1 && std::strcmp(operands[0], "-") == 0;
}

int input_list::read_header(input_file& file) {
  file.stream.take_care(nullptr, passes_over_damage);
  int result = fwlog_read_file_header(file, charset_id_);
  if (result == 1) result = audit_read_file_header(file, charset_id_);
  if (result != 0) return -1;
  assert(file.type == FWLOG_FILE || file.type == AUDIT_FILE);
  file.stream.suspend();
  return 0;
}

// Puts a file in its place among the first `used` entries of the list.
void input_list::place_file(std::unique_ptr<input_file> file,
                            std::size_t used) {
  assert(used < fw_nfiles_);
  const auto begin = fw_files_.get();
  const auto end = begin + used;
  auto place = end;
  if (file->type == FWLOG_FILE) {
    place = std::partition_point(begin, end, [&](const auto& entry) {
      return !goes_before(*file, *entry);
    });
  }
  std::move_backward(place, end, end + 1);
  *place = std::move(file);
}

std::unique_ptr<input_file> input_list::new_file(const char* name) {
  std::unique_ptr<input_file> file = try_make<input_file>(messages_);
  try {
    if (!file) throw std::bad_alloc();
    file->name = name;
  } catch (const std::bad_alloc&) {
    messages_.perror("strdup");
    messages_.print("Unable to duplicate file name '%s'\n", name);
    return nullptr;
  }
  return file;
}

int input_list::insert_file(const char* operand, std::size_t used) {
  std::unique_ptr<input_file> file = new_file(operand);
  if (!file) return -1;
  if (!file->stream.open(operand, [this] { messages_.let_out(); })) {
    messages_.perror(operand);
    return -1;
  }
  if (read_header(*file) != 0) return -1;
  place_file(std::move(file), used);
  return 0;
}

int input_list::open_standard_input() {
  std::unique_ptr<input_file> file = new_file("stdin");
  if (!file) return -1;
  file->is_standard_input = true;
  if (!file->stream.open_duplicate(STDIN_FILENO,
                                   [this] { messages_.let_out(); })) {
    messages_.print("Unable to open stdin for reading\n");
    return -1;
  }
  if (read_header(*file) != 0) return -1;
  place_file(std::move(file), 0);
  return 0;
}

int input_list::open(std::span<char* const> operands) {
  fw_files_ = try_make_array<std::unique_ptr<input_file>>(operands.size());
  if (!fw_files_) {
    messages_.perror("calloc");
    messages_.print("Unable to allocate array of %d files\n",
                    static_cast<int>(operands.size()));
    return -1;
  }
  fw_nfiles_ = operands.size();
  if (is_standard_input(operands)) return open_standard_input();
  raise_descriptor_limit(operands.size());
  for (std::size_t i = 0; i < operands.size(); ++i) {
    if (insert_file(operands[i], i) != 0) return -1;
  }
  return 0;
}
