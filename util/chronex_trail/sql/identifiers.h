#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_IDENTIFIERS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_IDENTIFIERS_H

// Names of tables and columns, made of names that may be anything.

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>

// A name in double quotes, as statements have it.
std::string quoted_identifier(std::string_view name);

// Names of one kind, which differ from each other also when upper and lower
// case are not told apart, as some engines do not for letters of ASCII.
class identifier_set {
 public:
  // Longer names are cut, whole characters only: no name that is made has more
  // bytes.
  explicit identifier_set(std::size_t max_length) : max_length_(max_length) {}

  // Takes a name that is in use. Returns false if it was before.
  bool take(std::string_view name);
  bool has(std::string_view name) const;

  // A free name: this one, cut, or with the first of _2, _3 ... that makes it
  // free, and keeps it not empty. It is taken, and so is the name with `twin`
  // behind it, which was free, too.
  std::string make_free(std::string_view name, std::string_view twin = {});

 private:
  bool is_free(const std::string& name, std::string_view twin) const;

  std::size_t max_length_;
  std::unordered_set<std::string> names_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_IDENTIFIERS_H
