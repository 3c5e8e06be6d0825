#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_MEMBER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_MEMBER_H

// Makes members of gzip files.
//
// A gzip file may be a sequence of members, each with a check sum of its own:
// readers put their contents together. They are made by a library that takes
// whole pieces of memory and is several times as fast as one for streams.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct libdeflate_compressor;

class gzip_member_maker {
 public:
  // The most bytes that one member is made of.
  static constexpr std::size_t MEMBER_SIZE = std::size_t{1} << 20;

  // Throws std::bad_alloc without memory.
  gzip_member_maker();
  ~gzip_member_maker();
  gzip_member_maker(const gzip_member_maker&) = delete;
  gzip_member_maker& operator=(const gzip_member_maker&) = delete;

  // The member of at most MEMBER_SIZE bytes; valid until the next one is made.
  std::string_view make(std::string_view bytes);

 private:
  struct releaser {
    void operator()(libdeflate_compressor* compressor) const;
  };

  std::unique_ptr<libdeflate_compressor, releaser> compressor_;
  std::string member_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_GZIP_MEMBER_H
