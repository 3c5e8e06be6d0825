#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_LOG_CATALOGUE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_LOG_CATALOGUE_H

// Which forward logs there are, in their order. What is no forward log is no
// part of it; a file of which too little is there to tell may become one.

#include <sys/types.h>

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "util/chronex/messages/messages.h"

// The place of a log among others.
struct log_number {
  std::uint32_t volume_set_id = 0;
  std::uint32_t generation = 0;
  std::uint32_t sequence = 0;

  auto operator<=>(const log_number&) const = default;

  // Whether that log comes right behind this one.
  bool is_followed_by(const log_number& next) const;
};

class log_catalogue {
 public:
  explicit log_catalogue(run_messages& messages) : messages_(messages) {}

  // Adds a file. Returns whether it is a forward log, as far as it is there.
  bool add_file(const std::string& name);
  // Adds what is in a directory now or later, but for files whose names begin
  // with a dot. Of the directory of a file that was added, only logs behind all
  // such files, and of their volume set, are.
  void add_directory(const std::string& name);
  void add_directory_of(const std::string& file_name);

  // Looks what has come.
  void update();

  const std::set<std::string>& directories() const { return directories_; }

  struct entry {
    log_number number;
    std::string name;
    auto operator<=>(const entry&) const = default;
  };
  // The first log behind this number, or the first of all; null = none.
  const entry* first_behind(const log_number* number) const;
  // The first log that has this number or comes behind it. Of several that have
  // it, the first whose name is `wanted`, or else the first.
  const entry* first_from(
      const log_number& number,
      const std::function<bool(const std::string&)>& wanted) const;
  // Whether there are logs, but only of other volume sets.
  bool lacks_volume_set(std::uint32_t volume_set_id) const;

 private:
  // A file as it was when it was looked at.
  struct identity {
    dev_t device = 0;
    ino_t file = 0;
    bool operator==(const identity&) const = default;
  };

  void look_into(const std::string& directory);
  void look_at(const std::string& name);
  bool is_wanted(const entry& log) const;
  void add_log(const entry& log);

  run_messages& messages_;
  std::set<std::string> directories_;
  // The files that were added, and the last of those of which that is known.
  std::set<std::string> files_;
  std::optional<log_number> last_file_;
  bool wants_all_ = false;
  // Those of which is known what they are.
  std::map<std::string, identity> known_;
  std::set<entry> logs_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_LOG_CATALOGUE_H
