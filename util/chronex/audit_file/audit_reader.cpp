#include "util/chronex/audit_file/audit_reader.h"

#include <cstring>
#include <string>

#include "common/byte_cursor.h"
#include "common/owned_bytes.h"
#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/tables/sign_on_data.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr int RECORD_DONE = 0;
constexpr int FILE_DONE = 1;
constexpr int FILE_FAILED = -1;

// A copy of `text` with a zero byte behind it; false without memory.
bool copy_terminated(byte_run text, owned_bytes& copy) {
  if (!copy.allocate(text.size() + 1)) return false;
  if (!text.empty()) std::memcpy(copy.data(), text.data(), text.size());
  copy.data()[text.size()] = 0;
  return true;
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

}  // namespace

// What is wrong with the record whose payload of `size` bytes has just been
// read, and where the record is.
int audit_reader::bad_record(const input_file& file, notice_kind kind,
                             const std::string& problem, std::size_t size) {
  const std::uint64_t begin =
      file.stream.position() - size - AUDIT_RECORD_HEAD_SIZE;
  report_bad_format(file, "%s at record %u, byte offset %llu", problem.c_str(),
                    trail_.place.number,
                    static_cast<unsigned long long>(begin));
  trail_.notice({.kind = kind, .problem = problem});
  return FILE_FAILED;
}

int audit_reader::unexpected_size(const input_file& file, std::uint32_t size) {
  const std::string problem =
      format_text("Unexpected record size (%u bytes)", size);
  if (size == 0) return bad_record(file, notice_kind::bad_format, problem, 0);
  report_bad_format(file, "%s", problem.c_str());
  trail_.notice({.kind = notice_kind::bad_format, .problem = problem});
  return FILE_FAILED;
}

int audit_reader::report_truncated(const input_file& file,
                                   const std::string& problem) {
  if (report_no_resources(file)) return FILE_FAILED;
  trail_.messages.print("%s: unexpected end of file\n%s\n", file.name.c_str(),
                        problem.c_str());
  report_read_error(file);
  trail_.notice({.kind = notice_kind::unexpected_end, .problem = problem});
  return FILE_FAILED;
}

// A record whose inner sizes do not add up, or with a value that is not
// allowed.
int audit_reader::report_malformed(const input_file& file, const char* record,
                                   byte_run payload) {
  return bad_record(
      file, notice_kind::malformed_record,
      format_text("Malformed %s record (%zu bytes)", record, payload.size()),
      payload.size());
}

int audit_reader::decode_session_sign_on(const input_file& file,
                                         byte_run payload) {
  if (payload.size() < session_sign_on_t::SIZE) {
    return report_malformed(file, "sign-on", payload);
  }
  const std::uint32_t session_id =
      session_sign_on_t::get(payload.data()).session_id;
  const byte_run data = payload.subspan(session_sign_on_t::SIZE);
  if (!sign_on_is_exact(data)) {
    return report_malformed(file, "sign-on", payload);
  }
  owned_bytes copy;
  if (!copy.copy_from(data)) {
    trail_.messages.perror("malloc");
    trail_.messages.print(
        "Failed to duplicate session data (%zu bytes, session_id=%u)\n",
        data.size(), session_id);
    return FILE_FAILED;
  }
  trail_.session_add_entry(static_cast<std::int32_t>(session_id),
                           std::move(copy));
  return RECORD_DONE;
}

int audit_reader::decode_session_sign_off(const input_file& file,
                                          byte_run payload) {
  if (payload.size() != session_sign_off_t::SIZE) {
    return report_malformed(file, "sign-off", payload);
  }
  const std::uint32_t session_id =
      session_sign_off_t::get(payload.data()).session_id;
  return trail_.session_signed_off(static_cast<std::int32_t>(session_id));
}

int audit_reader::decode_node_schema(const input_file& file, byte_run payload) {
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
    trail_.messages.perror("malloc");
    trail_.messages.print(
        "Failed to duplicate data set name (%u bytes, node_id=%u)\n",
        head.name_sz + 1U, head.node_id);
    return FILE_FAILED;
  }
  std::string problem;
  std::unique_ptr<set_context> set =
      trail_.nodes.make_set(rest.subspan(head.name_sz), problem);
  if (!set) {
    if (problem.empty()) return FILE_FAILED;
    return bad_record(file, notice_kind::bad_format, problem, payload.size());
  }
  trail_.node_add_entry(static_cast<std::int32_t>(head.node_id), NODE_DATA_SET,
                        reinterpret_cast<const char*>(name.data()), 0,
                        std::move(set));
  return RECORD_DONE;
}

