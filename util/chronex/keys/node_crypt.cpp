#include "util/chronex/keys/node_crypt.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>

#include "common/byte_cursor.h"
#include "common/crypto_api.h"
#include "common/key_memory.h"
#include "common/md5.h"
#include "common/owned_bytes.h"
#include "common/wipe.h"
#include "server/misc/keyutil.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::uint16_t KEY_TYPE_NONE = 0;
constexpr std::uint16_t KEY_TYPE_XOR = 1;
constexpr std::uint16_t KEY_TYPE_AES = 2;
constexpr std::uint16_t KEY_TYPE_AES_3 = 3;

// The longest key that can be enciphered under a master key.
constexpr std::size_t WORK_AREA_SIZE = 32;
constexpr std::size_t BLOCK_SIZE = AES_BLOCK_SIZE;
constexpr std::size_t CHAIN_SIZE = sizeof(std::uint32_t);

// Looked up instead of the record's key while decryption is disabled: what a
// key context can be expected not to hold.
constexpr std::uint32_t DISABLED_KEY_ID = 0xFFFFFFFF;

struct key_entry {
  std::uint32_t key_id = 0;
  std::uint16_t type = 0;
  std::uint16_t key_len = 0;
  // The usable key: plain bytes for XOR, a key object for AES.
  key_bytes xor_key;
  aes_key_ptr aes_key;
};

// A key entry as it stands in the payload.
struct payload_entry {
  std::uint32_t key_id = 0;
  std::uint16_t type = 0;
  byte_run key;
  byte_run checksum;
  byte_run master_check;
};

bool next_entry(byte_cursor& payload, payload_entry& entry) {
  std::uint16_t key_len = 0;
  std::uint8_t checksum_len = 0;
  std::uint8_t master_check_len = 0;
  return payload.u32(entry.key_id) && payload.u16(entry.type) &&
         payload.u16(key_len) && payload.bytes(key_len, entry.key) &&
         payload.u8(checksum_len) &&
         payload.bytes(checksum_len, entry.checksum) &&
         payload.u8(master_check_len) &&
         payload.bytes(master_check_len, entry.master_check);
}

int signed_id(const payload_entry& entry) {
  return static_cast<int>(entry.key_id);
}

// Deciphers a key under its master key into the work area. Returns what
// ko_enc_mkey_crypt returns: 1, or 0 or -1 when the key cannot be had.
int decipher_key(const payload_entry& entry,
                 std::span<std::uint8_t, WORK_AREA_SIZE> work_area) {
  if (entry.key.size() > work_area.size()) return -1;
  std::ranges::copy(entry.key, work_area.begin());
  return ko_enc_mkey_crypt(entry.master_check,
                           work_area.first(entry.key.size()), false);
}

void report_no_master_key(const payload_entry& entry, bool refused,
                          trail& trail) {
  trail.messages.print(
      "WARNING: encryption key %d is ignored: required master key not "
      "present\n",
      signed_id(entry));
  if (refused) {
    trail.messages.print("*** Failed to decrypt data encryption key");
  }
  trail.notice(
      notice_kind::ignored_key,
      format_text("WARNING: while the original forward-log was processed, "
                  "encryption key %d was ignored because the required master "
                  "key was not present\n",
                  signed_id(entry)));
}

// Checks the plain key against the entry's checksum, if there is one. A key
// that fails is reported.
bool verify_checksum(const payload_entry& entry, byte_run key, trail& trail) {
  if (entry.checksum.empty()) return true;
  if (entry.checksum.size() != MD5_DIGEST_SIZE) {
    const int length = static_cast<int>(entry.checksum.size());
    trail.messages.print(
        "WARNING: encryption key %d is ignored: unexpected checksum length "
        "(%d)\n",
        signed_id(entry), length);
    trail.notice(
        notice_kind::ignored_key,
        format_text("WARNING: while the original forward-log was processed, "
                    "encryption key %d was ignored due to an unexpected "
                    "checksum length (%d)",
                    signed_id(entry), length));
    return false;
  }
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, key);
  if (std::ranges::equal(ko__MD5Final(context), entry.checksum)) return true;
  trail.messages.print(
      "WARNING: encryption key %d is ignored: checksum does not match\n",
      signed_id(entry));
  trail.notice(
      notice_kind::ignored_key,
      format_text("WARNING: while the original forward-log was processed, "
                  "encryption key %d was ignored because its checksum did not "
                  "match",
                  signed_id(entry)));
  return false;
}

