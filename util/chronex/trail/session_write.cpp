// The output side of the session table: what is shown and written of a session.

#include "common/byte_cursor.h"
#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/audit_file/audit_writer.h"
#include "util/chronex/report/hexdump.h"
#include "util/chronex/report/local_time.h"
#include "util/chronex/report/report.h"
#include "util/chronex/trail/session_write.h"
#include "util/chronex/trail/quiet.h"

namespace {

// Longer sign-on strings are shown up to here, with " ..." after it.
constexpr std::size_t SHOWN_STRING_SIZE = 256;

// Prints every string of the sign-on data on a line of its own. What lies about
// its length ends the list.
void report_sign_on_strings(const session_entry& entry) {
  byte_cursor cursor(entry.sign_on.bytes());
  std::uint16_t count = 0;
  if (!cursor.u16(count)) return;
  for (std::uint16_t i = 0; i < count; ++i) {
    std::uint16_t length = 0;
    std::span<const std::uint8_t> text;
    if (!cursor.u16(length) || !cursor.bytes(length, text)) return;
    report.fp->put(' ');
    if (text.size() <= SHOWN_STRING_SIZE) {
      report.fp->put_c_string(text);
    } else {
      report.fp->put_c_string(text.first(SHOWN_STRING_SIZE));
      report.fp->put(" ...");
    }
    report.fp->put('\n');
  }
}

void report_sign_on(const session_entry& entry) {
  print_conditional_newline();
  report.fp->put("SIGN-ON session:");
  report.fp->put_signed(entry.session_id);
  if (entry.conntime != 0) {
    report.fp->put(" connection time: ");
    report.fp->put(local_time_text(entry.conntime));
  }
  report.fp->put('\n');
  if (report.sign_on_level >= 2) report_sign_on_strings(entry);
}

// Sign-ons are shown where what they introduce is shown.
bool is_of_interest(sign_on_caller caller) {
  if (report.fp == nullptr || report.sign_on_level < 1) return false;
  if (caller == sign_on_caller::image_operation) {
    return report.image_level != 0 || report.image_dump != 0;
  }
  return report.memo_level != 0 || report.memo_dump != 0;
}

// Writes a record that begins with the session id.
int write_session_record(std::uint8_t tag, const session_entry& entry,
                         std::span<const std::uint8_t> data) {
  const session_sign_on_t head{static_cast<std::uint32_t>(entry.session_id)};
  return audit_write_record(tag, head, data);
}

std::span<const std::uint8_t> memo_text(const memo_slot& slot) {
  return slot.data.bytes().first(static_cast<std::size_t>(slot.size));
}

int write_memo_record(const session_entry& entry, const memo_slot& slot) {
  const memo_t head{.session_id = static_cast<std::uint32_t>(entry.session_id),
                    .timestamp = slot.timestamp,
                    .mode = slot.mode};
  return audit_write_record(AUDIT_TAG_MEMO, head, memo_text(slot));
}

void put_memo_mode(std::uint32_t mode) {
  switch (mode) {
    case MEMO_DBBEGIN:
      report.fp->put("DBBEGIN");
      break;
    case MEMO_DBEND:
      report.fp->put("DBEND");
      break;
    case MEMO_DBMEMO:
      report.fp->put("DBMEMO");
      break;
    default:
      report.fp->put_signed(static_cast<std::int32_t>(mode));
  }
}

}  // namespace

int write_session_sign_on(session_entry& entry, sign_on_caller caller) {
  if (f_skip_action) return 0;
  if (!entry.reported && is_of_interest(caller)) {
    report_sign_on(entry);
    entry.sign_off_due = true;
    entry.reported = true;
  }
  if (!entry.written && audit_fp != nullptr) {
    if (write_session_record(AUDIT_TAG_SIGN_ON, entry, entry.sign_on.bytes()) !=
        0) {
      return -1;
    }
    entry.sign_off_due = true;
    entry.written = true;
  }
  return 0;
}

int write_session_sign_off(const session_entry& entry) {
  if (f_skip_action) return 0;
  if (report.fp != nullptr && report.sign_off_level >= 1) {
    print_conditional_newline();
    report.fp->put("SIGN-OFF session:");
    report.fp->put_signed(entry.session_id);
    report.fp->put('\n');
  }
  if (audit_fp == nullptr) return 0;
  return write_session_record(AUDIT_TAG_SIGN_OFF, entry, {});
}

int write_session_memo(const session_entry& entry, memo_slot& slot,
                       bool held_back) {
  if (!slot.pending) return 0;
  if (!held_back || report.image_level >= 1 || report.image_dump >= 1) {
    report_session_memo(entry, memo_text(slot), slot.mode, slot.timestamp);
  }
  if (audit_fp != nullptr && write_memo_record(entry, slot) != 0) return -1;
  slot.pending = false;
  return 0;
}

int write_session_dbbegin_end(session_entry& entry) {
  return write_session_memo(entry, entry.dbbegin_end, false);
}

int write_session_dbmemo(session_entry& entry) {
  return write_session_memo(entry, entry.dbmemo, false);
}

int write_pending_session_memo(session_entry& entry) {
  if (write_session_memo(entry, entry.dbbegin_end, true) != 0) return -1;
  return write_session_memo(entry, entry.dbmemo, true);
}

void report_session_memo(const session_entry& entry,
                         std::span<const std::uint8_t> text, std::uint32_t mode,
                         std::uint32_t timestamp) {
  if (report.fp == nullptr) return;
  if (report.memo_level < 1 && report.memo_dump < 1) return;
  print_conditional_newline();
  report.fp->put("MEMO session:");
  report.fp->put_signed(entry.session_id);
  report.fp->put(" mode:");
  put_memo_mode(mode);
  report.fp->put(" size:");
  report.fp->put_unsigned(text.size());
  report.fp->put(" timestamp: ");
  report.fp->put(local_time_text(timestamp));
  report.fp->put('\n');
  if (text.empty()) return;
  if (report.memo_dump >= 1) {
    dump_data(*report.fp, text, 1);
  } else if (report.memo_level >= 2) {
    report.fp->put(' ');
    put_escaped(*report.fp, text, '\0');
    report.fp->put('\n');
  }
}
