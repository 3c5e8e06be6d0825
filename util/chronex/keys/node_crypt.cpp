#include "util/chronex/keys/node_crypt.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <cstring>

#include "common/byte_cursor.h"
#include "util/chronex/keys/key_context.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::size_t BLOCK_SIZE = AES_BLOCK_SIZE;
constexpr std::size_t CHAIN_SIZE = sizeof(std::uint32_t);

// Looked up instead of the record's key while decryption is disabled: what a
// key context can be expected not to hold.
constexpr std::uint32_t DISABLED_KEY_ID = 0xFFFFFFFF;

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

const key_entry* find_key(const db_key_context* context, std::uint32_t key_id) {
  if (context == nullptr) return nullptr;
  const std::span entries(context->entries.get(), context->count);
  const auto found = std::ranges::find(entries, key_id, &key_entry::key_id);
  if (found == entries.end() || !is_usable(*found)) return nullptr;
  return &*found;
}

}  // namespace

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
