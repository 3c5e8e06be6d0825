#include "util/chronex/filter/session_attribute.h"

#include <strings.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>

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

int scan_id(const std::string& text, std::int64_t& number) {
  if (text.empty() || text[0] < '0' || text[0] > '9') return EXPR_ERROR_NUMBER;
  char* end = nullptr;
  errno = 0;
  number = std::strtol(text.c_str(), &end, 10);
  return errno == 0 && end == text.c_str() + text.size() ? 0
                                                         : EXPR_ERROR_NUMBER;
}

int scan_conntime(const std::string& text, std::int64_t& time) {
  const date_time_literal literal = scan_date_time(text);
  if (literal.status != date_time_status::found ||
      literal.length != text.size()) {
    return EXPR_ERROR_TIME;
  }
  time = literal.time;
  return 0;
}

// `text` is followed by a zero byte that it does not count.
bool test_text(expr_token code, std::string_view text,
               const expr_entry& value) {
  const bool wants_match = code == EXPR_TOKEN_EQUAL;
  if (wants_match || code == EXPR_TOKEN_NOT_EQUAL) {
    return match(text, value.text, false) == wants_match;
  }
  return expr_compare(code, strcasecmp(text.data(), value.text.c_str()));
}

bool test_memo(expr_token code, const memo_slot& slot, std::uint32_t mode,
               const expr_entry& value) {
  if (slot.mode != mode || slot.size < 1) return false;
  const auto* const text = reinterpret_cast<const char*>(slot.data.data());
  return test_text(code, {text, static_cast<std::size_t>(slot.size)}, value);
}

}  // namespace

session_attribute session_attribute_of(const std::string& name) {
  for (const attribute_name& entry : ATTRIBUTE_NAMES) {
    if (strcasecmp(name.c_str(), entry.text) == 0) return entry.attribute;
  }
  return session_attribute::sign_on;
}

attribute_value expr_read_attribute_value(const expr_entry& name,
                                          const expr_entry& value) {
  attribute_value read;
  read.attribute = session_attribute_of(name.text);
  if (read.attribute == session_attribute::id) {
    read.error = scan_id(value.text, read.number);
  } else if (read.attribute == session_attribute::conntime) {
    read.error = scan_conntime(value.text, read.number);
  }
  return read;
}

std::optional<std::string_view> find_sign_on_attribute(
    std::span<const std::uint8_t> sign_on, const char* name) {
  sign_on_strings strings(sign_on);
  std::string_view text;
  while (strings.next(text)) {
    sign_on_pairs pairs(text);
    std::string_view key;
    std::string_view value;
    while (pairs.next(key, value)) {
      // The name must begin with the key, not the other way round.
      if (strncasecmp(name, key.data(), key.size()) == 0) return value;
    }
  }
  return std::nullopt;
}

const char* expr_get_session_entry(const filter_context& context,
                                   const char* name, attribute_text& text) {
  const std::optional<std::string_view> value =
      find_sign_on_attribute(context.session->sign_on.bytes(), name);
  if (!value) return nullptr;
  const auto room = std::span(text).first(text.size() - 1);
  text[sign_on_copy_value(*value, room)] = '\0';
  return text.data();
}

bool expr_filter_session_attribute(const filter_context& context,
                                   expr_token code, const expr_entry& name,
                                   const expr_entry& value,
                                   const attribute_value& read) {
  const session_entry& session = *context.session;
  switch (read.attribute) {
    case session_attribute::id:
      // The value may be any 64-bit number; a difference could overflow.
      return expr_compare(code, (session.session_id > read.number) -
                                    (session.session_id < read.number));
    case session_attribute::conntime:
      return session.conntime != 0 &&
             expr_compare(code, session.conntime - read.number);
    case session_attribute::dbbegin:
      return test_memo(code, session.dbbegin_end, MEMO_DBBEGIN, value);
    case session_attribute::dbend:
      return test_memo(code, session.dbbegin_end, MEMO_DBEND, value);
    case session_attribute::dbmemo:
      return test_memo(code, session.dbmemo, MEMO_DBMEMO, value);
    case session_attribute::sign_on:
      break;
  }
  attribute_text buffer;
  const char* const text =
      expr_get_session_entry(context, name.text.c_str(), buffer);
  return text != nullptr && test_text(code, text, value);
}
