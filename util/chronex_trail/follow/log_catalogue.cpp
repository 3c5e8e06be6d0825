#include "util/chronex_trail/follow/log_catalogue.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "util/chronex/forward_log/fwlog_header.h"
#include "util/chronex/input/charset.h"

namespace {

namespace fs = std::filesystem;

enum class file_kind { log, damaged_log, other, unknown_yet };

// The longest header of a log.
constexpr std::size_t HEADER_SIZE = 36;

// What kind of file it is. Its header may still be on its way.
file_kind read_kind(input_file& file) {
  if (!file.stream.open(file.name.c_str(), [] {})) return file_kind::other;
  const auto begin = file.stream.peek(HEADER_SIZE);
  const bool is_there = begin.size() >= HEADER_SIZE;
  if (!may_be_forward_log(begin)) return file_kind::other;
  int charset = NO_CHARSET;
  if (fwlog_read_file_header(file, charset) == 0) return file_kind::log;
  return is_there ? file_kind::damaged_log : file_kind::unknown_yet;
}

// The same without messages. `number` is set for a log.
file_kind kind_of(const std::string& name, log_number& number) {
  run_messages messages;
  messages.silent = true;
  input_file file(messages);
  file.name = name;
  const file_kind kind = read_kind(file);
  number = {.volume_set_id = file.volume_set_id,
            .generation = file.generation,
            .sequence = file.sequence};
  return kind;
}

void tell_damage(const std::string& name, run_messages& messages) {
  input_file file(messages);
  file.name = name;
  static_cast<void>(read_kind(file));
}

std::string directory_of(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  if (slash == name.npos) return ".";
  return name.substr(0, std::max<std::size_t>(slash, 1));
}

std::string path_of(const std::string& directory, const std::string& name) {
  if (directory == ".") return name;
  return directory.ends_with('/') ? directory + name : directory + '/' + name;
}

}  // namespace

bool log_number::is_followed_by(const log_number& next) const {
  if (next.volume_set_id != volume_set_id) return false;
  if (next.generation == generation) return next.sequence == sequence + 1;
  return next.generation == generation + 1 && next.sequence == 1;
}

bool log_catalogue::add_file(const std::string& name) {
  log_number number;
  if (kind_of(name, number) == file_kind::other) return false;
  files_.insert(name);
  look_at(name);
  return true;
}

void log_catalogue::add_directory(const std::string& name) {
  wants_all_ = true;
  directories_.insert(name);
}

void log_catalogue::add_directory_of(const std::string& file_name) {
  directories_.insert(directory_of(file_name));
}

bool log_catalogue::is_wanted(const entry& log) const {
  if (wants_all_ || files_.contains(log.name)) return true;
  return last_file_ && log.number > *last_file_ &&
         log.number.volume_set_id == last_file_->volume_set_id;
}

void log_catalogue::add_log(const entry& log) {
  if (!is_wanted(log)) return;
  logs_.insert(log);
  if (!files_.contains(log.name)) return;
  if (!last_file_ || log.number > *last_file_) last_file_ = log.number;
}

void log_catalogue::look_at(const std::string& name) {
  struct stat status {};
  if (stat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  const identity present{status.st_dev, status.st_ino};
  const auto before = known_.find(name);
  if (before != known_.end() && before->second == present) return;
  log_number number;
  const file_kind kind = kind_of(name, number);
  if (kind == file_kind::unknown_yet) return;
  if (kind == file_kind::damaged_log) tell_damage(name, messages_);
  known_[name] = present;
  if (kind == file_kind::log) add_log({number, name});
}

void log_catalogue::look_into(const std::string& directory) {
  std::error_code error;
  fs::directory_iterator file(directory, error);
  for (; !error && file != fs::directory_iterator(); file.increment(error)) {
    const std::string name = file->path().filename();
    if (!name.starts_with('.')) look_at(path_of(directory, name));
  }
}

void log_catalogue::update() {
  for (const std::string& file : files_) look_at(file);
  for (const std::string& directory : directories_) look_into(directory);
}

const log_catalogue::entry* log_catalogue::first_behind(
    const log_number* number) const {
  auto found = logs_.begin();
  if (number != nullptr) {
    found = logs_.lower_bound({*number, {}});
    while (found != logs_.end() && found->number == *number) ++found;
  }
  return found == logs_.end() ? nullptr : &*found;
}

const log_catalogue::entry* log_catalogue::first_from(
    const log_number& number,
    const std::function<bool(const std::string&)>& wanted) const {
  const auto found = logs_.lower_bound({number, {}});
  for (auto log = found; log != logs_.end() && log->number == number; ++log) {
    if (wanted(log->name)) return &*log;
  }
  return found == logs_.end() ? nullptr : &*found;
}

bool log_catalogue::lacks_volume_set(std::uint32_t volume_set_id) const {
  return !logs_.empty() &&
         std::ranges::none_of(logs_, [volume_set_id](const entry& log) {
           return log.number.volume_set_id == volume_set_id;
         });
}
