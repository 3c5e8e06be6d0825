// Input: a key file. All its sections are read as master keys and go as far as
// they do when the passphrase is not asked for but known: "secret".

#include <algorithm>
#include <string>
#include <string_view>

#include "common/crypto_api.h"
#include "fuzz/fuzz_support.h"
#include "server/misc/keyutil.h"
#include "util/libmkey/cipher_spec.h"
#include "util/libmkey/ini.h"
#include "util/libmkey/keyfile.h"

namespace {

constexpr std::size_t MAX_SECTIONS = 6;
// More iterations add nothing but time.
constexpr int MAX_ITERATIONS = 10;

std::size_t terminated_size(std::span<const char> text) {
  const auto end = std::find(text.begin(), text.end(), '\0');
  fuzz_check(end != text.end(), "texts end within their buffer");
  return static_cast<std::size_t>(end - text.begin());
}

// Walks over the whole file by entries and by lines, into buffers of `room`
// bytes, and collects the names of the sections.
std::vector<std::string> walk(const char* path, std::size_t room) {
  std::vector<char> name(room);
  std::vector<char> value(room);
  std::vector<std::string> sections;
  const int handle = ini_open_file(path, {});
  fuzz_check(handle >= 0, "the file can be opened");
  do {
    while (ini_next_entry(handle, name, value) == 0) {
      terminated_size(name);
      terminated_size(value);
    }
    if (ini_next_section(handle, name) != 0) break;
    sections.emplace_back(name.data(), terminated_size(name));
    // The header that was passed is the last line before the section's first.
    while (sections.size() % 2 == 0 && ini_next_line(handle, value) == 0) {
      terminated_size(value);
    }
  } while (true);
  fuzz_check(ini_close_file(handle) == 0, "the file can be closed");
  return sections;
}

void check_entries(const key_data& k) {
  const std::size_t size = k.encrypted().size();
  fuzz_check(size >= 16 && size <= 48, "encrypted keys have 16 to 48 bytes");
  fuzz_check(hex_value(k.key_md5).size() == MKEY_CHECK_SIZE,
             "check values have 16 bytes");
}

// Adds what was decrypted, right or wrong, as a master key or a part of one.
void add_key(const key_data& k, std::span<const std::uint8_t> plain) {
  key_buffer check;
  key_buffer key;
  const std::string_view type = text_value(k.key_algo);
  const bool is_xor = type.starts_with('X') || type.starts_with('x');
  fuzz_check(check.assign(MKEY_TYPE_CHECK, hex_value(k.key_md5)) &&
                 key.assign(is_xor ? MKEY_TYPE_XOR : MKEY_TYPE_AES, plain),
             "there is memory");
  const char* text = nullptr;
  ko_enc_mkey_add_key(check, key, &text);
  fuzz_check(text != nullptr, "there is a word about every key");

  const std::vector<std::uint8_t> original(32, 'k');
  std::vector<std::uint8_t> bytes = original;
  if (ko_enc_mkey_crypt(hex_value(k.key_md5), bytes, true) != 1) return;
  fuzz_check(ko_enc_mkey_crypt(hex_value(k.key_md5), bytes, false) == 1 &&
                 bytes == original,
             "what a master key encrypts, it decrypts");
}

void unlock(const std::string& path, const std::string& id) {
  key_data k;
  if (!keyfile_read({path}, id, k)) return;
  check_entries(k);
  cipher_settings settings;
  if (!decode_cipher(text_value(k.cipher), settings)) return;
  settings.iter = std::min(settings.iter, MAX_ITERATIONS);
  std::vector<std::uint8_t> plain(k.encrypted().size() + MAX_CIPHER_BLOCK);
  std::size_t size = 0;
  if (!decrypt_key(settings, "secret", k.encrypted(), plain, size)) return;
  fuzz_check(size <= k.encrypted().size(), "a key gets no longer");
  add_key(k, std::span(plain).first(size));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz_check(ko_enc__load(nullptr) == 0, "the crypto library is there");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  static memory_file file;
  file.write({data, size});
  ini_cleanup();
  ko_enc_mkey_init();
  walk(file.path(), 7);
  std::vector<std::string> sections = walk(file.path(), 1024);
  sections.resize(std::min(sections.size(), MAX_SECTIONS));
  for (const std::string& id : sections) unlock(file.path(), id);
  ko_enc_mkey_expire_incomplete(0);
  return 0;
}
