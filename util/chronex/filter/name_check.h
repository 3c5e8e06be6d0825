#ifndef CHRONEX_UTIL_CHRONEX_FILTER_NAME_CHECK_H
#define CHRONEX_UTIL_CHRONEX_FILTER_NAME_CHECK_H

// Names that a run asks for and its inputs do not have.
//
// A filter on a misspelt name selects nothing, which looks like a log in which
// nothing happened. So a run that ends can say which names of its filter, and
// of its item list, it never met. Names that were met are no longer looked for,
// and with the last of them the check costs nothing.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/filter/expr.h"

struct set_context;

class name_check {
 public:
  // Looks for the names of an expression that was compiled without error; of
  // one without entries there are none. The expression may go away. This and
  // all that follows throws std::bad_alloc.
  explicit name_check(const compiled_expr& expr);

  // Looks also for an item named in an item list.
  void add_item_name(std::string_view name);

  // To be called for every data set that is registered or redefined, with its
  // printable name without id.
  void data_set(std::string_view name, const set_context& set);

  // To be called with the sign-on data of every sign-on.
  void sign_on(std::span<const std::uint8_t> data);

  // Lines for the user, each with its line end: one for each name that was not
  // met, in the order of the expression, and one if the expression has texts in
  // UTF-8, which the inputs never have; `charset` is the name of theirs.
  // Without that name the texts are known not to be in UTF-8. None at all when
  // there was no data set.
  std::vector<std::string> notes(std::string_view charset) const;

  // What was found out so far, as bytes, and a check of the same names that
  // goes on with that; false when the bytes are none such.
  std::vector<std::uint8_t> progress() const;
  bool go_on(std::span<const std::uint8_t> progress);

 private:
  enum class use { item, listed_item, set_pattern, attribute };

  // A name that was not met so far.
  struct missing_name {
    use kind;
    // As written, but of an item without sign.
    std::string name;
    // Of an item: the relation as one on a session attribute.
    std::string as_attribute;
    // Some session, or every one, has an attribute of that name.
    bool is_attribute = false;
    // There is an item with so many elements and that name without subscript;
    // 0: there is none.
    unsigned elements = 0;
    // Among all names that were added, from 0.
    std::size_t place = 0;
  };

  void add(missing_name name);
  void add_relation(std::span<const expr_entry> entries);
  static bool meets(missing_name& missing, std::string_view name,
                    const set_context& set);
  static bool meets(missing_name& missing, std::span<const std::uint8_t> data);
  static std::string note(const missing_name& missing);

  std::vector<missing_name> missing_;
  std::size_t name_count_ = 0;
  bool has_utf8_ = false;
  bool has_data_set_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_NAME_CHECK_H
