#include "bench/output_digest.h"

#include <zlib.h>

#include <array>
#include <cstdint>
#include <stdexcept>

std::string output_digest(const std::string& path) {
  static std::array<unsigned char, std::size_t{1} << 20U> piece;
  gzFile file = gzopen(path.c_str(), "rb");
  if (file == nullptr) throw std::runtime_error(path + ": cannot be opened");
  uLong checksum = crc32(0, nullptr, 0);
  std::uint64_t size = 0;
  int count = 0;
  while ((count = gzread(file, piece.data(), piece.size())) > 0) {
    checksum = crc32(checksum, piece.data(), static_cast<uInt>(count));
    size += static_cast<std::uint64_t>(count);
  }
  if (gzclose(file) != Z_OK || count < 0) {
    throw std::runtime_error(path + ": cannot be read");
  }
  return std::to_string(size) + " bytes, checksum " + std::to_string(checksum);
}
