#include "util/libmkey/keyfile.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "common/ko_log.h"
#include "common/same_text.h"
#include "common/wipe.h"
#include "util/libmkey/ini.h"
#include "util/libmkey/text.h"

namespace {

constexpr std::size_t DIGEST_SIZE = 16;
constexpr std::size_t MIN_KEY_SIZE = 16;
constexpr std::size_t MAX_KEY_SIZE = 48;

void release(owned_bytes& entry) {
  wipe(entry.data(), entry.size());
  entry.reset();
}

void dtor_keydata(key_data& k) {
  for (owned_bytes* each : {&k.key, &k.key_md5, &k.key_part, &k.key_part_md5,
                            &k.key_algo, &k.cipher}) {
    release(*each);
  }
}

// Decodes the hex value `text` of the entry `name`.
bool GetKeyfile_Hex(const char* name, owned_bytes& to, std::string_view text) {
  const std::size_t size = text.size() / 2;
  if (text.size() % 2 != 0 || size > MAX_KEY_SIZE) {
    ko__Log(LOG_CATEGORY_CRYPTO, 0, "%d: Bad entry value size",
            static_cast<int>(text.size()));
    return false;
  }
  release(to);
  if (!to.allocate(1 + size)) {
    ko__Log(LOG_CATEGORY_CRYPTO, 0, "%d: Memory allocation failed",
            static_cast<int>(1 + size));
    return false;
  }
  to.data()[0] = static_cast<std::uint8_t>(size);
  if (decode_hex(text, to.bytes().subspan(1))) return true;
  ko__Log(LOG_CATEGORY_CRYPTO, 0, "%s: Bad hex value", name);
  release(to);
  return false;
}

bool GetKeyfile_String(owned_bytes& to, std::string_view text) {
  release(to);
  if (!to.allocate_zeroed(text.size() + 1)) {
    ko__Log(LOG_CATEGORY_CRYPTO, 0, "Memory allocation failed");
    return false;
  }
  std::memcpy(to.data(), text.data(), text.size());
  return true;
}

// Stores the entry `name`, in upper case; others than the known are ignored.
bool store_entry(std::string_view name, std::string_view value, key_data& k) {
  if (name == "CKSUM") return GetKeyfile_Hex("cksum", k.key_md5, value);
  if (name == "KEY") return GetKeyfile_Hex("key", k.key, value);
  if (name == "KEYP") return GetKeyfile_Hex("keyp", k.key_part, value);
  if (name == "CKSUMP") return GetKeyfile_Hex("cksump", k.key_part_md5, value);
  if (name == "KEYT") return GetKeyfile_String(k.key_algo, value);
  if (name == "CIPHER") return GetKeyfile_String(k.cipher, value);
  return true;
}

// Opens the first file that has the section `id` and goes there. Returns the
// ini handle, or -1 after a message.
int open_section(const std::vector<std::string>& files, const std::string& id) {
  for (const std::string& file : files) {
    const int handle = ini_open_file(file.c_str(), {});
    if (handle < 0) {
      std::perror(file.c_str());
      std::fputs("Unable to open key file\n", stderr);
      return -1;
    }
    const int result = ini_find_section(handle, id);
    if (result == 0) return handle;
    if (result < 0) {
      std::perror(file.c_str());
      std::fputs("Unable to read key file\n", stderr);
    }
    ini_close_file(handle);
    if (result < 0) return -1;
  }
  std::fprintf(stderr, "Key %s not found in key file\n", id.c_str());
  return -1;
}

// Stores all entries of the section and closes the file. A bad entry does not
// keep the others from being read, so that each is reported.
bool read_entries(int handle, key_data& k) {
  std::array<char, 1024> name{};
  std::array<char, 1024> value{};
  bool good = true;
  int result = 0;
  while ((result = ini_next_entry(handle, name, value)) == 0) {
    if (!store_entry(name.data(), value.data(), k)) good = false;
  }
  ini_close_file(handle);
  if (good && result > 0) return true;
  std::fputs("Failed to read key file\n", stderr);
  return false;
}

bool check_entries(const key_data& k) {
  if (hex_value(k.key_md5).size() != DIGEST_SIZE ||
      (!k.is_part() && hex_value(k.key).empty())) {
    std::fprintf(stderr, "Inconsistent key file (p:%d%d%d%d)\n", !k.key_md5,
                 !k.key, !k.key_part, !k.key_part_md5);
    return false;
  }
  const std::size_t size = k.encrypted().size();
  if (size < MIN_KEY_SIZE || size > MAX_KEY_SIZE) {
    std::fprintf(stderr, "Inconsistent key file (s:%d)\n",
                 static_cast<int>(size));
    return false;
  }
  const std::string_view type = text_value(k.key_algo);
  if (k.key_algo && !same_text(type, "XOR") && !same_text(type, "AES")) {
    std::fprintf(stderr, "Inconsistent key file (t:%s%d)\n", type.data(),
                 static_cast<int>(size * 8));
    return false;
  }
  return true;
}

}  // namespace

key_data::~key_data() { dtor_keydata(*this); }

bool key_data::is_part() const {
  return hex_value(key_part_md5).size() == DIGEST_SIZE &&
         !hex_value(key_part).empty();
}

std::span<const std::uint8_t> key_data::encrypted() const {
  return hex_value(is_part() ? key_part : key);
}

std::span<const std::uint8_t> hex_value(const owned_bytes& entry) {
  if (!entry) return {};
  return entry.bytes().subspan(1, entry.data()[0]);
}

std::string_view text_value(const owned_bytes& entry) {
  if (!entry) return "";
  return reinterpret_cast<const char*>(entry.data());
}

bool keyfile_read(const std::vector<std::string>& files, const std::string& id,
                  key_data& k) {
  const int handle = open_section(files, id);
  return handle >= 0 && read_entries(handle, k) && check_entries(k);
}
