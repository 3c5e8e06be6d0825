#include "tests/trail/event_fixture.h"

#include <memory>
#include <utility>

#include "common/byte_cursor.h"

namespace {

constexpr std::int32_t SHOP_NODE = 1;

void append_u16(std::vector<std::uint8_t>& bytes, std::size_t number) {
  bytes.resize(bytes.size() + 2);
  store_u16(&bytes[bytes.size() - 2], static_cast<std::uint16_t>(number));
}

void append_text(std::vector<std::uint8_t>& bytes, std::string_view text) {
  bytes.insert(bytes.end(), text.begin(), text.end());
}

std::vector<std::uint8_t> item_list(const std::vector<test_item>& items) {
  std::vector<std::uint8_t> list;
  for (const test_item& item : items) {
    list.push_back(static_cast<std::uint8_t>(item.name.size()));
    append_text(list, item.name);
    list.push_back(static_cast<std::uint8_t>(item.type));
    append_u16(list, item.count);
    append_u16(list, item.size);
    append_u16(list, item.format & 0xFFFF);
    append_u16(list, item.format >> 16);
  }
  return list;
}

}  // namespace

node_entry& test_tables::make_data_set(std::int32_t node_id,
                                       std::string_view name,
                                       const std::vector<test_item>& items) {
  std::string problem;
  nodes.node_add_entry(SHOP_NODE, NODE_DATABASE, "SHOP", 0, nullptr);
  nodes.node_add_entry(
      node_id, NODE_DATA_SET, name, SHOP_NODE,
      node_create_set_context(item_list(items), problem, messages));
  nodes.for_each([this](node_entry& entry) { entry.charset = charset; });
  return *nodes.node_get_entry(node_id);
}

session_entry& test_tables::make_session(
    std::int32_t session_id, const std::vector<std::string>& strings) {
  std::vector<std::uint8_t> data;
  append_u16(data, strings.size());
  for (const std::string& string : strings) {
    append_u16(data, string.size());
    append_text(data, string);
  }
  owned_bytes sign_on;
  if (!sign_on.copy_from(data)) throw std::bad_alloc();
  sessions.session_add_entry(session_id, std::move(sign_on));
  session_entry& entry = *sessions.session_get_entry(session_id);
  entry.charset = charset;
  return entry;
}

void fill_input(input_file& file, std::string_view name, int type,
                std::uint16_t charset) {
  file.name = name;
  file.type = type;
  file.charset = charset;
  file.major = 1;
  if (type == AUDIT_FILE) return;
  file.minor = 5;
  file.release = 1;
  file.volume_set_id = 74565;
  file.generation = 7;
  file.sequence = 2;
}

std::vector<std::uint8_t> bytes_of(std::string_view text) {
  return {text.begin(), text.end()};
}
