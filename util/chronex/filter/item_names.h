#ifndef CHRONEX_UTIL_CHRONEX_FILTER_ITEM_NAMES_H
#define CHRONEX_UTIL_CHRONEX_FILTER_ITEM_NAMES_H

// The item names of -I, which narrow the item view of a record.

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

#include "util/chronex/messages/messages.h"

// A name as it is kept, cut to its first 16 characters.
struct item_name_entry {
  static constexpr std::size_t MAX_LENGTH = 16;

  std::unique_ptr<item_name_entry> next;
  // Not terminated: the first `length` bytes count.
  std::array<char, MAX_LENGTH> name{};
  int length = 0;
};

class item_name_list {
 public:
  explicit item_name_list(run_messages& messages) : messages_(messages) {}

  // Adds the names of a list, separated by white space and commas. Returns
  // false, with a message, when there is no memory.
  bool add(std::string_view list);

  // The number of names added; 0 means that no list was given.
  int has_item_name_list = 0;

  // Calls `visit` with every name, as it is kept.
  template <typename Visit>
  void for_each(Visit visit) const {
    for (const chain& names : item_name_hash_) {
      for (const item_name_entry* entry = names.head.get(); entry != nullptr;
           entry = entry->next.get()) {
        visit(std::string_view(entry->name.data(),
                               static_cast<std::size_t>(entry->length)));
      }
    }
  }

  // -1 when there is no list, 1 when the name is in it (ignoring case), else 0.
  int item_name_in_list(std::string_view name) const;

 private:
  static constexpr std::size_t BUCKETS = 17;

  // A chain of any length is taken apart link by link: a chain of owners would
  // otherwise be released by recursion.
  struct chain {
    std::unique_ptr<item_name_entry> head;

    ~chain() {
      while (head) head = std::move(head->next);
    }
  };

  bool add_name(std::string_view name);

  run_messages& messages_;
  std::array<chain, BUCKETS> item_name_hash_;
};

// The bucket, 0 to 16, of a name. Upper and lower case give the same bucket.
int item_name_key(std::string_view name);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_ITEM_NAMES_H
