#include "util/chronex_trail/files/split_directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

namespace fs = std::filesystem;

// What is kept in memory of all files together, in bytes, and what each of
// them takes besides its text.
constexpr std::size_t KEPT_BYTES = std::size_t{24} << 20;
constexpr std::size_t FILE_OVERHEAD = 512;

struct modes {
  mode_t file;
  mode_t directory;
};
constexpr modes FOR_EVERYONE = {0666, 0777};
constexpr modes FOR_OWNER = {0600, 0700};

const modes& modes_of(bool is_private) {
  return is_private ? FOR_OWNER : FOR_EVERYONE;
}

bool is_own_entry(const fs::directory_entry& entry) {
  const std::string name = entry.path().filename();
  return name == split_directory::MAIN_FILE || name.starts_with("dataset=");
}

// Whether there is nothing of that name, or a directory such as made here.
bool may_be_replaced(const std::string& name) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(name, error);
  if (status.type() == fs::file_type::not_found) return true;
  if (status.type() != fs::file_type::directory) return false;
  fs::directory_iterator entry(name, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (!is_own_entry(*entry)) return false;
  }
  return !error;
}

// Makes the directories that a file's path has behind the first `known` bytes.
int make_directories(const std::string& path, std::size_t known, mode_t mode) {
  for (std::size_t slash = path.find('/', known + 1); slash != path.npos;
       slash = path.find('/', slash + 1)) {
    const std::string directory = path.substr(0, slash);
    if (mkdir(directory.c_str(), mode) != 0 && errno != EEXIST) return -1;
  }
  return 0;
}

int write_whole(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return -1;
    }
  }
  return 0;
}

}  // namespace

// Tells once what went wrong. Returns -1.
int split_directory::failure(const std::string& name) {
  if (!failed_) {
    messages_.perror(name.c_str());
    messages_.print("Failed to write output\n");
  }
  failed_ = true;
  return -1;
}

int split_directory::open(const std::string& name, bool is_private) {
  name_ = name;
  while (name_.size() > 1 && name_.ends_with('/')) name_.pop_back();
  partial_name_ = name_ + ".partial";
  is_private_ = is_private;
  for (const std::string& old : {name_, partial_name_}) {
    if (may_be_replaced(old)) continue;
    errno = EEXIST;
    return failure(old);
  }
  std::error_code error;
  fs::remove_all(partial_name_, error);
  if (error) {
    errno = error.value();
    return failure(partial_name_);
  }
  const mode_t mode = modes_of(is_private_).directory;
  return mkdir(partial_name_.c_str(), mode) == 0 ? 0 : failure(partial_name_);
}

void split_directory::select(std::string_view path) { selected_ = path; }

int split_directory::write(std::string_view bytes) {
  if (failed_) return -1;
  const auto [file, is_new] = collected_.try_emplace(selected_);
  const std::size_t before = is_new ? 0 : file->second.capacity();
  file->second += bytes;
  collected_size_ += file->second.capacity() - before;
  if (is_new) collected_size_ += FILE_OVERHEAD;
  if (file->second.size() >= gzip_member_maker::MEMBER_SIZE) {
    return write_collected(file);
  }
  return collected_size_ > KEPT_BYTES ? write_all() : 0;
}

int split_directory::write_collected(collected_bytes::iterator file) {
  const int result = append(file->first, file->second);
  collected_size_ -= file->second.capacity() + FILE_OVERHEAD;
  collected_.erase(file);
  return result;
}

int split_directory::append(const std::string& path, std::string_view bytes) {
  const std::string whole_path = partial_name_ + '/' + path;
  while (!bytes.empty()) {
    const std::string_view piece =
        bytes.substr(0, gzip_member_maker::MEMBER_SIZE);
    if (append_member(whole_path, members_.make(piece)) != 0) return -1;
    bytes.remove_prefix(piece.size());
  }
  return 0;
}

int split_directory::open_file(const std::string& path) {
  constexpr int FLAGS = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW;
  const modes& mode = modes_of(is_private_);
  const int descriptor = ::open(path.c_str(), FLAGS, mode.file);
  if (descriptor >= 0 || errno != ENOENT) return descriptor;
  if (make_directories(path, partial_name_.size(), mode.directory) != 0) {
    return -1;
  }
  return ::open(path.c_str(), FLAGS, mode.file);
}

int split_directory::append_member(const std::string& path,
                                   std::string_view member) {
  const int descriptor = open_file(path);
  if (descriptor < 0) return failure(path);
  if (write_whole(descriptor, member) != 0) failure(path);
  if (::close(descriptor) != 0) failure(path);
  return failed_ ? -1 : 0;
}

int split_directory::write_all() {
  while (!collected_.empty() && !failed_) write_collected(collected_.begin());
  return failed_ ? -1 : 0;
}

// An older directory changes places with the new one before it is removed.
int split_directory::replace() {
  if (std::rename(partial_name_.c_str(), name_.c_str()) == 0) return 0;
  if (errno != ENOTEMPTY && errno != EEXIST) return failure(name_);
  if (renameat2(AT_FDCWD, partial_name_.c_str(), AT_FDCWD, name_.c_str(),
                RENAME_EXCHANGE) != 0) {
    return failure(name_);
  }
  std::error_code error;
  fs::remove_all(partial_name_, error);
  return 0;
}

int split_directory::close(bool is_complete) {
  const int result = write_all();
  if (result == 0 && is_complete && replace() == 0) return 0;
  messages_.print("The output is not complete; what there is of it is in %s\n",
                  partial_name_.c_str());
  return failed_ ? -1 : 0;
}
