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

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/filter_context.h"

// Whether the relation `name code value` holds for the event's session: 1 or 0,
// or a negative EXPR_ERROR_ code.
int expr_filter_session_attribute(const filter_context& context,
                                  expr_token code, const expr_entry& name,
                                  expr_entry& value);

// Returns the value of the first attribute of the sign-on data whose key `name`
// begins with, cut to 4095 characters, or null when there is none. The text is
// zero-terminated, the module's, and valid until the next call.
const char* expr_get_session_entry(const filter_context& context,
                                   const char* name);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_SESSION_ATTRIBUTE_H
