#include "util/chronex/filter/item_names.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdint>

#include "common/owned_bytes.h"

namespace {

constexpr std::uint32_t BUCKETS = 17;

bool is_separator(char character) {
  return character == ',' ||
         std::isspace(static_cast<unsigned char>(character)) != 0;
}

}  // namespace

bool item_name_list::add_name(std::string_view name) {
  std::unique_ptr<item_name_entry> entry = try_make<item_name_entry>();
  if (!entry) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate item name entry\n");
    return false;
  }
  name = name.substr(0, item_name_entry::MAX_LENGTH);
  std::copy(name.begin(), name.end(), entry->name.begin());
  entry->length = static_cast<int>(name.size());
  ++has_item_name_list;
  std::unique_ptr<item_name_entry>& head =
      item_name_hash_[static_cast<std::size_t>(item_name_key(name))].head;
  entry->next = std::move(head);
  head = std::move(entry);
  return true;
}

bool item_name_list::add(std::string_view list) {
  while (!list.empty()) {
    const auto begin = std::find_if_not(list.begin(), list.end(), is_separator);
    const auto end = std::find_if(begin, list.end(), is_separator);
    if (begin != end && !add_name(std::string_view(begin, end))) return false;
    list = std::string_view(end, list.end());
  }
  return true;
}

int item_name_key(std::string_view name) {
  std::uint32_t hash = 0;
  for (const char character : name) {
    const int upper = std::toupper(static_cast<unsigned char>(character));
    hash = 2 * hash + static_cast<std::uint32_t>(upper);
  }
  return static_cast<int>(hash % BUCKETS);
}

int item_name_list::item_name_in_list(std::string_view name) const {
  if (has_item_name_list == 0) return -1;
  const auto bucket = static_cast<std::size_t>(item_name_key(name));
  for (const item_name_entry* entry = item_name_hash_[bucket].head.get();
       entry != nullptr; entry = entry->next.get()) {
    if (static_cast<std::size_t>(entry->length) == name.size() &&
        strncasecmp(entry->name.data(), name.data(), name.size()) == 0) {
      return 1;
    }
  }
  return 0;
}
