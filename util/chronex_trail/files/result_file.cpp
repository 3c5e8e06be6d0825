#include "util/chronex_trail/files/result_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>

namespace {

constexpr mode_t EVERYONE = 0666;
constexpr mode_t OWNER_ONLY = 0600;

// Whether there is something of that name that a file cannot take the place of.
bool is_special(const std::string& name) {
  struct stat status {};
  return stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

}  // namespace

result_file::~result_file() {
  if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
}

// Tells once what went wrong. Returns -1.
int result_file::failure(const char* name) {
  if (!failed_) {
    messages_.perror(name);
    messages_.print("Failed to write output\n");
  }
  failed_ = true;
  return -1;
}

// Whatever has the name is removed first: it might be a link, or readable for
// everyone.
int result_file::open_partial(bool is_private) {
  partial_name_ = name_ + ".partial";
  const char* const name = partial_name_.c_str();
  if (unlink(name) != 0 && errno != ENOENT) return failure(name);
  descriptor_ = ::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                       is_private ? OWNER_ONLY : EVERYONE);
  return descriptor_ >= 0 ? 0 : failure(name);
}

int result_file::open(const std::string& name, bool is_private) {
  name_ = name;
  if (name_.ends_with(".gz")) compressed_.emplace(system_);
  if (name_ == "-") {
    name_ = "stdout";
    descriptor_ = STDOUT_FILENO;
    return 0;
  }
  if (!is_special(name_)) return open_partial(is_private);
  descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CLOEXEC);
  return descriptor_ >= 0 ? 0 : failure(name_.c_str());
}

int result_file::descriptor_sink::write(std::string_view bytes) {
  while (!bytes.empty() && !file_.failed_) {
    const ssize_t written =
        ::write(file_.descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      file_.failure(file_.name_.c_str());
    }
  }
  return file_.failed_ ? -1 : 0;
}

int result_file::write(std::string_view bytes) {
  return compressed_ ? compressed_->write(bytes) : system_.write(bytes);
}

// Makes sure that what was written has reached the system.
int result_file::finish_writing() {
  if (compressed_ && !failed_) compressed_->finish();
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (::close(descriptor) != 0) failure(name_.c_str());
  return failed_ ? -1 : 0;
}

int result_file::close(bool is_complete) {
  const int result = finish_writing();
  if (partial_name_.empty()) return result;
  if (result == 0 && is_complete) {
    if (std::rename(partial_name_.c_str(), name_.c_str()) == 0) return 0;
    failure(name_.c_str());
  }
  messages_.print("The output is not complete; what there is of it is in %s\n",
                  partial_name_.c_str());
  return result == 0 && !failed_ ? 0 : -1;
}