int audit_reader::decode_image_op(const input_file& file, byte_run payload) {
  if (payload.size() < image_op_t::SIZE) {
    return report_malformed(file, "image operation", payload);
  }
  const image_op_t head = image_op_t::get(payload.data());
  session_entry* session = trail_.sessions.session_get_entry(
      static_cast<std::int32_t>(head.session_id));
  const known_node node =
      trail_.nodes.node_find(static_cast<std::int32_t>(head.node_id));
  if (session == nullptr || node.entry == nullptr || !node.set.is_known()) {
    return RECORD_DONE;
  }
  const std::size_t rec_sz = node.set.record_size();
  const std::size_t before_size = head.has_before != 0 ? rec_sz : 0;
  const std::size_t after_size = head.has_after != 0 ? rec_sz : 0;
  const byte_run images = payload.subspan(image_op_t::SIZE);
  const int op = operation_code(head.op);
  if (images.size() != before_size + after_size || op == 0) {
    return report_malformed(file, "image operation", payload);
  }
  image_operation operation{.session = *session,
                            .node = *node.entry,
                            .layout_id = node.set.layout_id,
                            .timestamp = head.timestamp,
                            .op = op,
                            .recno = head.recno};
  if (head.has_before != 0) operation.before = images.first(before_size);
  if (head.has_after != 0) operation.after = images.subspan(before_size);
  return trail_.write_image_op(operation);
}

int audit_reader::decode_memo(const input_file& file, byte_run payload) {
  if (payload.size() < memo_t::SIZE) {
    return report_malformed(file, "memo", payload);
  }
  const memo_t head = memo_t::get(payload.data());
  session_entry* session = trail_.sessions.session_get_entry(
      static_cast<std::int32_t>(head.session_id));
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
    trail_.messages.perror("malloc");
    trail_.messages.print("Unable to allocate audit memo buffer\n");
    return FILE_FAILED;
  }
  return trail_.process_memo(*session, std::move(memo));
}

int audit_reader::dispatch(const input_file& file, std::uint8_t tag,
                           byte_run payload) {
  switch (tag) {
    case AUDIT_TAG_COMMENT:
      return trail_.comment(
          {reinterpret_cast<const char*>(payload.data()), payload.size()});
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
const std::uint8_t* audit_reader::read_payload(input_file& file,
                                               std::uint32_t size) {
  if (size <= input_stream::MAX_RUN) return file.stream.take(size);
  const std::span<std::uint8_t> buffer = scratch_.get_buffer(size);
  return file.stream.read(buffer) ? buffer.data() : nullptr;
}

int audit_reader::process_record(input_file& file) {
  const std::uint8_t* head = file.stream.take(1);
  if (head == nullptr) {
    if (file.stream.resource_error() != 0 || file.stream.broke_off()) {
      return report_truncated(file, "Unable to read record tag");
    }
    trail_.session_cleanup();
    return FILE_DONE;
  }
  ++trail_.place.number;
  const std::uint8_t tag = *head;
  head = file.stream.take(4);
  if (head == nullptr) {
    return report_truncated(file, "Unable to read record size");
  }
  const std::uint32_t size = load_u32(head);
  if (size == 0 || size > AUDIT_MAX_RECORD_SIZE) {
    return unexpected_size(file, size);
  }
  const std::uint8_t* payload = read_payload(file, size);
  if (payload == nullptr) {
    return report_truncated(file, "Unable to read record data (" +
                                      std::to_string(size) + " bytes)");
  }
  return dispatch(file, tag, {payload, size});
}

int audit_reader::audit_process_file(input_file& file) {
  if (trail_.file_begins(file) != 0 || trail_.file_accepted(file) != 0) {
    return -1;
  }
  if (!file.charset_difference.empty()) {
    trail_.notice({.kind = notice_kind::character_set,
                   .problem = file.charset_difference});
  }
  int result = RECORD_DONE;
  while (result == RECORD_DONE) {
    result = process_record(file);
    trail_.action_done();
  }
  trail_.file_ends();
  return result == FILE_DONE ? 0 : -1;
}
