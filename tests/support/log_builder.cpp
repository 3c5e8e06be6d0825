#include "tests/support/log_builder.h"

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

template <typename Value>
std::string bytes_of(Value value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

std::string id_bytes(int id) {
  return u32_bytes(static_cast<std::uint32_t>(id));
}

std::uint16_t size16(std::string_view bytes) {
  return static_cast<std::uint16_t>(bytes.size());
}

std::string u8_bytes(std::size_t value) {
  return {static_cast<char>(static_cast<std::uint8_t>(value))};
}

constexpr std::size_t PAGE_SIZE = 8192;

}  // namespace

std::string u16_bytes(std::uint16_t value) { return bytes_of(value); }
std::string u32_bytes(std::uint32_t value) { return bytes_of(value); }
std::string i64_bytes(std::int64_t value) { return bytes_of(value); }
std::string double_bytes(double value) { return bytes_of(value); }

std::string text_bytes(std::string_view text, std::size_t size) {
  std::string bytes(text.substr(0, size));
  bytes.resize(size, ' ');
  return bytes;
}

std::string packed_bytes(std::int64_t value, std::size_t size) {
  std::string bytes(size, '\0');
  std::uint64_t left = value < 0 ? 0 - static_cast<std::uint64_t>(value)
                                 : static_cast<std::uint64_t>(value);
  unsigned low = value < 0 ? 0xD : 0xC;
  for (std::size_t i = size; i-- > 0;) {
    bytes[i] = static_cast<char>((left % 10) << 4U | low);
    left /= 10;
    low = static_cast<unsigned>(left % 10);
    left /= 10;
  }
  return bytes;
}

std::string item_list_bytes(const std::vector<log_item>& items) {
  std::string list;
  for (const log_item& item : items) {
    list += u8_bytes(item.name.size()) + item.name + item.type +
            u16_bytes(item.count) + u16_bytes(item.size) + u32_bytes(item.fmt);
  }
  return list;
}

std::string sign_on_bytes(const std::vector<std::string>& strings) {
  std::string data = u16_bytes(static_cast<std::uint16_t>(strings.size()));
  for (const std::string& text : strings)
    data += u16_bytes(size16(text)) + text;
  return data;
}

void write_file(const std::string& path, std::string_view bytes,
                bool compressed) {
  gzFile file = gzopen(path.c_str(), compressed ? "wb" : "wbT");
  const bool written =
      file != nullptr &&
      gzfwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if (file == nullptr || gzclose(file) != Z_OK || !written) {
    std::perror(path.c_str());
    std::exit(1);
  }
}

log_builder::log_builder(const log_header& header) {
  bytes_ = header.signature + header.version;
  bytes_.resize(16, '\0');
  if (!header.short_form) {
    bytes_ += u16_bytes(header.byte_order) + u16_bytes(header.charset) +
              u32_bytes(header.release);
  }
  bytes_ += u32_bytes(header.volume_set_id) + u32_bytes(header.generation) +
            u32_bytes(header.sequence);
}

log_builder& log_builder::number(std::uint32_t next) {
  number_ = next;
  return *this;
}

log_builder& log_builder::time(std::uint32_t next) {
  time_ = next;
  return *this;
}

log_builder& log_builder::pace(std::uint32_t seconds) {
  pace_ = seconds;
  return *this;
}

log_builder& log_builder::sign_on(int session,
                                  const std::vector<std::string>& strings) {
  return audit(session, 10, sign_on_bytes(strings));
}

log_builder& log_builder::sign_on_raw(int session, std::string_view data) {
  return audit(session, 10, data);
}

log_builder& log_builder::sign_off(int session) {
  return audit(session, 11, {});
}

log_builder& log_builder::memo(int session, std::uint32_t mode,
                               std::string_view text) {
  return audit(session, 0, u32_bytes(mode) + std::string(text));
}

log_builder& log_builder::database(int node, std::string_view name) {
  return context(node, 1, name);
}

log_builder& log_builder::data_set(int node, int database,
                                   std::string_view name,
                                   const std::vector<log_item>& items) {
  return context(node, 3,
                 id_bytes(database) + u8_bytes(name.size()) +
                     std::string(name) + item_list_bytes(items));
}

