#include "server/misc/keyutil.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "common/crypto_api.h"
#include "common/ko_log.h"
#include "common/md5.h"
#include "common/owned_bytes.h"

namespace {

// A part of a master key that is still incomplete.
struct mkey_part {
  std::unique_ptr<key_buffer> key;
  std::unique_ptr<mkey_part> next;
};

struct mkey_entry {
  std::uint32_t id = 0;
  std::uint32_t state = MKEY_ACTIVE;
  std::unique_ptr<key_buffer> mcheck;
  std::unique_ptr<key_buffer> key;  // while incomplete, the XOR of the parts
  std::uint32_t creation_time = 0;
  std::unique_ptr<mkey_part> parts;  // in order of arrival; none once active
  std::unique_ptr<mkey_entry> next;
};

std::unique_ptr<mkey_entry> enc_mkey_list;  // in order of creation
std::uint32_t enc_mkey_list_lock = 0;       // no lock is taken in this program
std::uint32_t last_id = 0;

using check_span = std::span<const std::uint8_t, MKEY_CHECK_SIZE>;

// The place of the first link of the list that leads to null.
template <typename Node>
std::unique_ptr<Node>* end_of(std::unique_ptr<Node>* link) {
  while (*link != nullptr) link = &(*link)->next;
  return link;
}

// Takes the entry that the link leads to out of the list and frees it.
void remove_entry(std::unique_ptr<mkey_entry>& link) {
  const std::unique_ptr<mkey_entry> entry = std::move(link);
  link = std::move(entry->next);
}

void remove_all() {
  while (enc_mkey_list != nullptr) remove_entry(enc_mkey_list);
}

bool is_check_value(const key_buffer& mcheck) {
  return mcheck.type == MKEY_TYPE_CHECK && mcheck.sz == MKEY_CHECK_SIZE;
}

check_span check_bytes(const key_buffer& mcheck) {
  return mcheck.data.bytes().first<MKEY_CHECK_SIZE>();
}

bool has_check_value(const mkey_entry* k, check_span mcheck) {
  assert(k->mcheck->sz >= 16);
  return std::ranges::equal(check_bytes(*k->mcheck), mcheck);
}

// The place of the link to the first entry with that check value; the link is
// null when there is none.
std::unique_ptr<mkey_entry>* find_link(check_span mcheck) {
  std::unique_ptr<mkey_entry>* link = &enc_mkey_list;
  while (*link != nullptr && !has_check_value(link->get(), mcheck)) {
    link = &(*link)->next;
  }
  return link;
}

const mkey_entry* find_active(check_span mcheck) {
  const mkey_entry* k = enc_mkey_list.get();
  while (k != nullptr &&
         !(k->state == MKEY_ACTIVE && has_check_value(k, mcheck))) {
    k = k->next.get();
  }
  return k;
}

// Whether the key's bytes are those that the check value stands for.
bool matches_check_value(const key_buffer& key, check_span mcheck) {
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, key.data.bytes());
  return std::ranges::equal(ko__MD5Final(context), mcheck);
}

// Returns null when there is no memory.
std::unique_ptr<key_buffer> copy_key_buffer(const key_buffer& source) {
  auto copy = try_make<key_buffer>();
  if (copy == nullptr || !copy->assign(source.type, source.data.bytes())) {
    return nullptr;
  }
  return copy;
}

// Makes a part that holds a copy of the key; null when there is no memory.
std::unique_ptr<mkey_part> make_part(const key_buffer& key) {
  auto part = try_make<mkey_part>();
  if (part == nullptr) return nullptr;
  part->key = copy_key_buffer(key);
  return part->key != nullptr ? std::move(part) : nullptr;
}

// ------------------------------------------------------------- adding of keys

// What ko_enc_mkey_add_key has to say, and the source line where it failed.
struct add_result {
  const char* message;
  int failed_line = 0;  // 0: it did not fail
};

bool has_part(const mkey_entry* k, const key_buffer& key) {
  for (const mkey_part* kp = k->parts.get(); kp != nullptr;
       kp = kp->next.get()) {
    assert(k->key->sz == kp->key->sz);
    if (std::ranges::equal(kp->key->data.bytes(), key.data.bytes())) {
      return true;
    }
  }
  return false;
}

