#include "util/chronex_trail/files/result_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <span>

#include "common/md5.h"

namespace {

constexpr mode_t EVERYONE = 0666;
constexpr mode_t OWNER_ONLY = 0600;

// Whether there is something of that name that a file cannot take the place of.
bool is_special(const std::string& name) {
  struct stat status {};
  return stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

// The digest of the last bytes in front of a place; nothing when there are not
// so many.
std::optional<std::vector<std::uint8_t>> digest_of_tail(int descriptor,
                                                        std::uint64_t size) {
  constexpr std::uint64_t TAIL_SIZE = 4096;
  std::array<std::uint8_t, TAIL_SIZE> tail{};
  const auto wanted = static_cast<std::size_t>(std::min(size, TAIL_SIZE));
  for (std::size_t have = 0; have < wanted;) {
    const ssize_t count = pread(descriptor, tail.data() + have, wanted - have,
                                static_cast<off_t>(size - wanted + have));
    if (count == 0 || (count < 0 && errno != EINTR)) return std::nullopt;
    if (count > 0) have += static_cast<std::size_t>(count);
  }
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, std::span(tail).first(wanted));
  const md5_digest digest = ko__MD5Final(context);
  return std::vector<std::uint8_t>(digest.begin(), digest.end());
}

}  // namespace

file_extent file_extent::nothing() {
  return {.size = 0, .tail_digest = digest_of_tail(-1, 0).value()};
}

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

// Cuts the file back to what is known of it, if it still begins with that.
int result_file::cut(const file_extent& known) {
  const auto size = static_cast<off_t>(known.size);
  const auto digest = digest_of_tail(descriptor_, known.size);
  if (!digest || *digest != known.tail_digest) {
    messages_.print(
        "%s: is not as it was up to byte %llu, where the state goes on; put "
        "it back, or begin again with another state and output\n",
        name_.c_str(), static_cast<unsigned long long>(known.size));
    return -1;
  }
  if (ftruncate(descriptor_, size) != 0 ||
      lseek(descriptor_, size, SEEK_SET) != size) {
    return failure(name_.c_str());
  }
  return 0;
}

int result_file::open_behind(const std::string& name, const file_extent& known,
                             bool is_private) {
  name_ = name;
  if (name_.ends_with(".gz")) {
    compressed_.emplace(system_);
    if (known.size > 0) compressed_->go_on();
  }
  if (is_special(name_)) {
    messages_.print("%s: no regular file; a state goes on in such only\n",
                    name_.c_str());
    return -1;
  }
  descriptor_ = ::open(name_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC,
                       is_private ? OWNER_ONLY : EVERYONE);
  return descriptor_ >= 0 ? cut(known) : failure(name_.c_str());
}

int result_file::reach_disk(file_extent& reached) {
  if (compressed_ && compressed_->end_member() != 0) return -1;
  const off_t size = lseek(descriptor_, 0, SEEK_CUR);
  const auto digest =
      size < 0 ? std::nullopt
               : digest_of_tail(descriptor_, static_cast<std::uint64_t>(size));
  if (failed_ || !digest || fsync(descriptor_) != 0) {
    return failure(name_.c_str());
  }
  reached = {.size = static_cast<std::uint64_t>(size), .tail_digest = *digest};
  return 0;
}

int result_file::write_now(std::string_view bytes) {
  while (!bytes.empty() && !failed_) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      failure(name_.c_str());
    }
  }
  return failed_ ? -1 : 0;
}

int result_file::write(std::string_view bytes) {
  return compressed_ ? compressed_->write(bytes) : system_.write(bytes);
}

int result_file::write_buffer(std::unique_ptr<text_buffer>& buffer,
                              std::size_t size) {
  return compressed_ ? compressed_->write_buffer(buffer, size)
                     : system_.write_buffer(buffer, size);
}

int result_file::flush() { return compressed_ ? compressed_->end_member() : 0; }

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
