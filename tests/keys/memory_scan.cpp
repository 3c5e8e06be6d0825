#include "tests/keys/memory_scan.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

// The secrets themselves must not be in memory on account of the search.
constexpr std::uint8_t DISGUISE = 0x80;

struct secret {
  std::array<std::uint8_t, 16> bytes{};
  std::size_t size = 0;

  consteval secret(std::string_view text) : size(text.size()) {
    for (std::size_t i = 0; i < size; ++i) {
      bytes[i] = static_cast<std::uint8_t>(text[i]) ^ DISGUISE;
    }
  }
};

// What the test key file's salt makes of the passphrase of "aes256".
constexpr std::string_view DERIVED_KEY =
    "\xf5\x76\xe6\x39\x2b\x3c\x58\x56\x01\x9e\x89\x64\xde\x1c\xf0\xc7";

constexpr std::array<secret, SECRET_NAMES.size()> SECRETS = {
    secret("a master key of "), secret("thirty-two chars"),
    secret("secret of "), secret(DERIVED_KEY)};

struct mapping {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  bool is_readable = false;
  bool is_guarded = false;
};

// Whether the system lets the process lock memory at all. The address sanitizer
// makes locking do nothing.
bool can_lock() {
#ifdef __SANITIZE_ADDRESS__
  return false;
#else
  alignas(4096) static std::array<std::uint8_t, 4096> page;
  return mlock(page.data(), page.size()) == 0;
#endif
}

// Takes a line of /proc/self/smaps. The last one of a mapping has its flags.
bool take_line(const char* line, bool needs_lock, mapping& map) {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  std::array<char, 5> access{};
  if (std::sscanf(line, "%zx-%zx %4s", &begin, &end, access.data()) == 3) {
    const bool is_readable =
        access[0] == 'r' && std::strstr(line, "[vvar") == nullptr;
    map = {.begin = begin, .end = end, .is_readable = is_readable};
  }
  if (std::strncmp(line, "VmFlags:", 8) != 0) return false;
  map.is_guarded = std::strstr(line, " dd") != nullptr &&
                   (!needs_lock || std::strstr(line, " lo") != nullptr);
  return true;
}

[[gnu::no_sanitize_address]] bool is_secret(const std::uint8_t* bytes,
                                            const secret& wanted) {
  for (std::size_t i = 0; i < wanted.size; ++i) {
    if ((bytes[i] ^ DISGUISE) != wanted.bytes[i]) return false;
  }
  return true;
}

[[gnu::no_sanitize_address]] int count(const mapping& map,
                                       const secret& wanted) {
  int found = 0;
  const auto* byte = reinterpret_cast<const std::uint8_t*>(map.begin);
  for (std::size_t left = map.end - map.begin; left >= wanted.size; --left) {
    if ((*byte ^ DISGUISE) == wanted.bytes[0] && is_secret(byte, wanted)) {
      ++found;
    }
    ++byte;
  }
  return found;
}

// The sanitizers reserve terabytes for themselves.
bool is_searched(const mapping& map) {
  constexpr std::size_t MAX_SIZE = std::size_t{1} << 26U;
  return map.is_readable && map.end - map.begin < MAX_SIZE;
}

}  // namespace

std::array<sightings, SECRET_NAMES.size()> scan_memory() {
  std::array<sightings, SECRET_NAMES.size()> result{};
  const bool needs_lock = can_lock();
  std::FILE* maps = std::fopen("/proc/self/smaps", "r");
  if (maps == nullptr) std::perror("smaps");
  mapping map;
  std::array<char, 512> line{};
  while (maps != nullptr &&
         std::fgets(line.data(), line.size(), maps) != nullptr) {
    if (!take_line(line.data(), needs_lock, map) || !is_searched(map)) continue;
    for (std::size_t i = 0; i < SECRETS.size(); ++i) {
      int& counter = map.is_guarded ? result[i].guarded : result[i].exposed;
      counter += count(map, SECRETS[i]);
    }
  }
  if (maps != nullptr) std::fclose(maps);
  return result;
}
