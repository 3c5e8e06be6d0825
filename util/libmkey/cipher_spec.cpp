#include "util/libmkey/cipher_spec.h"

#include <cassert>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>
#include <system_error>

#include "common/same_text.h"
#include "common/wipe.h"
#include "util/libmkey/text.h"

namespace {

constexpr std::size_t MAX_KEY_SIZE = 48;  // in hmac-sha1 mode: with the IV
constexpr std::size_t MAX_IV_SIZE = 16;

struct cipher_entry {
  std::string_view name;
  const evp_cipher_t* (*get)();
};

constexpr std::array<cipher_entry, 3> CIPHERS{{
    {"des-ede3-cbc", ko__EVP_des_ede3_cbc},
    {"aes128-cbc", ko__EVP_aes_128_cbc},
    {"aes256-cbc", ko__EVP_aes_256_cbc},
}};

// Takes the text before the next ':' off the front, cut to 31 characters.
std::string_view take_field(std::string_view& text) {
  constexpr std::size_t MAX_FIELD_SIZE = 31;
  const std::size_t end = text.find(':');
  const std::string_view field = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return field.substr(0, MAX_FIELD_SIZE);
}

// Whether the ending of a cipher's name asks for padding; none when unknown.
std::optional<bool> decode_padding(std::string_view ending) {
  if (same_text(ending, "-pad")) return true;
  if (ending.empty() || same_text(ending, "-nopad")) return false;
  return std::nullopt;
}

bool decode_cipher_name(std::string_view text, cipher_settings& k_ctx) {
  for (const cipher_entry& each : CIPHERS) {
    if (!same_text(text.substr(0, each.name.size()), each.name)) continue;
    const auto pad = decode_padding(text.substr(each.name.size()));
    if (!pad) return false;
    k_ctx.pad = *pad;
    k_ctx.cipher_name = each.name;
    k_ctx.cipher = each.get();
    return true;
  }
  return false;
}

bool decode_salt(std::string_view text, cipher_settings& k_ctx) {
  if (text.empty() || text.size() > 2 * k_ctx.salt.size()) return false;
  k_ctx.salt_len = static_cast<int>(text.size() / 2);
  return decode_hex(text, k_ctx.salt);
}

bool decode_count(std::string_view text, cipher_settings& k_ctx) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, k_ctx.iter);
  return error == std::errc() && stop == end && k_ctx.iter > 0;
}

// Prints `message` without a line end: the library's lines follow it.
bool report_failure(const char* message) {
  std::fputs(message, stderr);
  ko__ERR_print_errors_fp(stderr);
  return false;
}

bool start_compat(evp_cipher_ctx_t* context, const cipher_settings& k_ctx,
                  std::string_view passphrase) {
  constexpr std::uint8_t IV_WIPE_BYTE = 0x56;
  std::array<std::uint8_t, MAX_KEY_SIZE> key{};
  std::array<std::uint8_t, MAX_IV_SIZE> iv{};
  const int key_length = ko__EVP_CIPHER_key_length(k_ctx.cipher);
  const int iv_length = ko__EVP_CIPHER_iv_length(k_ctx.cipher);
  assert(static_cast<std::size_t>(key_length) <= key.size());
  assert(static_cast<std::size_t>(iv_length) <= iv.size());

  const bool derived =
      ko__EVP_BytesToKey(
          k_ctx.cipher, ko__EVP_md5(), nullptr,
          reinterpret_cast<const std::uint8_t*>(passphrase.data()),
          static_cast<int>(passphrase.size()), 1, key.data(),
          iv.data()) == key_length;
  const bool started =
      derived &&
      ko__EVP_DecryptInit(context, k_ctx.cipher, key.data(), iv.data()) == 1;
  wipe(key.data(), key.size());
  wipe(iv.data(), iv.size(), IV_WIPE_BYTE);
  if (!derived) return report_failure("BytesToKey failed");
  if (!started) return report_failure("DecryptInit failed");
  ko__EVP_CIPHER_CTX_set_padding(context, 0);
  return true;
}

bool start_hmac_sha1(evp_cipher_ctx_t* context, const cipher_settings& k_ctx,
                     std::string_view passphrase) {
  std::array<std::uint8_t, MAX_KEY_SIZE> key_iv{};
  const int key_length = ko__EVP_CIPHER_key_length(k_ctx.cipher);
  const int total = key_length + ko__EVP_CIPHER_iv_length(k_ctx.cipher);
  assert(static_cast<std::size_t>(total) <= key_iv.size());

  const bool derived =
      ko__PKCS5_PBKDF2_HMAC_SHA1(passphrase.data(),
                                 static_cast<int>(passphrase.size()),
                                 k_ctx.salt.data(), k_ctx.salt_len, k_ctx.iter,
                                 total, key_iv.data()) == 1;
  const bool started =
      derived && ko__EVP_DecryptInit(context, k_ctx.cipher, key_iv.data(),
                                     key_iv.data() + key_length) == 1;
  wipe(key_iv.data(), key_iv.size());
  if (!derived) return report_failure("PKCS5_PBKDF2_HMAC_SHA1 failed");
  if (!started) return report_failure("DecryptInit failed");
  ko__EVP_CIPHER_CTX_set_padding(context, k_ctx.pad ? 1 : 0);
  return true;
}

struct context_releaser {
  void operator()(evp_cipher_ctx_t* context) const noexcept {
    ko__EVP_CIPHER_CTX_free(context);
  }
};

}  // namespace

bool decode_cipher(std::string_view text, cipher_settings& k_ctx) {
  k_ctx = cipher_settings();
  std::string_view rest = text;
  const std::string_view function = take_field(rest);
  if (text.empty() || same_text(function, "compat")) {
    return decode_cipher_name("des-ede3-cbc", k_ctx);
  }
  k_ctx.compat = false;
  return function == "hmac-sha1" &&
         decode_cipher_name(take_field(rest), k_ctx) &&
         decode_salt(take_field(rest), k_ctx) &&
         decode_count(take_field(rest), k_ctx);
}

bool decrypt_key(const cipher_settings& k_ctx, std::string_view passphrase,
                 std::span<const std::uint8_t> input,
                 std::span<std::uint8_t> output, std::size_t& output_size) {
  assert(output.size() >= input.size() + MAX_CIPHER_BLOCK);
  const std::unique_ptr<evp_cipher_ctx_t, context_releaser> context(
      ko__EVP_CIPHER_CTX_new());
  if (!context) return report_failure("DecryptInit failed");
  const bool started = k_ctx.compat
                           ? start_compat(context.get(), k_ctx, passphrase)
                           : start_hmac_sha1(context.get(), k_ctx, passphrase);
  if (!started) return false;

  int updated = 0;
  int finished = 0;
  if (ko__EVP_DecryptUpdate(context.get(), output.data(), &updated,
                            input.data(),
                            static_cast<int>(input.size())) != 1 ||
      ko__EVP_DecryptFinal(context.get(), output.data() + updated, &finished) !=
          1) {
    return report_failure("Decrypt failed");
  }
  if (ko__EVP_CIPHER_CTX_cleanup(context.get()) != 1) {
    return report_failure("Decrypt cleanup failed");
  }
  output_size =
      static_cast<std::size_t>(updated) + static_cast<std::size_t>(finished);
  return true;
}
