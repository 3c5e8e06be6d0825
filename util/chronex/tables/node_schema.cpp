// Schemas of data sets: made from an item list, and shown and written.

#include <array>
#include <climits>
#include <vector>

#include "common/byte_cursor.h"
#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/audit_file/audit_writer.h"
#include "util/chronex/report/report.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/trail/quiet.h"

namespace {

// What an item takes besides its name, in an item list and in a schema's size
// as the server counts it; and what a schema takes besides its items.
constexpr std::size_t LIST_ITEM_SIZE = 10;
constexpr std::size_t DESCRIPTOR_SIZE = 12;
constexpr std::size_t CONTEXT_HEAD_SIZE = 8;

// Stored form of a record with encrypted items: key id and initial chaining
// value stand before the encrypted part, which comes in whole blocks.
constexpr std::uint32_t ENCRYPTED_HEAD_SIZE = 8;
constexpr std::uint32_t ENCRYPTION_BLOCK_SIZE = 16;
constexpr std::uint32_t ENCRYPTED_ALIGNMENT = 4;

std::uint32_t round_up(std::uint32_t number, std::uint32_t multiple) {
  return (number + multiple - 1) / multiple * multiple;
}

// One item of an item list.
struct list_item {
  std::span<const std::uint8_t> name;
  item_descriptor descriptor;
};

bool next_item(byte_cursor& list, list_item& item) {
  std::uint8_t name_len = 0;
  item_descriptor& descriptor = item.descriptor;
  if (!list.u8(name_len) || !list.bytes(name_len, item.name) ||
      !list.u8(descriptor.type) || !list.u16(descriptor.count) ||
      !list.u16(descriptor.size) || !list.u32(descriptor.fmt)) {
    return false;
  }
  descriptor.name_len = name_len;
  return true;
}

// What a pass over an item list adds up to.
struct list_totals {
  std::size_t items = 0;
  std::size_t name_bytes = 0;
  std::uint32_t plain_bytes = 0;
  std::uint32_t encrypted_bytes = 0;

