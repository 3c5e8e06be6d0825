#ifndef CHRONEX_UTIL_CHRONEX_FILTER_SESSION_ATTRIBUTE_H
#define CHRONEX_UTIL_CHRONEX_FILTER_SESSION_ATTRIBUTE_H

// The relations of filter expressions on session attributes, such as
// user = {JOHN*}: a name and a value in braces.
//
//   id              the session id
//   conntime        the connection time
//   dbbegin, dbend  the text of the latest DBBEGIN or DBEND memo, if the latest
//                   of both is of that mode
//   dbmemo          the text of the latest DBMEMO memo
//   any other name  an attribute of the session's sign-on data
//
// Texts are compared without regard to case, for = and <> as wildcard patterns
// and otherwise up to their first zero byte. What is missing makes a relation
// false, whatever its operator.

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/filter_context.h"

// What the name of a session attribute relation stands for.
enum class session_attribute {
  id,
  conntime,
  dbbegin,
  dbend,
  dbmemo,
  sign_on,  // any other name: among the sign-on data
};

session_attribute session_attribute_of(const std::string& name);

// A pair of name and value, read once for all events.
struct attribute_value {
  session_attribute attribute = session_attribute::sign_on;
  // The EXPR_ERROR_ code of a value that cannot be read. It counts only when
  // the relation is evaluated.
  int error = 0;
  // The value of an id or a connection time.
  std::int64_t number = 0;
};

attribute_value expr_read_attribute_value(const expr_entry& name,
                                          const expr_entry& value);

// Whether the relation `name code value` holds for the event's session. `read`
// is what expr_read_attribute_value gives for name and value, without error.
bool expr_filter_session_attribute(const filter_context& context,
                                   expr_token code, const expr_entry& name,
                                   const expr_entry& value,
                                   const attribute_value& read);

// Returns the value of the first attribute of the sign-on data whose key `name`
// begins with, as it stands there, with its backslashes.
std::optional<std::string_view> find_sign_on_attribute(
    std::span<const std::uint8_t> sign_on, const char* name);

// Room for the text of one attribute; longer ones are cut.
using attribute_text = std::array<char, 4096>;

// The same for the event's session, in `text`, without the backslashes, cut to
// 4095 characters and zero-terminated; null when there is none.
const char* expr_get_session_entry(const filter_context& context,
                                   const char* name, attribute_text& text);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_SESSION_ATTRIBUTE_H