// Makes the entry's key the XOR of its parts.
void combine_parts(mkey_entry* k) {
  const std::span<std::uint8_t> combined = k->key->data.bytes();
  std::ranges::fill(combined, std::uint8_t{0});
  for (const mkey_part* kp = k->parts.get(); kp != nullptr;
       kp = kp->next.get()) {
    assert(k->key->sz == kp->key->sz);
    const std::span<const std::uint8_t> part = kp->key->data.bytes();
    for (std::size_t i = 0; i < combined.size(); ++i) combined[i] ^= part[i];
  }
}

void remove_parts(mkey_entry* k) {
  while (k->parts != nullptr) {
    const std::unique_ptr<mkey_part> part = std::move(k->parts);
    k->parts = std::move(part->next);
  }
}

add_result add_part(mkey_entry* k, const key_buffer& key) {
  if (k->state == MKEY_ACTIVE) {
    return {"Master key already present", __LINE__};
  }
  assert(k->parts != nullptr);
  if (key.type != k->key->type || key.sz != k->key->sz) {
    return {"Inconsistent master key part", __LINE__};
  }
  if (has_part(k, key)) {
    return {"Master key part already present", __LINE__};
  }
  std::unique_ptr<mkey_part>& end = *end_of(&k->parts);
  end = make_part(key);
  if (end == nullptr) return {"Memory allocation failed", __LINE__};

  combine_parts(k);
  if (!matches_check_value(*k->key, check_bytes(*k->mcheck))) {
    return {"Master key part added, key is incomplete"};
  }
  k->state = MKEY_ACTIVE;
  remove_parts(k);
  return {"Partial master key added, master key activated"};
}

add_result add_entry(const key_buffer& mcheck, const key_buffer& key) {
  auto entry = try_make<mkey_entry>();
  if (entry == nullptr) return {"Memory allocation failed", __LINE__};
  entry->creation_time = global_time_stamp;
  entry->mcheck = copy_key_buffer(mcheck);
  if (entry->mcheck == nullptr) return {"Memory allocation failed", __LINE__};
  entry->key = copy_key_buffer(key);
  if (entry->key == nullptr) return {"Memory allocation failed", __LINE__};

  const char* message = "Master key activated";
  if (!matches_check_value(key, check_bytes(mcheck))) {
    entry->state = MKEY_INCOMPLETE;
    entry->parts = make_part(key);
    if (entry->parts == nullptr) return {"Memory allocation failed", __LINE__};
    message = "Master key part added, key is incomplete";
  }
  entry->id = ++last_id;
  *end_of(&enc_mkey_list) = std::move(entry);
  return {message};
}

// -------------------------------------------------------------- use of a key

bool is_usable_size(std::size_t size) { return size == 16 || size == 32; }

void crypt_xor(const key_buffer& key, std::span<std::uint8_t> bytes) {
  const std::span<const std::uint8_t> mask = key.data.bytes();
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] ^= mask[i % key.sz];
}

// AES-128 or AES-256 by the key's size, in CBC mode with the check value as the
// initialisation vector. Returns false when the crypto library is missing.
bool crypt_aes(const mkey_entry& k, std::span<std::uint8_t> bytes,
               bool encrypt) {
  const aes_key_ptr aes_key = ko_enc__set_aes_key(
      k.key->data.bytes(), encrypt ? AES_MODE_ENCRYPT : AES_MODE_DECRYPT);
  if (aes_key == nullptr) return false;
  std::array<std::uint8_t, AES_BLOCK_SIZE> ivec;
  std::ranges::copy(check_bytes(*k.mcheck), ivec.begin());
  ko_enc__aes_crypt_cbc(aes_key.get(), encrypt, bytes, bytes, ivec);
  return true;
}

}  // namespace

std::uint32_t global_time_stamp = 0;

key_buffer::key_buffer(key_buffer&& other) noexcept
    : type(std::exchange(other.type, MKEY_TYPE_CHECK)),
      sz(std::exchange(other.sz, 0)),
      data(std::move(other.data)) {}

