#include "util/chronex/report/item_names.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <memory>

#include "common/owned_bytes.h"
#include "util/chronex/report/report.h"

int has_item_name_list = 0;

namespace {

constexpr std::size_t MAX_ITEM_NAME = 16;
constexpr std::uint32_t BUCKETS = 17;

struct item_name_entry {
  std::unique_ptr<item_name_entry> next;
  // Not terminated: the first `length` bytes count.
  std::array<char, MAX_ITEM_NAME> name{};
  int length = 0;
};

// A chain of any length is taken apart link by link: a chain of owners would
// otherwise be released by recursion.
struct name_bucket {
  std::unique_ptr<item_name_entry> head;

  ~name_bucket() {
    while (head) head = std::move(head->next);
  }
};

std::array<name_bucket, BUCKETS> item_name_hash;

bool is_separator(char character) {
  return character == ',' ||
         std::isspace(static_cast<unsigned char>(character)) != 0;
}

bool add_name(std::string_view name) {
  std::unique_ptr<item_name_entry> entry = try_make<item_name_entry>();
  if (!entry) {
    message_perror("malloc");
    message("Unable to allocate item name entry\n");
    return false;
  }
  name = name.substr(0, MAX_ITEM_NAME);
  std::copy(name.begin(), name.end(), entry->name.begin());
  entry->length = static_cast<int>(name.size());
  ++has_item_name_list;
  std::unique_ptr<item_name_entry>& head =
      item_name_hash[static_cast<std::size_t>(item_name_key(name))].head;
  entry->next = std::move(head);
  head = std::move(entry);
  return true;
}

}  // namespace

bool item_names_add_list(std::string_view list) {
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

int item_name_in_list(std::string_view name) {
  if (has_item_name_list == 0) return -1;
  const auto bucket = static_cast<std::size_t>(item_name_key(name));
  for (const item_name_entry* entry = item_name_hash[bucket].head.get();
       entry != nullptr; entry = entry->next.get()) {
    if (static_cast<std::size_t>(entry->length) == name.size() &&
        strncasecmp(entry->name.data(), name.data(), name.size()) == 0) {
      return 1;
    }
  }
  return 0;
}
