#include "util/chronex_trail/sql/known_data_sets.h"

namespace {

// No name has this character.
constexpr char SEPARATOR = '\0';

}  // namespace

std::string set_name::key() const {
  return (has_database ? "+" : "-") + database + SEPARATOR + name + SEPARATOR;
}

std::string item_row::form() const {
  std::string text = name;
  for (const std::string& part :
       {type, std::to_string(position), std::to_string(elements),
        std::to_string(size), std::to_string(format)}) {
    text += SEPARATOR + part;
  }
  return text + SEPARATOR;
}

std::string form_of_items(std::int64_t record_size,
                          const std::vector<item_row>& rows) {
  std::string form = std::to_string(record_size) + SEPARATOR;
  for (const item_row& row : rows) form += row.form();
  return form;
}
