#include "util/chronex/audit_file/audit_reader.h"

#include <cstring>
#include <string>

#include "common/byte_cursor.h"
#include "common/owned_bytes.h"
#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/input/charset.h"
#include "util/chronex/input/scratch.h"
#include "util/chronex/report/file_progress.h"
#include "util/chronex/report/report.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex/trail/image.h"
#include "util/chronex/trail/memo.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

// Longer comments are echoed up to here, unless whole ones are asked for.
constexpr std::size_t SHOWN_COMMENT_SIZE = 256;

constexpr int RECORD_DONE = 0;
constexpr int FILE_DONE = 1;
constexpr int FILE_FAILED = -1;

int report_truncated(const input_file& file, const std::string& problem) {
  if (report_no_resources(file)) return FILE_FAILED;
  message("%s: unexpected end of file\n%s\n", file.name.c_str(),
          problem.c_str());
  report_read_error(file);
  return FILE_FAILED;
}

// A record whose inner sizes do not add up, or with a value that is not
// allowed.
int report_malformed(const input_file& file, const char* record,
                     byte_run payload) {
  return report_bad_format(file, "Malformed %s record (%zu bytes)", record,
                           payload.size());
}

// A copy of `text` with a zero byte behind it; false without memory.
bool copy_terminated(byte_run text, owned_bytes& copy) {
  if (!copy.allocate(text.size() + 1)) return false;
  if (!text.empty()) std::memcpy(copy.data(), text.data(), text.size());
  copy.data()[text.size()] = 0;
  return true;
}

void echo_comment(byte_run text) {
  if (report.comment_level < 1) return;
  const auto* characters = reinterpret_cast<const char*>(text.data());
  if (report.comment_level == 1 && text.size() > SHOWN_COMMENT_SIZE) {
    message("%.256s ...\n", characters);
  } else {
    message("%.*s\n", static_cast<int>(text.size()), characters);
  }
}

// Whether count and lengths of sign-on strings fill `data` exactly.
bool is_sign_on_data(byte_run data) {
  byte_cursor cursor(data);
  std::uint16_t count = 0;
  if (!cursor.u16(count)) return false;
  for (std::uint16_t i = 0; i < count; ++i) {
    std::uint16_t length = 0;
    byte_run text;
    if (!cursor.u16(length) || !cursor.bytes(length, text)) return false;
  }
  return cursor.remaining() == 0;
}

int decode_session_sign_on(const input_file& file, byte_run payload) {
  if (payload.size() < session_sign_on_t::SIZE) {
    return report_malformed(file, "sign-on", payload);
  }
  const std::uint32_t session_id =
      session_sign_on_t::get(payload.data()).session_id;
  const byte_run data = payload.subspan(session_sign_on_t::SIZE);
  if (!data.empty() && !is_sign_on_data(data)) {
    return report_malformed(file, "sign-on", payload);
  }
  owned_bytes copy;
  if (!copy.copy_from(data)) {
    message_perror("malloc");
    message("Failed to duplicate session data (%zu bytes, session_id=%u)\n",
            data.size(), session_id);
    return FILE_FAILED;
  }
  session_add_entry(static_cast<std::int32_t>(session_id), std::move(copy));
  return RECORD_DONE;
}

int decode_session_sign_off(const input_file& file, byte_run payload) {
  if (payload.size() != session_sign_off_t::SIZE) {
    return report_malformed(file, "sign-off", payload);
  }
  const std::uint32_t session_id =
      session_sign_off_t::get(payload.data()).session_id;
  return session_signed_off(static_cast<std::int32_t>(session_id));
}

int decode_node_schema(const input_file& file, byte_run payload) {
  if (payload.size() < audit_node_schema_t::SIZE) {
    return report_malformed(file, "schema", payload);
  }
  const audit_node_schema_t head = audit_node_schema_t::get(payload.data());
  const byte_run rest = payload.subspan(audit_node_schema_t::SIZE);
  if (rest.size() < head.name_sz) {
    return report_malformed(file, "schema", payload);
  }
  owned_bytes name;
  if (!copy_terminated(rest.first(head.name_sz), name)) {
    message_perror("malloc");
    message("Failed to duplicate data set name (%u bytes, node_id=%u)\n",
            head.name_sz + 1U, head.node_id);
    return FILE_FAILED;
  }
  std::string problem;
  std::unique_ptr<set_context> set =
      node_create_set_context(rest.subspan(head.name_sz), problem);
  if (!set) {
    if (!problem.empty()) report_bad_format(file, "%s", problem.c_str());
    return FILE_FAILED;
  }
  node_add_entry(static_cast<std::int32_t>(head.node_id), NODE_DATA_SET,
                 reinterpret_cast<const char*>(name.data()), 0, std::move(set));
  return RECORD_DONE;
}

// The operation code of an operation byte; 0 when there is no such operation.
int operation_code(std::uint8_t op) {
  switch (op) {
    case '1':
      return OP_UPDATE;
    case '2':
      return OP_PUT;
    case '3':
      return OP_DELETE;
    default:
      return 0;
  }
}

