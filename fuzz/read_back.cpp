#include "fuzz/read_back.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "common/byte_cursor.h"
#include "fuzz/fuzz_run.h"
#include "util/chronex/audit_file/audit_format.h"

namespace {

constexpr std::size_t HEADER_SIZE = 20;

struct audit_record {
  std::uint8_t tag = 0;
  // Of a schema the node, of the others but comments the session.
  std::uint32_t id = 0;
  // Tag, size and payload.
  std::string_view whole;
};

// The records of a file that was written to its end, without comments.
std::vector<audit_record> records_of(fuzz_bytes file) {
  std::vector<audit_record> records;
  fuzz_take(file, HEADER_SIZE);
  while (!file.empty()) {
    const std::uint32_t size = load_u32(file.data() + 1);
    const fuzz_bytes whole = fuzz_take(file, AUDIT_RECORD_HEAD_SIZE + size);
    if (whole[0] == AUDIT_TAG_COMMENT) continue;
    records.push_back({.tag = whole[0],
                       .id = load_u32(whole.data() + AUDIT_RECORD_HEAD_SIZE),
                       .whole = fuzz_text(whole)});
  }
  return records;
}

// The operations, and the schemas but for those that are in force already.
std::string operations_of(const std::vector<audit_record>& records) {
  std::string result;
  std::map<std::uint32_t, std::string_view> schemas;
  for (const audit_record& record : records) {
    if (record.tag == AUDIT_TAG_SCHEMA) {
      if (schemas[record.id] != record.whole) result += record.whole;
      schemas[record.id] = record.whole;
    } else if (record.tag == AUDIT_TAG_IMAGE_OP) {
      result += record.whole;
    }
  }
  return result;
}

// Everything but the schemas.
std::string session_records_of(const std::vector<audit_record>& records) {
  std::string result;
  for (const audit_record& record : records) {
    if (record.tag != AUDIT_TAG_SCHEMA) result += record.whole;
  }
  return result;
}

bool belongs_to_sign_on(const audit_record& record, std::uint32_t session_id) {
  return record.id == session_id &&
         (record.tag == AUDIT_TAG_IMAGE_OP || record.tag == AUDIT_TAG_MEMO);
}

// Whether no session returns with the data that it had, no memo was repeated
// ahead of its sign-on, and no sign-on was written for a memo that was not.
bool sessions_come_back(const std::vector<audit_record>& records) {
  std::map<std::uint32_t, std::string_view> sign_ons;
  std::optional<std::uint32_t> signed_on;
  for (const audit_record& record : records) {
    if (record.tag == AUDIT_TAG_SCHEMA) continue;
    if (signed_on && !belongs_to_sign_on(record, *signed_on)) return false;
    signed_on.reset();
    if (record.tag == AUDIT_TAG_SIGN_ON) {
      if (sign_ons[record.id] == record.whole) return false;
      sign_ons[record.id] = record.whole;
      signed_on = record.id;
    } else if (!sign_ons.contains(record.id)) {
      return false;
    }
  }
  return !signed_on;
}

}  // namespace

std::vector<std::uint8_t> fuzz_read_back(fuzz_bytes audit_file) {
  std::vector<std::uint8_t> copy;
  const bool done = fuzz_run(std::span(&audit_file, 1), RUN_NO_REPORT, &copy);
  fuzz_check(done, "an audit file that was written can be read");
  const std::vector<audit_record> written = records_of(audit_file);
  const std::vector<audit_record> again = records_of(copy);
  fuzz_check(operations_of(again) == operations_of(written),
             "an audit file gives its operations and schemas");
  fuzz_check(!sessions_come_back(written) ||
                 session_records_of(again) == session_records_of(written),
             "an audit file gives its sign-ons, sign-offs and memos");
  return copy;
}
