#include "util/chronex/tables/set_context.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <new>

#include "common/byte_cursor.h"

namespace {

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

void fill_items(std::span<const std::uint8_t> item_list, item_layout& layout) {
  byte_cursor list(item_list);
  std::uint32_t name_off = 0;
  std::uint16_t offset = 0;
  list_item item;
  for (std::size_t i = 0; next_item(list, item); ++i) {
    item.descriptor.name_off = name_off;
    item.descriptor.offset = offset;
    layout.items[i] = item.descriptor;
    if (!item.name.empty()) {
      std::memcpy(layout.names.data() + name_off, item.name.data(),
                  item.name.size());
    }
    name_off += item.descriptor.name_len;
    offset = static_cast<std::uint16_t>(offset + item.descriptor.count *
                                                     item.descriptor.size);
  }
}

std::shared_ptr<item_layout> allocate_layout(const list_totals& totals) {
  std::unique_ptr<item_layout> layout = try_make<item_layout>();
  if (!layout) return nullptr;
  layout->items = try_make_array<item_descriptor>(totals.items);
  if (!layout->items) return nullptr;
  layout->item_count = totals.items;
  if (totals.name_bytes > 0 && !layout->names.allocate(totals.name_bytes)) {
    return nullptr;
  }
  try {
    return layout;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::unique_ptr<set_context> allocate_set_context(const list_totals& totals) {
  std::unique_ptr<set_context> set = try_make<set_context>();
  if (!set) return nullptr;
  set->layout = allocate_layout(totals);
  if (!set->layout) set.reset();
  return set;
}

std::size_t hash_of(std::span<const std::uint8_t> item_list) {
  return std::hash<std::string_view>()(
      {reinterpret_cast<const char*>(item_list.data()), item_list.size()});
}

}  // namespace

bool item_layout::operator==(const item_layout& other) const {
  return std::ranges::equal(item_list(), other.item_list()) &&
         std::ranges::equal(names.bytes(), other.names.bytes());
}

std::string_view set_context::item_name(const item_descriptor& item) const {
  return {reinterpret_cast<const char*>(names().data()) + item.name_off,
          item.name_len};
}

std::vector<std::uint8_t> item_list_bytes(const set_context& set) {
  constexpr std::size_t NUMBERS_SIZE = 8;
  std::vector<std::uint8_t> list;
  for (const item_descriptor& item : set.item_list()) {
    const std::string_view name = set.item_name(item);
    list.push_back(item.name_len);
    list.insert(list.end(), name.begin(), name.end());
    list.push_back(item.type);
    std::uint8_t* const rest =
        &*list.insert(list.end(), NUMBERS_SIZE, std::uint8_t{0});
    store_u16(rest, item.count);
    store_u16(rest + 2, item.size);
    store_u32(rest + 4, item.fmt);
  }
  return list;
}

std::unique_ptr<set_context> node_create_set_context(
    std::span<const std::uint8_t> item_list, std::string& problem,
    run_messages& messages) {
  list_totals totals;
  if (!measure(item_list, totals, problem)) return nullptr;
  std::unique_ptr<set_context> set = allocate_set_context(totals);
  if (!set) {
    messages.perror("calloc");
    messages.print("Unable to allocate data set context\n");
    return nullptr;
  }
  fill_items(item_list, *set->layout);
  set->layout->hash = hash_of(item_list);
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
