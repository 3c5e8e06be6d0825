#include "bench/work_directory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

work_directory::work_directory(const std::string& parent)
    : root_(parent + "/chronex-bench.XXXXXX") {
  if (mkdtemp(root_.data()) == nullptr) {
    throw std::runtime_error(root_ + ": " + std::strerror(errno));
  }
}

work_directory::~work_directory() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

void work_directory::require_space(std::uint64_t bytes) const {
  constexpr std::uint64_t MEGABYTE = 1'000'000;
  const std::uint64_t available = std::filesystem::space(root_).available;
  if (available >= bytes) return;
  throw std::runtime_error(root_ + ": " + std::to_string(bytes / MEGABYTE) +
                           " MB needed, " +
                           std::to_string(available / MEGABYTE) + " MB free");
}
