// Key contexts: what a log announces of a database's keys.

#include "util/chronex/keys/key_context.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "common/byte_cursor.h"
#include "common/md5.h"
#include "common/owned_bytes.h"
#include "common/wipe.h"
#include "server/misc/keyutil.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

// The longest key that can be enciphered under a master key.
constexpr std::size_t WORK_AREA_SIZE = 32;

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

bool keep_payload(byte_run payload, db_key_context& context,
                  run_messages& messages) {
  auto kept = std::make_shared<key_bytes>();
  if (!kept->copy_from(payload)) {
    messages.perror("malloc");
    messages.print("Unable to allocate database encryption key context\n");
    return false;
  }
  context.payload = std::move(kept);
  return true;
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
  if (trail.keeps_stored && !keep_payload(payload, *context, trail.messages)) {
    return {nullptr, nullptr};
  }
  // The crypto layer prints its messages itself.
  trail.messages.make_way();
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

std::span<const std::uint8_t> node_key_payload(const db_key_context& context) {
  return context.payload ? context.payload->bytes() : byte_run();
}

std::size_t node_key_count(const db_key_context& context) {
  return context.count;
}

void node_cleanup_db_key_context(db_key_context* context) {
  // The keys wipe themselves when they are released.
  std::default_delete<db_key_context>()(context);
}
