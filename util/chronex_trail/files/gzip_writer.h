#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_WRITER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_WRITER_H

// Compresses what goes to a file.
//
// A gzip file may be a sequence of members, each with a check sum of its own:
// readers put their contents together. Bytes are collected and compressed, a
// member at a time, by a library that takes whole pieces of memory and is
// several times as fast as one for streams.

#include <memory>
#include <string>
#include <string_view>

#include "util/chronex_trail/files/byte_sink.h"

struct libdeflate_compressor;

class gzip_writer : public byte_sink {
 public:
  // The sink stays the caller's. Throws std::bad_alloc without memory.
  explicit gzip_writer(byte_sink& sink);
  ~gzip_writer() override;

  int write(std::string_view bytes) override;
  // Writes what was collected; of nothing at all an empty member, as an empty
  // file is no gzip file. Returns 0, or -1 as write() does.
  int finish();

 private:
  int write_member();

  struct releaser {
    void operator()(libdeflate_compressor* compressor) const;
  };

  byte_sink& sink_;
  std::unique_ptr<libdeflate_compressor, releaser> compressor_;
  // Uncompressed, and the member that it becomes.
  std::string collected_;
  std::string member_;
  bool has_members_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_WRITER_H
