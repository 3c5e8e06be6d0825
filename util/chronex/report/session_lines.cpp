// What the report shows of sessions.

#include <algorithm>
#include <cstring>
#include <string_view>

#include "util/chronex/report/clear_text_report.h"
#include "util/chronex/report/hexdump.h"
#include "util/chronex/tables/session.h"
#include "util/chronex/tables/sign_on_data.h"

namespace {

// Longer sign-on strings are shown up to here, with " ..." after it.
constexpr std::size_t SHOWN_STRING_SIZE = 256;

void put_memo_mode(report_stream& out, std::uint32_t mode) {
  switch (mode) {
    case MEMO_DBBEGIN:
      out.put("DBBEGIN");
      break;
    case MEMO_DBEND:
      out.put("DBEND");
      break;
    case MEMO_DBMEMO:
      out.put("DBMEMO");
      break;
    default:
      out.put_signed(static_cast<std::int32_t>(mode));
  }
}

}  // namespace

// Prints every string of the sign-on data on a line of its own.
void clear_text_report::report_sign_on_strings(const session_entry& session) {
  report_stream& out = *report.fp;
  sign_on_strings strings(session.sign_on.bytes());
  std::string_view text;
  while (strings.next(text)) {
    const std::size_t shown =
        strnlen(text.data(), std::min(text.size(), SHOWN_STRING_SIZE));
    out.put(' ');
    out.put_foreign(text.substr(0, shown));
    if (text.size() > SHOWN_STRING_SIZE) out.put(" ...");
    out.put('\n');
  }
}

void clear_text_report::report_sign_on(const session_entry& session) {
  print_conditional_newline();
  report_stream& out = *report.fp;
  out.put("SIGN-ON session:");
  out.put_signed(session.session_id);
  if (session.conntime != 0) {
    out.put(" connection time: ");
    out.put(local_time_.text(session.conntime));
  }
  out.put('\n');
  if (report.sign_on_level >= 2) report_sign_on_strings(session);
}

// Sign-ons are shown where what they introduce is shown.
bool clear_text_report::is_of_interest(sign_on_caller caller) const {
  if (report.fp == nullptr || report.sign_on_level < 1) return false;
  if (caller == sign_on_caller::image_operation) {
    return report.image_level != 0 || report.image_dump != 0;
  }
  return report.memo_level != 0 || report.memo_dump != 0;
}

sign_on_result clear_text_report::sign_on(const session_entry& session,
                                          sign_on_caller caller,
                                          const event_place& /*place*/) {
  if (!is_of_interest(caller)) return sign_on_result::not_shown;
  report_sign_on(session);
  return sign_on_result::shown;
}

int clear_text_report::sign_off(const session_entry& session,
                                const event_place& /*place*/) {
  if (report.fp == nullptr || report.sign_off_level < 1) return 0;
  print_conditional_newline();
  report.fp->put("SIGN-OFF session:");
  report.fp->put_signed(session.session_id);
  report.fp->put('\n');
  return 0;
}

// A memo that an operation released is shown only where operations are shown.
int clear_text_report::memo(const memo_view& memo) {
  if (!memo.held_back || shows_operations()) report_session_memo(memo);
  return 0;
}

void clear_text_report::report_session_memo(const memo_view& memo) {
  if (report.fp == nullptr) return;
  if (report.memo_level < 1 && report.memo_dump < 1) return;
  print_conditional_newline();
  report_stream& out = *report.fp;
  out.put("MEMO session:");
  out.put_signed(memo.session.session_id);
  out.put(" mode:");
  put_memo_mode(out, memo.mode);
  out.put(" size:");
  out.put_unsigned(memo.text.size());
  out.put(" timestamp: ");
  out.put(local_time_.text(memo.timestamp));
  out.put('\n');
  if (memo.text.empty()) return;
  if (report.memo_dump >= 1) {
    dump_data(out, memo.text, 1);
  } else if (report.memo_level >= 2) {
    out.put(' ');
    put_escaped(out, memo.text, '\0');
    out.put('\n');
  }
}