log_builder& log_builder::keys(int database, const std::vector<log_key>& keys) {
  std::string payload;
  for (const log_key& key : keys) {
    payload += u32_bytes(key.id) + u16_bytes(key.type) +
               u16_bytes(key.key_len.value_or(size16(key.key))) + key.key +
               u8_bytes(key.checksum.size()) + key.checksum +
               u8_bytes(key.master_check.size()) + key.master_check;
  }
  return context(database, 5, payload);
}

log_builder& log_builder::put(int session, int node, std::uint32_t recno,
                              std::string_view image) {
  return operation({.session = session,
                    .node = node,
                    .recno = recno,
                    .op = 3,
                    .image = std::string(image)});
}

log_builder& log_builder::update(int session, int node, std::uint32_t recno,
                                 std::string_view before,
                                 std::string_view after) {
  before_image({.session = session,
                .node = node,
                .recno = recno,
                .op = 1,
                .image = std::string(before)});
  return operation({.session = session,
                    .node = node,
                    .recno = recno,
                    .op = 1,
                    .image = std::string(after)});
}

log_builder& log_builder::remove(int session, int node, std::uint32_t recno,
                                 std::string_view before) {
  before_image({.session = session,
                .node = node,
                .recno = recno,
                .op = 5,
                .image = std::string(before)});
  return operation(
      {.session = session, .node = node, .recno = recno, .op = 5, .image = {}});
}

log_builder& log_builder::operation(const log_operation& operation) {
  return record(operation, std::string(8, '\0') + u32_bytes(operation.recno) +
                               std::string(4, '\0') + u8_bytes(operation.op) +
                               operation.image);
}

log_builder& log_builder::before_image(const log_operation& operation) {
  return action('5')
      .raw(u32_bytes(operation.image_key) + id_bytes(operation.session) +
           id_bytes(operation.node) + u32_bytes(operation.recno))
      .raw(u8_bytes(operation.op) + u8_bytes(0) +
           u16_bytes(size16(operation.image)) + operation.image);
}

log_builder& log_builder::audit(int session, std::uint8_t type,
                                std::string_view data) {
  return action('6')
      .raw(id_bytes(session) + u8_bytes(type) + u8_bytes(0) +
           u16_bytes(size16(data)))
      .raw(data);
}

log_builder& log_builder::context(int node, std::uint8_t type,
                                  std::string_view data) {
  return action('7')
      .raw(id_bytes(node) + u8_bytes(type) + u8_bytes(0) +
           u16_bytes(size16(data)))
      .raw(data);
}

log_builder& log_builder::record(const log_operation& header,
                                 std::string_view data) {
  return action('1')
      .raw(u8_bytes(header.record_type) + u8_bytes(0) +
           u16_bytes(size16(data)) + id_bytes(header.node))
      .raw(u32_bytes(header.image_key) + id_bytes(header.session))
      .raw(data);
}

log_builder& log_builder::page() {
  return action('2').raw(std::string(PAGE_SIZE, 'p'));
}

log_builder& log_builder::cluster(std::int32_t count, int pages_written) {
  return action('3')
      .raw(std::string(8, '\0') + id_bytes(count))
      .raw(std::string(PAGE_SIZE * static_cast<std::size_t>(pages_written),
                       'c'));
}

log_builder& log_builder::meta(std::uint32_t size, std::string_view data) {
  return action('4').raw(std::string(4, '\0') + u32_bytes(size)).raw(data);
}

log_builder& log_builder::slave_sync() {
  return action('S').raw(std::string(16, 's'));
}

log_builder& log_builder::end() { return action('F'); }

log_builder& log_builder::action(char tag) {
  bytes_ += tag;
  bytes_ += u32_bytes(number_++) + u32_bytes(time_);
  time_ += pace_;
  return *this;
}

log_builder& log_builder::raw(std::string_view bytes) {
  bytes_ += bytes;
  return *this;
}

std::string log_builder::take() { return std::exchange(bytes_, {}); }

void log_builder::write_to(const std::string& path, bool compressed) const {
  write_file(path, bytes_, compressed);
}