// Makes the usable key. Returns false, with its message printed, when the whole
// context fails.
bool make_key(const payload_entry& entry, byte_run key, key_entry& slot,
              run_messages& messages) {
  switch (entry.type) {
    case KEY_TYPE_XOR:
      if (slot.xor_key.copy_from(key)) return true;
      messages.perror("malloc");
      messages.print("Unable to allocate XOR key (%d bytes)\n",
                     static_cast<int>(key.size()));
      return false;
    case KEY_TYPE_AES:
    case KEY_TYPE_AES_3:
      slot.aes_key = ko_enc__set_aes_key(key, AES_MODE_DECRYPT);
      return slot.aes_key != nullptr;
    default:
      messages.print("Encryption key %d has unsupported type %d\n",
                     signed_id(entry), int{entry.type});
      return false;
  }
}

enum class entry_fate { kept, dropped, failed };

entry_fate take_entry(const payload_entry& entry, key_entry& slot,
                      trail& trail) {
  slot.key_id = entry.key_id;
  slot.type = entry.type;
  slot.key_len = static_cast<std::uint16_t>(entry.key.size());
  if (entry.key.empty()) return entry_fate::kept;

  std::array<std::uint8_t, WORK_AREA_SIZE> work_area{};
  const wipe_guard guard(work_area.data(), work_area.size());
  byte_run key = entry.key;
  if (!entry.master_check.empty()) {
    const int result = decipher_key(entry, work_area);
    if (result != 1) {
      report_no_master_key(entry, result < 0, trail);
      return entry_fate::dropped;
    }
    key = byte_run(work_area).first(entry.key.size());
  }
  if (!verify_checksum(entry, key, trail)) return entry_fate::dropped;
  return make_key(entry, key, slot, trail.messages) ? entry_fate::kept
                                                    : entry_fate::failed;
}

bool decryption_disabled() {
  static const bool disabled = [] {
    const char* setting = std::getenv("KODB_NO_DECRYPT");
    return setting != nullptr && std::strtol(setting, nullptr, 10) == 1;
  }();
  return disabled;
}

bool is_usable(const key_entry& entry) {
  switch (entry.type) {
    case KEY_TYPE_NONE:
      return true;
    case KEY_TYPE_XOR:
      return entry.key_len == BLOCK_SIZE;
    default:
      return entry.aes_key != nullptr;
  }
}

using cipher_block = std::span<const std::uint8_t, BLOCK_SIZE>;
using plain_block = std::span<std::uint8_t, BLOCK_SIZE>;

// The bytes of a block, as words: XOR does not care about byte order.
struct block_words {
  std::uint64_t first;
  std::uint64_t second;
};
static_assert(sizeof(block_words) == BLOCK_SIZE);

block_words load_words(const std::uint8_t* block) {
  block_words words;
  std::memcpy(&words, block, sizeof words);
  return words;
}

void store_xor(plain_block out, block_words a, block_words b) {
  const block_words words{a.first ^ b.first, a.second ^ b.second};
  std::memcpy(out.data(), &words, sizeof words);
}

void decrypt_block_xor(const key_entry& key, cipher_block in, plain_block out) {
  assert(key.key_len == 16);
  store_xor(out, load_words(key.xor_key.data()), load_words(in.data()));
}

void decrypt_block_aes(const key_entry& key, cipher_block in, plain_block out) {
  ko_enc__aes_decrypt(key.aes_key.get(), in, out);
}

void decrypt_block_nop(const key_entry& /*key*/, cipher_block in,
                       plain_block out) {
  std::ranges::copy(in, out.begin());
}

// The encrypted items of one stored record, deciphered front to back. Plain
// byte j of a block is byte j of the deciphered block, XORed with byte j modulo
// 4 of the chaining value: the record's initial one for the first block (and
// for every block where there is no chaining), the first bytes of the
// enciphered block before it for all others.
class item_stream {
 public:
  // `enciphered` begins with the initial chaining value and goes on with whole
  // blocks.
  item_stream(const key_entry& key, byte_run enciphered)
      : key_(key),
        chained_(key.type != KEY_TYPE_NONE),
        chain_(enciphered.data()),
        blocks_(enciphered.subspan(CHAIN_SIZE)) {
    if (key.type == KEY_TYPE_XOR) {
      decrypt_block_ = decrypt_block_xor;
    } else if (key.type == KEY_TYPE_NONE) {
      decrypt_block_ = decrypt_block_nop;
    }
  }

  void read(std::span<std::uint8_t> plain) {
    while (!plain.empty()) {
      if (position_ == BLOCK_SIZE) next_block();
      const std::size_t run = std::min(plain.size(), BLOCK_SIZE - position_);
      std::memcpy(plain.data(), block_.data() + position_, run);
      position_ += run;
      plain = plain.subspan(run);
    }
  }

  bool at_end() const { return blocks_.empty(); }

 private:
  void next_block() {
    if (chained_ && previous_ != nullptr) chain_ = previous_;
    decrypt_block_(key_, blocks_.first<BLOCK_SIZE>(), block_);
    const std::uint64_t chain = load_u32(chain_);
    const std::uint64_t repeated = chain << 32U | chain;
    store_xor(block_, load_words(block_.data()), {repeated, repeated});
    previous_ = blocks_.data();
    blocks_ = blocks_.subspan(BLOCK_SIZE);
    position_ = 0;
  }