key_buffer& key_buffer::operator=(key_buffer&& other) noexcept {
  if (this == &other) return *this;
  type = std::exchange(other.type, MKEY_TYPE_CHECK);
  sz = std::exchange(other.sz, 0);
  data = std::move(other.data);
  return *this;
}

bool key_buffer::assign(std::uint32_t key_type,
                        std::span<const std::uint8_t> key_bytes) noexcept {
  *this = key_buffer();
  if (!data.copy_from(key_bytes)) return false;
  type = key_type;
  sz = static_cast<std::uint32_t>(key_bytes.size());
  return true;
}

int ko_enc_mkey_init() {
  remove_all();
  enc_mkey_list_lock = 0;
  last_id = 0;
  return 0;
}

int ko_enc_mkey_add_key(const key_buffer& mcheck, const key_buffer& key,
                        const char** msg) {
  if (msg != nullptr) *msg = nullptr;
  if (!is_check_value(mcheck)) return -1;
  mkey_entry* k = find_link(check_bytes(mcheck))->get();
  const add_result result =
      k != nullptr ? add_part(k, key) : add_entry(mcheck, key);
  if (msg != nullptr) *msg = result.message;
  if (result.failed_line == 0) return 0;
  ko__Log(LOG_CATEGORY_INTERNAL, 2, "ko_enc_mkey_add_key failed: %s (%d)",
          result.message, result.failed_line);
  return -1;
}

int ko_enc_mkey_crypt(std::span<const std::uint8_t> mcheck_p,
                      std::span<std::uint8_t> key_p, bool encrypt) {
  assert(mcheck_p.data() != nullptr);
  assert(key_p.data() != nullptr);
  if (mcheck_p.size() != MKEY_CHECK_SIZE || !is_usable_size(key_p.size())) {
    return -1;
  }
  const mkey_entry* k = find_active(mcheck_p.first<MKEY_CHECK_SIZE>());
  if (k == nullptr) return 0;
  if (!is_usable_size(k->key->sz)) return -1;
  switch (k->key->type) {
    case MKEY_TYPE_XOR:
      crypt_xor(*k->key, key_p);
      return 1;
    case MKEY_TYPE_AES:
      return crypt_aes(*k, key_p, encrypt) ? 1 : -1;
    default:
      return -1;
  }
}

int ko_enc_mkey_locate(const key_buffer& mcheck,
                       std::unique_ptr<key_buffer>* key) {
  if (key != nullptr) key->reset();
  if (!is_check_value(mcheck)) return -1;
  const mkey_entry* k = find_active(check_bytes(mcheck));
  if (k == nullptr) return 0;
  if (key == nullptr) return 1;
  *key = copy_key_buffer(*k->key);
  return *key != nullptr ? 1 : -1;
}

int ko_enc_mkey_enum(int index, mkey_info& info) {
  if (index < 0) return -1;
  const mkey_entry* k = enc_mkey_list.get();
  for (; k != nullptr && index > 0; --index) k = k->next.get();
  if (k == nullptr) return 0;
  assert(k->mcheck->sz >= 16);
  info.id = k->id;
  info.state = k->state;
  std::ranges::copy(check_bytes(*k->mcheck), info.mcheck.begin());
  info.type = k->key->type;
  info.sz = k->key->sz;
  info.creation_time = k->creation_time;
  return 1;
}

int ko_enc_mkey_del(const key_buffer& mcheck) {
  if (!is_check_value(mcheck)) return -1;
  std::unique_ptr<mkey_entry>* link = find_link(check_bytes(mcheck));
  if (*link == nullptr) return 0;
  remove_entry(*link);
  return 1;
}

void ko_enc_mkey_expire_incomplete(std::uint32_t max_age) {
  std::unique_ptr<mkey_entry>* link = &enc_mkey_list;
  while (*link != nullptr) {
    const mkey_entry* k = link->get();
    if (k->state == MKEY_INCOMPLETE &&
        std::uint64_t{k->creation_time} + max_age <= global_time_stamp) {
      remove_entry(*link);
    } else {
      link = &(*link)->next;
    }
  }
}

void ko_enc_mkey_exit() { remove_all(); }
