#include "util/chronex/tables/session.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "common/byte_cursor.h"

namespace {

constexpr std::string_view CONNTIME_KEY = "conntime";

bool same_bytes(const owned_bytes& a, const owned_bytes& b) {
  return a.size() == b.size() &&
         (a.size() == 0 || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

// The position of the "}" that closes a value beginning at `begin`, or npos.
std::size_t closing_brace(std::string_view text, std::size_t begin) {
  for (std::size_t i = begin; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '}') {
      return i;
    }
  }
  return std::string_view::npos;
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

// Looks for conntime among the key{value} pairs of a sign-on string. A key
// counts as conntime when it is the beginning of that word.
std::uint32_t find_conntime(std::string_view text) {
  std::uint32_t conntime = 0;
  std::size_t position = 0;
  for (;;) {
    const std::size_t brace = text.find('{', position);
    if (brace == std::string_view::npos) return conntime;
    const std::string_view key = text.substr(position, brace - position);
    const std::size_t close = closing_brace(text, brace + 1);
    if (close == std::string_view::npos) return conntime;
    if (key.size() <= CONNTIME_KEY.size() &&
        strncasecmp(key.data(), CONNTIME_KEY.data(), key.size()) == 0) {
      parse_conntime(text.substr(brace + 1, close - brace - 1), conntime);
      return conntime;
    }
    position = close + 1;
  }
}

// The connection time that the first sign-on string gives; 0 = none.
std::uint32_t sign_on_conntime(const owned_bytes& sign_on) {
  byte_cursor cursor(sign_on.bytes());
  std::uint16_t count = 0;
  std::uint16_t length = 0;
  if (!cursor.u16(count) || count == 0 || !cursor.u16(length)) return 0;
  const auto rest = cursor.rest();
  return find_conntime({reinterpret_cast<const char*>(rest.data()),
                        std::min<std::size_t>(length, rest.size())});
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

session_entry* session_table::session_get_entry(std::int32_t session_id) {
  session_entry* const known = recent_.find(session_id);
  if (known != nullptr) return known;
  session_entry* found =
      session_hash_.find(keyed_hash(static_cast<std::uint32_t>(session_id)),
                         [session_id](const session_entry& entry) {
                           return entry.session_id == session_id;
                         });
  if (found != nullptr) recent_.remember(session_id, found);
  return found;
}

session_entry* session_table::new_entry(std::int32_t session_id) {
  std::unique_ptr<session_entry> entry;
  if (session_hash_.reserve()) entry = try_make<session_entry>();
  if (!entry) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate session entry #%d\n", session_id);
    return nullptr;
  }
  entry->session_id = session_id;
  return &session_hash_.insert(
      keyed_hash(static_cast<std::uint32_t>(session_id)), std::move(entry));
}

session_entry* session_table::session_add_entry(std::int32_t session_id,
                                                owned_bytes sign_on) {
  session_entry* entry = session_get_entry(session_id);
  if (entry != nullptr) {
    entry->signed_off = false;
    if (same_bytes(entry->sign_on, sign_on)) return nullptr;
    entry->shown_by = 0;
  } else {
    entry = new_entry(session_id);
    if (entry == nullptr) return nullptr;
  }
  entry->looked_up.clear();
  entry->sign_on = std::move(sign_on);
  entry->sign_on_id = ++last_sign_on_id_;
  entry->conntime = sign_on_conntime(entry->sign_on);
  return entry;
}

void session_table::session_cleanup() {
  recent_.forget();
  session_hash_.remove_if(
      [](const session_entry& entry) { return entry.signed_off; });
}

void session_set_dbbegin_end(session_entry& entry, owned_bytes text,
                             std::int32_t size, std::uint32_t mode,
                             std::uint32_t timestamp,
                             const event_place& place) {
  set_memo(entry.dbbegin_end, std::move(text), size, mode, timestamp, place);
}

void session_set_dbmemo(session_entry& entry, owned_bytes text,
                        std::int32_t size, std::uint32_t timestamp,
                        const event_place& place) {
  set_memo(entry.dbmemo, std::move(text), size, MEMO_DBMEMO, timestamp, place);
}
