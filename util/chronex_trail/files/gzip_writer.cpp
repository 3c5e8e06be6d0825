#include "util/chronex_trail/files/gzip_writer.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr std::size_t MEMBER_SIZE = gzip_member_maker::MEMBER_SIZE;

}  // namespace

gzip_writer::gzip_writer(byte_sink& sink) : sink_(sink) {
  collected_.reserve(MEMBER_SIZE);
}

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
  const std::string_view member = members_.make(collected_);
  collected_.clear();
  has_members_ = true;
  return sink_.write(member);
}

int gzip_writer::finish() {
  return collected_.empty() && has_members_ ? 0 : write_member();
}
