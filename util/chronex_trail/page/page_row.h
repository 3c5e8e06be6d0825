#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_ROW_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_ROW_H

// The changes that a page lists, and what several of them share.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// A memo of a session. Texts are UTF-8, here and below.
struct page_memo {
  std::uint32_t timestamp = 0;
  std::string mode;
  std::string text;
};

// A session from sign-on to sign-off. Its numbers are those of all changes,
// also of those that are not listed.
struct page_session {
  static constexpr std::size_t MAX_MEMOS = 100;

  std::int32_t id = 0;
  // 0 = unknown.
  std::uint32_t conntime = 0;
  // Numbers of names.
  std::uint16_t user = 0;
  std::uint16_t program = 0;
  std::vector<std::pair<std::string, std::string>> attributes;
  // The first ones, and how many there were.
  std::vector<page_memo> memos;
  std::uint64_t memo_count = 0;
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  std::uint64_t puts = 0;
  std::uint64_t updates = 0;
  std::uint64_t deletes = 0;
  bool signed_off = false;

  // Of attributes and memos.
  std::size_t text_bytes() const {
    std::size_t bytes = 0;
    for (const auto& [key, value] : attributes) {
      bytes += key.size() + value.size();
    }
    for (const page_memo& memo : memos) bytes += memo.text.size();
    return bytes;
  }
};

// A schema under which a data set was changed.
struct page_layout {
  // Number of the data set's name.
  std::uint16_t data_set = 0;
  // Of the chosen items; the types are letters.
  std::vector<std::string> item_names;
  std::string item_types;
};

struct page_row {
  std::shared_ptr<const page_session> session;
  std::shared_ptr<const page_layout> layout;
  std::uint32_t timestamp = 0;
  std::uint32_t recno = 0;
  // Number of the input, and of the action or audit record in it.
  std::uint32_t input = 0;
  std::uint32_t place = 0;
  // OP_PUT, OP_UPDATE or OP_DELETE.
  std::uint8_t op = 0;
  // What follows in the list's file is JSON: [AFTER,DIFFERING,BEFORE,MEMO].
  // AFTER has the values of the chosen items; of an update with both images
  // DIFFERING has the places of those that differ, and BEFORE their old values;
  // else BEFORE has those of all items. 0 = not there.
  std::string values;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_ROW_H
