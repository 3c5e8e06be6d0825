#include "util/chronex/audit_file/audit_format.h"

#include "common/byte_cursor.h"

void session_sign_on_t::put(std::uint8_t* bytes) const {
  store_u32(bytes, session_id);
}

session_sign_on_t session_sign_on_t::get(const std::uint8_t* bytes) {
  return {.session_id = load_u32(bytes)};
}

void audit_node_schema_t::put(std::uint8_t* bytes) const {
  store_u32(bytes, node_id);
  store_u16(bytes + 4, name_sz);
  store_u16(bytes + 6, rec_sz);
  store_u16(bytes + 8, item_cnt);
  store_u16(bytes + 10, 0);
}

audit_node_schema_t audit_node_schema_t::get(const std::uint8_t* bytes) {
  return {.node_id = load_u32(bytes),
          .name_sz = load_u16(bytes + 4),
          .rec_sz = load_u16(bytes + 6),
          .item_cnt = load_u16(bytes + 8)};
}

void image_op_t::put(std::uint8_t* bytes) const {
  store_u32(bytes, session_id);
  store_u32(bytes + 4, node_id);
  store_u32(bytes + 8, timestamp);
  store_u32(bytes + 12, recno);
  bytes[16] = op;
  bytes[17] = has_before;
  bytes[18] = has_after;
  bytes[19] = 0;
}

image_op_t image_op_t::get(const std::uint8_t* bytes) {
  return {.session_id = load_u32(bytes),
          .node_id = load_u32(bytes + 4),
          .timestamp = load_u32(bytes + 8),
          .recno = load_u32(bytes + 12),
          .op = bytes[16],
          .has_before = bytes[17],
          .has_after = bytes[18]};
}

void memo_t::put(std::uint8_t* bytes) const {
  store_u32(bytes, session_id);
  store_u32(bytes + 4, timestamp);
  store_u32(bytes + 8, mode);
}

memo_t memo_t::get(const std::uint8_t* bytes) {
  return {.session_id = load_u32(bytes),
          .timestamp = load_u32(bytes + 4),
          .mode = load_u32(bytes + 8)};
}
