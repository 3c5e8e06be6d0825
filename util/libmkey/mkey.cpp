#include "util/libmkey/mkey.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/crypto_api.h"
#include "common/key_memory.h"
#include "common/same_text.h"
#include "common/wipe.h"
#include "server/misc/keyutil.h"
#include "util/libmkey/cipher_spec.h"
#include "util/libmkey/keyfile.h"
#include "util/libmkey/protect.h"
#include "util/libmkey/tty.h"

namespace {

constexpr const char* DEFAULT_KEY_FILE = "kodb.key";
constexpr std::size_t MAX_KEY_FILES = 3;
constexpr std::size_t MAX_KEY_IDS = 6;

// How an unlock went. ENDED means that the program must exit; it does so only
// after everything that holds key material has been left and wiped.
enum class outcome { DONE, FAILED, ENDED };

// A passphrase, and the master key or part of one that it decrypts. To be made
// in key memory.
struct unlock_secrets {
  passphrase_text passphrase{};
  std::array<std::uint8_t, 48 + MAX_CIPHER_BLOCK> buffer{};
  std::size_t size = 0;  // bytes of `buffer` in use

  std::span<const std::uint8_t> plain_key() const {
    return {buffer.data(), size};
  }
};

// Splits a list of names. Each name begins at a character other than a blank
// or ':' and runs to the next ':'. None when there are more than `max`.
std::optional<std::vector<std::string>> split_names(std::string_view list,
                                                    std::size_t max) {
  std::vector<std::string> names;
  while (true) {
    list.remove_prefix(std::min(list.find_first_not_of(" :"), list.size()));
    if (list.empty()) return names;
    if (names.size() == max) return std::nullopt;
    const std::size_t size = std::min(list.find(':'), list.size());
    names.emplace_back(list.substr(0, size));
    list.remove_prefix(size);
  }
}

// True when the decrypted bytes have the digest that the key file tells.
bool verify_key(const key_data& k, std::span<const std::uint8_t> key) {
  lib_md5_ctx_t context{};
  const wipe_guard context_guard(&context, sizeof context);
  std::array<std::uint8_t, MKEY_CHECK_SIZE> digest{};
  const auto cksum = hex_value(k.key_md5);
  ko__MD5_Init(&context);
  if (k.is_part()) ko__MD5_Update(&context, cksum.data(), cksum.size());
  ko__MD5_Update(&context, key.data(), key.size());
  ko__MD5_Final(digest.data(), &context);
  return std::ranges::equal(digest,
                            k.is_part() ? hex_value(k.key_part_md5) : cksum);
}

bool is_key_size(std::size_t size) { return size == 16 || size == 32; }

outcome report_key_size(std::size_t size) {
  std::fprintf(stderr, "Bad key size: %d -- failed\n", static_cast<int>(size));
  return outcome::FAILED;
}

// Asks for the passphrase until it decrypts the key.
outcome decrypt_with_passphrase(const std::string& id, const key_data& k,
                                const cipher_settings& k_ctx, bool use_stdio,
                                unlock_secrets& secrets) {
  while (true) {
    if (!tty_ask_passphrase(id.c_str(), use_stdio, secrets.passphrase) ||
        !decrypt_key(k_ctx, secrets.passphrase.data(), k.encrypted(),
                     secrets.buffer, secrets.size)) {
      return outcome::ENDED;
    }
    if (!is_key_size(secrets.size)) return report_key_size(secrets.size);
    if (verify_key(k, secrets.plain_key())) return outcome::DONE;
    std::fputs("Bad passphrase -- failed\n", stderr);
    wipe(&secrets, sizeof secrets);
    wipe_traces();
  }
}

// Adds the key, or part of a key, to the master key store.
outcome add_key(const std::string& id, const key_data& k,
                std::span<const std::uint8_t> plain) {
  const std::string_view type_name = text_value(k.key_algo);
  const bool is_xor = same_text(type_name, "XOR");
  if (k.key_algo && !is_xor && !same_text(type_name, "AES")) {
    std::fprintf(stderr, "Bad key type: %s -- failed\n", type_name.data());
    return outcome::FAILED;
  }
  if (!is_key_size(plain.size())) return report_key_size(plain.size());

  key_buffer mcheck;
  key_buffer key;
  if (!mcheck.assign(MKEY_TYPE_CHECK, hex_value(k.key_md5)) ||
      !key.assign(is_xor ? MKEY_TYPE_XOR : MKEY_TYPE_AES, plain)) {
    std::fputs("Memory allocation failed\n", stderr);
    return outcome::FAILED;
  }
  const char* msg = nullptr;
  const int result = ko_enc_mkey_add_key(mcheck, key, &msg);
  if (msg != nullptr) std::fprintf(stderr, "%s: %s\n", id.c_str(), msg);
  if (result == 0) return outcome::DONE;
  std::fprintf(stderr, "Failed to add master key %s\n", id.c_str());
  return outcome::FAILED;
}

outcome unlock_key(const std::vector<std::string>& files, const std::string& id,
                   bool use_stdio) {
  key_data k;
  if (!keyfile_read(files, id, k)) return outcome::ENDED;
  cipher_settings k_ctx;
  const std::string_view cipher = text_value(k.cipher);
  if (!decode_cipher(cipher, k_ctx)) {
    std::fprintf(stderr, "%s: Unsupported cipher argument\n", cipher.data());
    return outcome::ENDED;
  }
  const key_ptr<unlock_secrets> secrets = try_make_key<unlock_secrets>();
  if (secrets == nullptr) {
    std::fputs("Memory allocation failed\n", stderr);
    return outcome::FAILED;
  }
  const outcome decrypted =
      decrypt_with_passphrase(id, k, k_ctx, use_stdio, *secrets);
  if (decrypted != outcome::DONE) return decrypted;
  return add_key(id, k, secrets->plain_key());
}

outcome unlock_keys(const char* file_list, const char* id_list,
                    bool use_stdio) {
  const auto files = split_names(file_list, MAX_KEY_FILES);
  if (!files) {
    std::fprintf(stderr, "Number of key files exceeds maximum (%d)\n",
                 static_cast<int>(MAX_KEY_FILES));
    return outcome::ENDED;
  }
  const auto ids = split_names(id_list, MAX_KEY_IDS);
  if (!ids) {
    std::fprintf(stderr, "Number of key id exceeds maximum (%d)\n",
                 static_cast<int>(MAX_KEY_IDS));
    return outcome::ENDED;
  }
  if (files->empty() || ids->empty()) {
    std::fputs("No valid key file or key id specified\n", stderr);
    return outcome::FAILED;
  }
  for (const std::string& id : *ids) {
    const outcome result = unlock_key(*files, id, use_stdio);
    wipe_traces();
    if (result != outcome::DONE) return result;
  }
  return outcome::DONE;
}

}  // namespace

std::vector<std::string> ko_mkey_files(const char* files) {
  return *split_names(files != nullptr ? files : DEFAULT_KEY_FILE, SIZE_MAX);
}

int ko_mkey_init() {
  protect_process();
  if (ko_enc__load(nullptr) != 0) return 1;
  ko_enc_mkey_init();
  if (ko_mkey_enable(std::getenv("KO_MKEYFILE"), std::getenv("KO_MKEYID"),
                     false) != 0) {
    return 1;
  }
  ko_enc_mkey_expire_incomplete(0);
  return 0;
}

int ko_mkey_enable(const char* files, const char* ids, bool use_stdio) {
  if (ids == nullptr) {
    std::fputs("No master key id specified\n", stderr);
    return 1;
  }
  const outcome result =
      unlock_keys(files != nullptr ? files : DEFAULT_KEY_FILE, ids, use_stdio);
  if (result == outcome::ENDED) std::exit(EXIT_FAILURE);
  return result == outcome::DONE ? 0 : -1;
}
