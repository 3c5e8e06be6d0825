#include "util/chronex_trail/files/gzip_writer.h"

#include <libdeflate.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <new>

namespace {

constexpr std::size_t MEMBER_SIZE = std::size_t{1} << 20;
constexpr int LEVEL = 6;

}  // namespace

void gzip_writer::releaser::operator()(
    libdeflate_compressor* compressor) const {
  libdeflate_free_compressor(compressor);
}

gzip_writer::gzip_writer(byte_sink& sink)
    : sink_(sink), compressor_(libdeflate_alloc_compressor(LEVEL)) {
  if (!compressor_) throw std::bad_alloc();
  collected_.reserve(MEMBER_SIZE);
  member_.resize(
      libdeflate_gzip_compress_bound(compressor_.get(), MEMBER_SIZE));
}

gzip_writer::~gzip_writer() = default;

int gzip_writer::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t taken =
        std::min(bytes.size(), MEMBER_SIZE - collected_.size());
    collected_ += bytes.substr(0, taken);
    bytes.remove_prefix(taken);
    if (collected_.size() == MEMBER_SIZE && write_member() != 0) return -1;
  }
  return 0;
}

int gzip_writer::write_member() {
  const std::size_t size = libdeflate_gzip_compress(
      compressor_.get(), collected_.data(), collected_.size(), member_.data(),
      member_.size());
  assert(size > 0);
  collected_.clear();
  has_members_ = true;
  return sink_.write(std::string_view(member_).substr(0, size));
}

int gzip_writer::finish() {
  return collected_.empty() && has_members_ ? 0 : write_member();
}
