#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_SPLIT_DIRECTORY_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_SPLIT_DIRECTORY_H

// A directory of compressed files, of which any number grow side by side.
//
// Little of each file is in memory, and none of them stays open: what was
// collected for a file is appended to it as whole gzip members. All is written
// in DIR.partial, which gets its name only when it is complete.

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/files/gzip_member.h"

class split_directory : public byte_sink {
 public:
  // The file that takes what belongs to no other.
  static constexpr std::string_view MAIN_FILE = "events.jsonl.gz";

  explicit split_directory(run_messages& messages) : messages_(messages) {}

  // Makes DIR.partial. What an earlier run left there, or in DIR, will be
  // replaced; a directory with anything else in it is refused. `is_private`
  // keeps all from everyone but the owner. Returns 0, or -1 with a message.
  int open(const std::string& name, bool is_private);

  // From now on writes go to this file, a path below the directory whose
  // directories are made as needed.
  void select(std::string_view path);

  int write(std::string_view bytes) override;
  int flush() override { return write_all(); }

  // Ends all files. The directory gets its name if it is complete; else it
  // stays as DIR.partial, and a message says so. Returns 0, or -1 with a
  // message when something could not be written.
  int close(bool is_complete);

 private:
  using collected_bytes = std::unordered_map<std::string, std::string>;

  int append(const std::string& path, std::string_view bytes);
  int append_member(const std::string& path, std::string_view member);
  int open_file(const std::string& path);
  int write_collected(collected_bytes::iterator file);
  int write_all();
  int replace();
  int failure(const std::string& name);

  run_messages& messages_;
  gzip_member_maker members_;
  std::string name_;
  std::string partial_name_;
  bool is_private_ = false;
  bool failed_ = false;
  // What was not written yet of the files that have such, and its size.
  collected_bytes collected_;
  std::size_t collected_size_ = 0;
  std::string selected_{MAIN_FILE};
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_SPLIT_DIRECTORY_H