  const key_entry& key_;
  bool chained_;
  void (*decrypt_block_)(const key_entry&, cipher_block,
                         plain_block) = decrypt_block_aes;
  const std::uint8_t* chain_;
  byte_run blocks_;
  const std::uint8_t* previous_ = nullptr;
  std::array<std::uint8_t, BLOCK_SIZE> block_{};
  std::size_t position_ = BLOCK_SIZE;
};

// What stands for an encrypted item whose key is not available.
void put_fill_values(const item_descriptor& item,
                     std::span<std::uint8_t> place) {
  std::uint8_t fill = 0;
  if (item.type == 'X' || item.type == 'U') fill = ' ';
  if (item.type == 'Z') fill = '0';
  std::ranges::fill(place, fill);
  if (item.type != 'P') return;
  for (std::size_t i = item.size; i <= place.size(); i += item.size) {
    place[i - 1] = 0x0F;
  }
}

}  // namespace

struct db_key_context {
  // The kept entries, and room for as many as the payload had.
  std::uint16_t count = 0;
  std::unique_ptr<key_entry[]> entries;
};

namespace {

const key_entry* find_key(const db_key_context* context, std::uint32_t key_id) {
  if (context == nullptr) return nullptr;
  const std::span entries(context->entries.get(), context->count);
  const auto found = std::ranges::find(entries, key_id, &key_entry::key_id);
  if (found == entries.end() || !is_usable(*found)) return nullptr;
  return &*found;
}

db_key_context_ptr allocate_context(std::size_t entry_count,
                                    run_messages& messages) {
  db_key_context_ptr context(try_make<db_key_context>().release(),
                             node_cleanup_db_key_context);
  if (context) {
    context->entries = try_make_array<key_entry>(entry_count);
  }
  if (!context || !context->entries) {
    messages.perror("calloc");
    messages.print("Unable to allocate database encryption key context\n");
    return {nullptr, nullptr};
  }
  return context;
}

}  // namespace

db_key_context_ptr node_create_db_key_context(byte_run payload, trail& trail,
                                              std::string& problem) {
  std::size_t entry_count = 0;
  payload_entry entry;
  for (byte_cursor cursor(payload); cursor.remaining() > 0; ++entry_count) {
    if (next_entry(cursor, entry)) continue;
    problem = "Entry " + std::to_string(entry_count + 1) +
              " of database encryption key context exceeds its size (" +
              std::to_string(payload.size()) + " bytes)";
    return {nullptr, nullptr};
  }
  db_key_context_ptr context = allocate_context(entry_count, trail.messages);
  if (!context) return context;
  const trace_guard traces;
  // The crypto layer prints its messages itself.
  trail.messages.let_out();
  for (byte_cursor cursor(payload); next_entry(cursor, entry);) {
    switch (take_entry(entry, context->entries[context->count], trail)) {
      case entry_fate::kept:
        ++context->count;
        break;
      case entry_fate::dropped:
        break;
      case entry_fate::failed:
        return {nullptr, nullptr};
    }
  }
  return context;
}

void node_cleanup_db_key_context(db_key_context* context) {
  // The keys wipe themselves when they are released.
  std::default_delete<db_key_context>()(context);
}

bool node_decrypt_record(const db_key_context* context, const set_context& set,
                         std::span<std::uint8_t> user, byte_run media) {
  assert(set.enc_offs >= 0);
  const byte_run stored = media.first(static_cast<std::size_t>(set.media_sz));
  const byte_run enciphered =
      stored.subspan(static_cast<std::size_t>(set.enc_offs));
  std::uint32_t key_id = load_u32(enciphered.data());
  if (decryption_disabled()) key_id = DISABLED_KEY_ID;
  const key_entry* key = find_key(context, key_id);
  static const key_entry NO_KEY;
  item_stream stream(key != nullptr ? *key : NO_KEY,
                     enciphered.subspan(sizeof key_id));

  byte_run plain_items = stored;
  std::span<std::uint8_t> destination = user;
  for (const item_descriptor& item : set.item_list()) {
    const std::size_t size = std::size_t{item.count} * item.size;
    const std::span<std::uint8_t> place = destination.first(size);
    if ((item.fmt & ITEM_FMT_ENCRYPTED) == 0) {
      std::memcpy(place.data(), plain_items.data(), size);
      plain_items = plain_items.subspan(size);
    } else if (key == nullptr) {
      put_fill_values(item, place);
    } else {
      stream.read(place);
    }
    destination = destination.subspan(size);
  }
  assert(key == nullptr || stream.at_end());
  assert(destination.empty());
  return key != nullptr;
}
