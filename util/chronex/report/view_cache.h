#ifndef CHRONEX_UTIL_CHRONEX_REPORT_VIEW_CACHE_H
#define CHRONEX_UTIL_CHRONEX_REPORT_VIEW_CACHE_H

// The record views of the schemas in use.
//
// A view takes a hundred bytes or half a megabyte, as its schema has it, and
// making one takes as long as showing many records. So they are kept, as many
// as a number of bytes allows; those that were not used for longest go first.

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>

#include "util/chronex/report/record_view.h"

class view_cache {
 public:
  // Bytes that the views kept may take; one that takes more by itself is kept
  // alone.
  static constexpr std::size_t BUDGET = std::size_t{16} * 1024 * 1024;

  // The view of a schema, made now if it is not kept. It is valid until the
  // next call. The choice must be the same in all calls.
  const record_view& view_of(const set_context& set,
                             const item_choice& choice) {
    if (!views_.empty() && views_.front().is_of(set)) return views_.front();
    return find_or_make(set, choice);
  }

  std::size_t bytes() const { return bytes_; }

 private:
  const record_view& find_or_make(const set_context& set,
                                  const item_choice& choice);
  void make_room(std::size_t wanted);

  using view_list = std::list<record_view>;

  // The latest used comes first.
  view_list views_;
  std::unordered_map<std::uint64_t, view_list::iterator> by_layout_;
  std::size_t bytes_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_VIEW_CACHE_H
