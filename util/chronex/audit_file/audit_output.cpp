#include "util/chronex/audit_file/audit_output.h"

#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "common/byte_cursor.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex/trail/operation.h"

namespace {

constexpr int VERSION_MAJOR = 1;
constexpr int VERSION_MINOR = 0;

std::span<const std::uint8_t> bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

session_sign_on_t head_of(const session_entry& session) {
  return {.session_id = static_cast<std::uint32_t>(session.session_id)};
}

}  // namespace

int audit_output::audit_write_header(int charset_id, const char* user_comment) {
  if (stream.audit_begin() != 0) return -1;
  std::array<std::uint8_t, SIGNATURE_SIZE + 4> header{};
  std::array<char, SIGNATURE_SIZE> signature{};
  std::snprintf(signature.data(), signature.size(), "%s%02d.%02d",
                AUDIT_SIGNATURE, VERSION_MAJOR, VERSION_MINOR);
  std::memcpy(header.data(), signature.data(), signature.size());
  store_u16(header.data() + SIGNATURE_SIZE, BYTE_ORDER_MARK);
  store_u16(header.data() + SIGNATURE_SIZE + 2,
            static_cast<std::uint16_t>(charset_id));
  if (stream.audit_write(header) != 0) return -1;

  if (user_comment == nullptr || *user_comment == '\0') return 0;
  const std::string_view comment(user_comment);
  if (stream.audit_write_tag(AUDIT_TAG_COMMENT,
                             static_cast<std::uint32_t>(comment.size())) != 0) {
    return -1;
  }
  if (!stream.put_bytes(bytes_of(comment))) {
    messages_.perror(stream.audit_fname);
    messages_.print("Failed to write user comment\n");
    return -1;
  }
  return 0;
}

sign_on_result audit_output::sign_on(const session_entry& session,
                                     sign_on_caller /*caller*/,
                                     const event_place& /*place*/) {
  const int result = stream.audit_write_record(
      AUDIT_TAG_SIGN_ON, head_of(session), session.sign_on.bytes());
  return result == 0 ? sign_on_result::shown : sign_on_result::failed;
}

int audit_output::sign_off(const session_entry& session,
                           const event_place& /*place*/) {
  return stream.audit_write_record(AUDIT_TAG_SIGN_OFF, head_of(session));
}

int audit_output::memo(const memo_view& memo) {
  if (!memo.stored) return 0;
  const memo_t head{
      .session_id = static_cast<std::uint32_t>(memo.session.session_id),
      .timestamp = memo.timestamp,
      .mode = memo.mode};
  return stream.audit_write_record(AUDIT_TAG_MEMO, head, memo.text);
}

int audit_output::operation(const image_operation& operation,
                            const event_place& /*place*/) {
  const image_op_t head{
      .session_id = static_cast<std::uint32_t>(operation.session.session_id),
      .node_id = static_cast<std::uint32_t>(operation.node.node_id),
      .timestamp = operation.timestamp,
      .recno = operation.recno,
      .op = static_cast<std::uint8_t>(audit_op_of(operation.op)),
      .has_before = is_there(operation.before),
      .has_after = is_there(operation.after)};
  return stream.audit_write_record(AUDIT_TAG_IMAGE_OP, head, operation.before,
                                   operation.after);
}

int audit_output::schema(const node_entry& node, const event_place& /*place*/) {
  const set_context& set = *node.set;
  // The record has 16 bits for the length of the name.
  const std::string_view name = node_name2(node, false).substr(0, UINT16_MAX);
  std::array<std::uint8_t, audit_node_schema_t::SIZE> head{};
  audit_node_schema_t{.node_id = static_cast<std::uint32_t>(node.node_id),
                      .name_sz = static_cast<std::uint16_t>(name.size()),
                      .rec_sz = static_cast<std::uint16_t>(set.rec_sz),
                      .item_cnt = static_cast<std::uint16_t>(set.item_cnt)}
      .put(head.data());
  const std::size_t size = head.size() + name.size() + set.list_bytes().size();
  if (stream.audit_write_tag(AUDIT_TAG_SCHEMA,
                             static_cast<std::uint32_t>(size)) != 0 ||
      stream.audit_write(head) != 0 ||
      stream.audit_write(bytes_of(name)) != 0) {
    return -1;
  }
  return stream.audit_write(set.list_bytes());
}

int audit_output::notice(const trail_notice& notice) {
  if (notice.comment.empty()) return 0;
  return audit_write_comment(notice.comment);
}

int audit_output::audit_write_comment(std::string_view text) {
  if (stream.audit_write_tag(AUDIT_TAG_COMMENT,
                             static_cast<std::uint32_t>(text.size())) != 0) {
    return -1;
  }
  if (stream.put_bytes(bytes_of(text))) return 0;
  messages_.perror(stream.audit_fname);
  messages_.print("Failed to write audit comment:\n%.*s\n",
                  static_cast<int>(text.size()), text.data());
  return -1;
}