  std::uint32_t record_size() const { return plain_bytes + encrypted_bytes; }
};

// Adds one item up. Returns false, with a line in `problem` that says why, when
// a schema cannot have it.
bool add_item(const list_item& item, list_totals& totals,
              std::string& problem) {
  const item_descriptor& descriptor = item.descriptor;
  if (descriptor.count < 1 || descriptor.size == 0) {
    problem = "Item " + std::to_string(totals.items + 1) +
              " of data set schema has count " +
              std::to_string(descriptor.count) + " and size " +
              std::to_string(descriptor.size);
    return false;
  }
  const std::uint64_t bytes = std::uint64_t{descriptor.count} * descriptor.size;
  const std::uint64_t record_size = totals.record_size() + bytes;
  if (record_size > INT16_MAX) {
    problem = "Data set schema exceeds maximum record size (" +
              std::to_string(record_size) + " bytes, maximum " +
              std::to_string(INT16_MAX) + ")";
    return false;
  }
  const bool encrypted = (descriptor.fmt & ITEM_FMT_ENCRYPTED) != 0;
  (encrypted ? totals.encrypted_bytes : totals.plain_bytes) +=
      static_cast<std::uint32_t>(bytes);
  totals.name_bytes += item.name.size();
  ++totals.items;
  return true;
}

// Adds up an item list, as add_item does.
bool measure(std::span<const std::uint8_t> item_list, list_totals& totals,
             std::string& problem) {
  byte_cursor list(item_list);
  while (list.remaining() > 0) {
    list_item item;
    if (!next_item(list, item)) {
      problem = "Item " + std::to_string(totals.items + 1) +
                " of data set schema exceeds the list (" +
                std::to_string(item_list.size()) + " bytes)";
      return false;
    }
    if (!add_item(item, totals, problem)) return false;
  }
  return true;
}

void fill_items(std::span<const std::uint8_t> item_list, set_context& set) {
  byte_cursor list(item_list);
  std::uint32_t name_off = 0;
  std::uint16_t offset = 0;
  list_item item;
  for (std::size_t i = 0; next_item(list, item); ++i) {
    item.descriptor.name_off = name_off;
    item.descriptor.offset = offset;
    set.items[i] = item.descriptor;
    if (!item.name.empty()) {
      std::memcpy(set.names.data() + name_off, item.name.data(),
                  item.name.size());
    }
    name_off += item.descriptor.name_len;
    offset = static_cast<std::uint16_t>(offset + item.descriptor.count *
                                                     item.descriptor.size);
  }
}

std::unique_ptr<set_context> allocate_set_context(const list_totals& totals) {
  std::unique_ptr<set_context> set = try_make<set_context>();
  if (!set) return nullptr;
  set->items = try_make_array<item_descriptor>(totals.items);
  if (!set->items) return nullptr;
  if (totals.name_bytes > 0 && !set->names.allocate(totals.name_bytes)) {
    return nullptr;
  }
  return set;
}

void report_schema(const node_entry& entry) {
  print_conditional_newline();
  report_stream& out = *report.fp;
  out.put("SCHEMA ");
  out.put(node_name(entry));
  out.put(" record size: ");
  out.put_signed(entry.set->rec_sz);
  out.put(" bytes\n");
  if (report.schema_level < 2) return;
  for (const item_descriptor& item : entry.set->item_list()) {
    out.put(" '");
    out.put_c_string(
        entry.set->names.bytes().subspan(item.name_off, item.name_len));
    out.put("' type:");
    out.put(static_cast<char>(item.type));
    out.put(" count:");
    out.put_unsigned(item.count);
    out.put(" size:");
    out.put_unsigned(item.size);
    out.put(" fmt:0x");
    out.put_hex(item.fmt);
    out.put('\n');
  }
}

// Writes one item as it stands in an item list.
int write_item(const set_context& set, const item_descriptor& item) {
  std::array<std::uint8_t, 1> head{item.name_len};
  std::array<std::uint8_t, LIST_ITEM_SIZE - 1> tail{item.type};
  store_u16(tail.data() + 1, item.count);
  store_u16(tail.data() + 3, item.size);
  store_u32(tail.data() + 5, item.fmt);
  if (audit_write(head) != 0) return -1;
  if (audit_write(set.names.bytes().subspan(item.name_off, item.name_len)) !=
      0) {
    return -1;
  }
  return audit_write(tail);
}

std::span<const std::uint8_t> bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

int write_schema(const node_entry& entry) {
  const set_context& set = *entry.set;
  // The record has 16 bits for the length of the name.
  const std::string_view name = node_name2(entry, false).substr(0, UINT16_MAX);
  std::array<std::uint8_t, audit_node_schema_t::SIZE> head{};
  audit_node_schema_t{.node_id = static_cast<std::uint32_t>(entry.node_id),
                      .name_sz = static_cast<std::uint16_t>(name.size()),
                      .rec_sz = static_cast<std::uint16_t>(set.rec_sz),
                      .item_cnt = static_cast<std::uint16_t>(set.item_cnt)}
      .put(head.data());
  const std::size_t size =
      head.size() + name.size() + set.names.size() +
      static_cast<std::size_t>(set.item_cnt) * LIST_ITEM_SIZE;
  if (audit_write_tag(AUDIT_TAG_SCHEMA, static_cast<std::uint32_t>(size)) !=
      0) {
    return -1;
  }
  if (audit_write(head) != 0 || audit_write(bytes_of(name)) != 0) return -1;
  for (const item_descriptor& item : set.item_list()) {
    if (write_item(set, item) != 0) return -1;
  }
  return 0;
}

}  // namespace

std::string_view set_context::item_name(const item_descriptor& item) const {
  return {reinterpret_cast<const char*>(names.data()) + item.name_off,
          item.name_len};
}

std::unique_ptr<set_context> node_create_set_context(
    std::span<const std::uint8_t> item_list, std::string& problem) {
  static std::uint64_t last_schema_id = 0;
  list_totals totals;
  if (!measure(item_list, totals, problem)) return nullptr;
  std::unique_ptr<set_context> set = allocate_set_context(totals);
  if (!set) {
    message_perror("calloc");
    message("Unable to allocate data set context\n");
    return nullptr;
  }
  fill_items(item_list, *set);
  set->schema_id = ++last_schema_id;
  set->data_sz = static_cast<std::uint32_t>(
      CONTEXT_HEAD_SIZE + DESCRIPTOR_SIZE * totals.items + totals.name_bytes);
  set->item_cnt = static_cast<std::int16_t>(totals.items);
  set->rec_sz = static_cast<std::int16_t>(totals.record_size());
  set->media_sz = set->rec_sz;
  if (totals.encrypted_bytes > 0) {
    const std::uint32_t plain =
        round_up(totals.plain_bytes, ENCRYPTED_ALIGNMENT);
    const std::uint32_t encrypted =
        round_up(totals.encrypted_bytes, ENCRYPTION_BLOCK_SIZE);
    set->enc_offs = static_cast<std::int32_t>(plain);
    set->media_sz =
        static_cast<std::int32_t>(encrypted + plain + ENCRYPTED_HEAD_SIZE);
  }
  return set;
}

int write_node_context(node_entry& entry) {
  if (f_skip_action || !entry.context_pending) return 0;
  entry.context_pending = false;
  if (!entry.set) return 0;
  if (report.fp != nullptr && report.schema_level >= 1) report_schema(entry);
  return audit_fp != nullptr ? write_schema(entry) : 0;
}
