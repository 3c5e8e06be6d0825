#include "util/chronex/filter/session_attribute.h"

#include <strings.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "util/chronex/filter/date_time.h"
#include "util/chronex/filter/match.h"
#include "util/chronex/tables/session.h"
#include "util/chronex/tables/sign_on_data.h"

namespace {

struct attribute_name {
  const char* text;
  session_attribute attribute;
};

constexpr attribute_name ATTRIBUTE_NAMES[] = {
    {"id", session_attribute::id},
    {"conntime", session_attribute::conntime},
    {"dbbegin", session_attribute::dbbegin},
    {"dbend", session_attribute::dbend},
    {"dbmemo", session_attribute::dbmemo},
};

// The value of the sign-on attribute that was looked up last, and a zero byte.
std::array<char, 4096> attribute_value;

session_attribute attribute_of(const std::string& name) {
  for (const attribute_name& entry : ATTRIBUTE_NAMES) {
    if (strcasecmp(name.c_str(), entry.text) == 0) return entry.attribute;
  }
  return session_attribute::sign_on;
}

int scan_id(expr_entry& value) {
  const char* const text = value.text.c_str();
  if (*text < '0' || *text > '9') return EXPR_ERROR_NUMBER;
  char* end = nullptr;
  errno = 0;
  value.number = std::strtol(text, &end, 10);
  return errno == 0 && end == text + value.text.size() ? 0 : EXPR_ERROR_NUMBER;
}

int scan_conntime(expr_entry& value) {
  const date_time_literal literal = scan_date_time(value.text);
  if (literal.status != date_time_status::found ||
      literal.length != value.text.size()) {
    return EXPR_ERROR_TIME;
  }
  value.number = literal.time;
  return 0;
}

// Finds out once what the relation is about. A value that cannot be read is met
// again at the next evaluation.
int resolve(const expr_entry& name, expr_entry& value) {
  const session_attribute attribute = attribute_of(name.text);
  int rc = 0;
  if (attribute == session_attribute::id) rc = scan_id(value);
  if (attribute == session_attribute::conntime) rc = scan_conntime(value);
  if (rc == 0) value.attribute = attribute;
  return rc;
}

// `text` is followed by a zero byte that it does not count.
int test_text(expr_token code, std::string_view text, const expr_entry& value) {
  const bool wants_match = code == EXPR_TOKEN_EQUAL;
  if (wants_match || code == EXPR_TOKEN_NOT_EQUAL) {
    return match(text, value.text, false) == wants_match ? 1 : 0;
  }
  return expr_compare(code, strcasecmp(text.data(), value.text.c_str()));
}

int test_memo(expr_token code, const memo_slot& slot, std::uint32_t mode,
              const expr_entry& value) {
  if (slot.mode != mode || slot.size < 1) return 0;
  const auto* const text = reinterpret_cast<const char*>(slot.data.data());
  return test_text(code, {text, static_cast<std::size_t>(slot.size)}, value);
}

// Leaves the value of the first pair that matches in attribute_value.
bool find_pair(std::string_view text, const char* name) {
  sign_on_pairs pairs(text);
  std::string_view key;
  std::string_view value;
  while (pairs.next(key, value)) {
    // The name must begin with the key, not the other way round.
    if (strncasecmp(name, key.data(), key.size()) != 0) continue;
    const auto room = std::span(attribute_value).first<4095>();
    attribute_value[sign_on_copy_value(value, room)] = '\0';
    return true;
  }
  return false;
}

// Leaves the value of the first pair of all strings that matches in
// attribute_value.
bool find_attribute(const session_entry& session, const char* name) {
  sign_on_strings strings(session.sign_on.bytes());
  std::string_view text;
  while (strings.next(text)) {
    if (find_pair(text, name)) return true;
  }
  return false;
}

}  // namespace

const char* expr_get_session_entry(const filter_context& context,
                                   const char* name) {
  const session_entry& session = *context.session;
  for (const looked_up_attribute& known : session.looked_up) {
    if (known.name == name) return known.value ? known.value->c_str() : nullptr;
  }
  const char* value =
      find_attribute(session, name) ? attribute_value.data() : nullptr;
  try {
    looked_up_attribute& found = session.looked_up.emplace_back();
    found.name = name;
    if (value != nullptr) found.value = value;
  } catch (const std::bad_alloc&) {
    // Then it is looked for again; half an entry must not stay.
    session.looked_up.clear();
  }
  return value;
}

int expr_filter_session_attribute(const filter_context& context,
                                  expr_token code, const expr_entry& name,
                                  expr_entry& value) {
  if (value.attribute == session_attribute::unresolved) {
    const int rc = resolve(name, value);
    if (rc != 0) return rc;
  }
  const session_entry& session = *context.session;
  switch (value.attribute) {
    case session_attribute::id:
      // The value may be any 64-bit number; a difference could overflow.
      return expr_compare(code, (session.session_id > value.number) -
                                    (session.session_id < value.number));
    case session_attribute::conntime:
      if (session.conntime == 0) return 0;
      return expr_compare(code, session.conntime - value.number);
    case session_attribute::dbbegin:
      return test_memo(code, session.dbbegin_end, MEMO_DBBEGIN, value);
    case session_attribute::dbend:
      return test_memo(code, session.dbbegin_end, MEMO_DBEND, value);
    case session_attribute::dbmemo:
      return test_memo(code, session.dbmemo, MEMO_DBMEMO, value);
    default:
      break;
  }
  const char* const text = expr_get_session_entry(context, name.text.c_str());
  return text == nullptr ? 0 : test_text(code, text, value);
}