int decode_image_op(const input_file& file, byte_run payload) {
  if (payload.size() < image_op_t::SIZE) {
    return report_malformed(file, "image operation", payload);
  }
  const image_op_t head = image_op_t::get(payload.data());
  session_entry* session =
      session_get_entry(static_cast<std::int32_t>(head.session_id));
  node_entry* node = node_get_entry(static_cast<std::int32_t>(head.node_id));
  if (session == nullptr || node == nullptr || !node->set) return RECORD_DONE;

  const auto rec_sz = static_cast<std::size_t>(node->set->rec_sz);
  const std::size_t before_size = head.has_before != 0 ? rec_sz : 0;
  const std::size_t after_size = head.has_after != 0 ? rec_sz : 0;
  const byte_run images = payload.subspan(image_op_t::SIZE);
  const int op = operation_code(head.op);
  if (images.size() != before_size + after_size || op == 0) {
    return report_malformed(file, "image operation", payload);
  }
  return write_image_op(
      {.session = *session,
       .node = *node,
       .before = head.has_before != 0 ? images.data() : nullptr,
       .after = head.has_after != 0 ? images.data() + before_size : nullptr,
       .timestamp = head.timestamp,
       .op = op,
       .recno = head.recno});
}

int decode_memo(const input_file& file, byte_run payload) {
  if (payload.size() < memo_t::SIZE) {
    return report_malformed(file, "memo", payload);
  }
  const memo_t head = memo_t::get(payload.data());
  session_entry* session =
      session_get_entry(static_cast<std::int32_t>(head.session_id));
  if (session == nullptr ||
      (head.mode != MEMO_DBBEGIN && head.mode != MEMO_DBEND &&
       head.mode != MEMO_DBMEMO)) {
    return RECORD_DONE;
  }
  const byte_run text = payload.subspan(memo_t::SIZE);
  memo_event memo{.size = static_cast<std::int32_t>(text.size()),
                  .mode = head.mode,
                  .timestamp = head.timestamp};
  if (!text.empty() && !copy_terminated(text, memo.text)) {
    message_perror("malloc");
    message("Unable to allocate audit memo buffer\n");
    return FILE_FAILED;
  }
  return process_memo(*session, std::move(memo));
}

int dispatch(const input_file& file, std::uint8_t tag, byte_run payload) {
  switch (tag) {
    case AUDIT_TAG_COMMENT:
      echo_comment(payload);
      return RECORD_DONE;
    case AUDIT_TAG_SIGN_ON:
      return decode_session_sign_on(file, payload);
    case AUDIT_TAG_SIGN_OFF:
      return decode_session_sign_off(file, payload);
    case AUDIT_TAG_SCHEMA:
      return decode_node_schema(file, payload);
    case AUDIT_TAG_IMAGE_OP:
      return decode_image_op(file, payload);
    case AUDIT_TAG_MEMO:
      return decode_memo(file, payload);
    default:
      return RECORD_DONE;
  }
}

// Reads a payload, in place where the input's window holds it. Null when the
// file has fewer bytes.
const std::uint8_t* read_payload(input_file& file, std::uint32_t size) {
  if (size <= input_stream::MAX_RUN) return file.stream.take(size);
  const std::span<std::uint8_t> buffer = get_buffer(size);
  return file.stream.read(buffer) ? buffer.data() : nullptr;
}

int process_record(input_file& file) {
  const std::uint8_t* head = file.stream.take(1);
  if (head == nullptr) {
    if (file.stream.resource_error() != 0 || file.stream.broke_off()) {
      return report_truncated(file, "Unable to read record tag");
    }
    session_cleanup();
    return FILE_DONE;
  }
  const std::uint8_t tag = *head;
  head = file.stream.take(4);
  if (head == nullptr) {
    return report_truncated(file, "Unable to read record size");
  }
  const std::uint32_t size = load_u32(head);
  if (size == 0 || size > AUDIT_MAX_RECORD_SIZE) {
    return report_bad_format(file, "Unexpected record size (%u bytes)", size);
  }
  const std::uint8_t* payload = read_payload(file, size);
  if (payload == nullptr) {
    return report_truncated(file, "Unable to read record data (" +
                                      std::to_string(size) + " bytes)");
  }
  return dispatch(file, tag, {payload, size});
}

// Another character set is worth a note only: all texts are passed on as bytes.
void check_charset(const input_file& file) {
  if (charset_id < 0) {
    charset_id = file.charset;
  } else if (charset_id != file.charset) {
    message(
        "%s: Note: Character set does not match\n"
        " found: %s (%u), expected: %s (%d))\n",
        file.name.c_str(), charset_name(file.charset), unsigned{file.charset},
        charset_name(charset_id), charset_id);
  }
}

}  // namespace

int audit_read_file_header(input_file& file) {
  if (std::memcmp(file.signature.data(), AUDIT_SIGNATURE,
                  SIGNATURE_TEXT_SIZE) != 0) {
    return report_bad_format(file, "Unsupported file signature");
  }
  file.type = AUDIT_FILE;
  if (read_version(file) != 0) return -1;
  const std::uint8_t* fields = file.stream.take(4);
  if (fields == nullptr) {
    if (report_no_resources(file)) return -1;
    report_bad_format(file, "Unable to read file header");
    report_read_error(file);
    return -1;
  }
  file.byte_order = load_u16(fields);
  file.charset = load_u16(fields + 2);
  if (file.byte_order != BYTE_ORDER_MARK) {
    return report_incompatible_format(file, "Byte order does not match");
  }
  check_charset(file);
  return 0;
}

int audit_process_file(input_file& file) {
  if (report_file_begin(file)) {
    if (report.file_level >= 2) report_file_version(file);
    report_flush();
  }
  int result = RECORD_DONE;
  while (result == RECORD_DONE) {
    result = process_record(file);
    report_action_done();
  }
  report_flush();
  return result == FILE_DONE ? 0 : -1;
}
