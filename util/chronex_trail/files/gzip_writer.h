#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_WRITER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_WRITER_H

#include <string>
#include <string_view>

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/files/gzip_member.h"

// Compresses what goes to a file, a member at a time.
class gzip_writer : public byte_sink {
 public:
  // The sink stays the caller's. Throws std::bad_alloc without memory.
  explicit gzip_writer(byte_sink& sink);

  int write(std::string_view bytes) override;
  // Writes what was collected, if anything, so that the file is whole members.
  // Returns 0, or -1 as write() does.
  int end_member() { return collected_.empty() ? 0 : write_member(); }
  // The file has members already.
  void go_on() { has_members_ = true; }

  // Writes what was collected; of nothing at all an empty member, as an empty
  // file is no gzip file. Returns 0, or -1 as write() does.
  int finish();

 private:
  int write_member();

  byte_sink& sink_;
  gzip_member_maker members_;
  // Not compressed yet.
  std::string collected_;
  bool has_members_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_WRITER_H
