#include "util/chronex_trail/run/log_tail.h"

#include <algorithm>

#include "util/chronex/input/input_stream.h"

std::optional<md5_digest> digest_of_tail(const std::string& name,
                                         std::uint64_t position) {
  constexpr std::uint64_t TAIL_SIZE = 4096;
  const std::uint64_t size = std::min(position, TAIL_SIZE);
  input_stream stream;
  if (!stream.open(name.c_str(), [] {}) || !stream.go_to(position - size)) {
    return std::nullopt;
  }
  const std::uint8_t* const tail = stream.take(size);
  if (tail == nullptr) return std::nullopt;
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, {tail, size});
  return ko__MD5Final(context);
}
