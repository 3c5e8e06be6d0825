#include "util/chronex_trail/sql/input_digest.h"

#include <nettle/sha2.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <vector>

#include "util/chronex_trail/values/item_value.h"

namespace {

constexpr std::size_t PART = std::size_t{256} * 1024;

std::string finish(sha256_ctx& context) {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest;
  sha256_digest(&context, digest.size(), digest.data());
  std::string hex(digest.size() * 2, '\0');
  put_hex_digits(digest, hex.data());
  return hex;
}

}  // namespace

std::optional<input_digest> digest_of_file(const std::string& name) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(name, error)) return std::nullopt;
  std::ifstream file(name, std::ios::binary);
  std::vector<char> part(PART);
  input_digest digest;
  sha256_ctx context;
  sha256_init(&context);
  while (file) {
    file.read(part.data(), static_cast<std::streamsize>(part.size()));
    const auto size = static_cast<std::size_t>(file.gcount());
    sha256_update(&context, size,
                  reinterpret_cast<const std::uint8_t*>(part.data()));
    digest.size += size;
  }
  if (!file.eof()) return std::nullopt;
  digest.sha256 = finish(context);
  return digest;
}
