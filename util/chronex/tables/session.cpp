#include "util/chronex/tables/session.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "common/same_text.h"
#include "util/chronex/tables/sign_on_data.h"

namespace {

constexpr std::string_view CONNTIME_KEY = "conntime";

bool same_bytes(const owned_bytes& a, const owned_bytes& b) {
  return a.size() == b.size() &&
         (a.size() == 0 || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

// A connection time: a whole decimal number that begins with a digit.
bool parse_conntime(std::string_view value, std::uint32_t& conntime) {
  if (value.empty() || value[0] < '0' || value[0] > '9') return false;
  const std::string text(value);
  char* end = nullptr;
  errno = 0;
  const long number = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || end != text.c_str() + text.size()) return false;
  if (number > UINT32_MAX) return false;
  conntime = static_cast<std::uint32_t>(number);
  return true;
}

// The connection time that the first sign-on string gives; 0 = none. A key
// counts as conntime when it is the beginning of that word; the first that
// does decides.
std::uint32_t sign_on_conntime(const owned_bytes& sign_on) {
  sign_on_strings strings(sign_on.bytes());
  std::string_view text;
  if (!strings.next(text)) return 0;
  sign_on_pairs pairs(text);
  std::string_view key;
  std::string_view value;
  std::uint32_t conntime = 0;
  while (pairs.next(key, value)) {
    if (same_text(key, CONNTIME_KEY.substr(0, key.size()))) {
      parse_conntime(value, conntime);
      break;
    }
  }
  return conntime;
}

void set_memo(memo_slot& slot, owned_bytes text, std::int32_t size,
              std::uint32_t mode, std::uint32_t timestamp,
              const event_place& place) {
  if (size < 1) {
    slot = memo_slot();
    return;
  }
  slot.data = std::move(text);
  slot.size = size;
  slot.mode = mode;
  slot.timestamp = timestamp;
  slot.pending = true;
  slot.place = place;
}

}  // namespace

session_entry* session_table::new_entry(std::int32_t session_id) {
  session_entry* const entry = session_hash_.add(session_id);
  if (entry == nullptr) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate session entry #%d\n", session_id);
    return nullptr;
  }
  entry->session_id = session_id;
  return entry;
}

session_entry* session_table::session_add_entry(std::int32_t session_id,
                                                owned_bytes sign_on) {
  session_entry* entry = session_get_entry(session_id);
  if (entry != nullptr) {
    entry->signed_off = false;
    entry->is_uncertain = false;
    if (same_bytes(entry->sign_on, sign_on)) return nullptr;
    entry->shown_by = 0;
  } else {
    entry = new_entry(session_id);
    if (entry == nullptr) return nullptr;
  }
  entry->verdicts = {};
  entry->sign_on = std::move(sign_on);
  entry->sign_on_id = ++last_sign_on_id_;
  entry->conntime = sign_on_conntime(entry->sign_on);
  return entry;
}

void session_table::make_uncertain() {
  session_hash_.for_each([](session_entry& entry) {
    entry.is_uncertain = true;
    ++entry.transaction_memos;
    entry.dbbegin_end = memo_slot();
    entry.dbmemo = memo_slot();
  });
}

void session_set_dbbegin_end(session_entry& entry, owned_bytes text,
                             std::int32_t size, std::uint32_t mode,
                             std::uint32_t timestamp,
                             const event_place& place) {
  entry.may_have_pending_memo = true;
  ++entry.transaction_memos;
  set_memo(entry.dbbegin_end, std::move(text), size, mode, timestamp, place);
}

void session_set_dbmemo(session_entry& entry, owned_bytes text,
                        std::int32_t size, std::uint32_t timestamp,
                        const event_place& place) {
  entry.may_have_pending_memo = true;
  set_memo(entry.dbmemo, std::move(text), size, MEMO_DBMEMO, timestamp, place);
}
