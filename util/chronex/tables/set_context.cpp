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

// Reads the next item; its place in the record stays to be filled in.
bool next_item(byte_cursor& list, std::size_t list_size,
               item_descriptor& item) {
  std::span<const std::uint8_t> name;
  if (!list.u8(item.name_len)) return false;
  item.name_off = static_cast<std::uint32_t>(list_size - list.remaining());
  return list.bytes(item.name_len, name) && list.u8(item.type) &&
         list.u16(item.count) && list.u16(item.size) && list.u32(item.fmt);
}

// What a pass over an item list adds up to.
struct list_totals {
  std::size_t items = 0;
  std::uint32_t plain_bytes = 0;
  std::uint32_t encrypted_bytes = 0;

  std::uint32_t record_size() const { return plain_bytes + encrypted_bytes; }
};

// Adds one item up. Returns false, with a line in `problem` that says why, when
// a schema cannot have it.
bool add_item(const item_descriptor& item, list_totals& totals,
              std::string& problem) {
  if (item.count < 1 || item.size == 0) {
    problem = "Item " + std::to_string(totals.items + 1) +
              " of data set schema has count " + std::to_string(item.count) +
              " and size " + std::to_string(item.size);
    return false;
  }
  const std::uint64_t bytes = std::uint64_t{item.count} * item.size;
  const std::uint64_t record_size = totals.record_size() + bytes;
  if (record_size > INT16_MAX) {
    problem = "Data set schema exceeds maximum record size (" +
              std::to_string(record_size) + " bytes, maximum " +
              std::to_string(INT16_MAX) + ")";
    return false;
  }
  const bool encrypted = (item.fmt & ITEM_FMT_ENCRYPTED) != 0;
  (encrypted ? totals.encrypted_bytes : totals.plain_bytes) +=
      static_cast<std::uint32_t>(bytes);
  ++totals.items;
  return true;
}

// Adds up an item list, as add_item does.
bool measure(std::span<const std::uint8_t> item_list, list_totals& totals,
             std::string& problem) {
  byte_cursor list(item_list);
  while (list.remaining() > 0) {
    item_descriptor item;
    if (!next_item(list, item_list.size(), item)) {
      problem = "Item " + std::to_string(totals.items + 1) +
                " of data set schema exceeds the list (" +
                std::to_string(item_list.size()) + " bytes)";
      return false;
    }
    if (!add_item(item, totals, problem)) return false;
  }
  return true;
}

void fill_items(item_layout& layout) {
  byte_cursor list(layout.list.bytes());
  std::uint16_t offset = 0;
  for (item_descriptor& item :
       std::span(layout.items.get(), layout.item_count)) {
    static_cast<void>(next_item(list, layout.list.size(), item));
    item.offset = offset;
    offset = static_cast<std::uint16_t>(offset + item.count * item.size);
  }
}

void place_encrypted_part(const list_totals& totals, item_layout& layout) {
  if (totals.encrypted_bytes == 0) return;
  const std::uint32_t plain = round_up(totals.plain_bytes, ENCRYPTED_ALIGNMENT);
  const std::uint32_t encrypted =
      round_up(totals.encrypted_bytes, ENCRYPTION_BLOCK_SIZE);
  layout.enc_offs = static_cast<std::int32_t>(plain);
  layout.media_sz =
      static_cast<std::int32_t>(encrypted + plain + ENCRYPTED_HEAD_SIZE);
}

// Null without memory.
std::shared_ptr<item_layout> make_layout(
    std::span<const std::uint8_t> item_list, const list_totals& totals) {
  std::unique_ptr<item_layout> layout = try_make<item_layout>();
  if (!layout || !layout->list.copy_from(item_list)) return nullptr;
  layout->items = try_make_array<item_descriptor>(totals.items);
  if (!layout->items) return nullptr;
  layout->item_count = totals.items;
  fill_items(*layout);
  layout->hash = item_list_hash(item_list);
  layout->rec_sz = static_cast<std::int16_t>(totals.record_size());
  layout->media_sz = layout->rec_sz;
  place_encrypted_part(totals, *layout);
  try {
    return layout;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

std::size_t item_list_hash(std::span<const std::uint8_t> item_list) {
  return std::hash<std::string_view>()(
      {reinterpret_cast<const char*>(item_list.data()), item_list.size()});
}

bool item_layout::is_of(std::span<const std::uint8_t> item_list) const {
  return std::ranges::equal(list.bytes(), item_list);
}

set_context::set_context(std::shared_ptr<item_layout> layout_of_set) noexcept
    : layout_id(layout_of_set->id),
      item_cnt(static_cast<std::int16_t>(layout_of_set->item_count)),
      rec_sz(layout_of_set->rec_sz),
      media_sz(layout_of_set->media_sz),
      enc_offs(layout_of_set->enc_offs),
      layout(std::move(layout_of_set)) {}

set_brief::set_brief(const set_context& set)
    : rec_sz(set.rec_sz),
      media_sz(static_cast<std::uint16_t>(set.media_sz)),
      layout_id(set.layout_id <= UINT32_MAX
                    ? static_cast<std::uint32_t>(set.layout_id)
                    : 0) {}

std::string_view set_context::item_name(const item_descriptor& item) const {
  return {reinterpret_cast<const char*>(list_bytes().data()) + item.name_off,
          item.name_len};
}

std::unique_ptr<set_context> node_create_set_context(
    std::span<const std::uint8_t> item_list, std::string& problem,
    run_messages& messages) {
  list_totals totals;
  if (!measure(item_list, totals, problem)) return nullptr;
  std::shared_ptr<item_layout> layout = make_layout(item_list, totals);
  std::unique_ptr<set_context> set;
  if (layout) set = try_make<set_context>(std::move(layout));
  if (set) return set;
  messages.perror("calloc");
  messages.print("Unable to allocate data set context\n");
  return nullptr;
}
