#include "util/chronex_trail/values/item_view.h"

#include <algorithm>
#include <unordered_map>

#include "util/chronex_trail/values/utf8_text.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

// What stands at the end of a packed decimal without a value: digit 0, no sign.
constexpr std::uint8_t PACKED_FILL_END = 0x0F;

// Gives names that are in use already a number behind them.
class distinct_names {
 public:
  // All names must be known before the first is made distinct.
  void add(const std::string& name) { uses_.try_emplace(name); }

  // Makes the name one that was not given out before.
  void make_distinct(std::string& name) {
    use& mine = uses_.at(name);
    if (!mine.taken) {
      mine.taken = true;
      return;
    }
    std::string numbered;
    do {
      numbered = name + '_' + std::to_string(mine.next_number++);
    } while (uses_.contains(numbered));
    uses_[numbered].taken = true;
    name = std::move(numbered);
  }

 private:
  struct use {
    bool taken = false;
    int next_number = 2;
  };
  std::unordered_map<std::string, use> uses_;
};

item_view view_of(const set_context& set, const item_descriptor& item,
                  const character_table& characters, text_scratch& scratch) {
  const decoded_text name =
      decode_text(set.item_name(item), characters, scratch);
  const char type = static_cast<char>(item.type);
  return {.name = std::string(name.utf8),
          .name_undecodable = name.undecodable,
          .form = value_form_of(type, item.size),
          .encrypted = (item.fmt & ITEM_FMT_ENCRYPTED) != 0,
          .type = type,
          .count = item.count,
          .size = item.size,
          .offset = item.offset};
}

bool names_element(const item_name_list& listed, std::string_view name,
                   std::uint16_t count) {
  for (unsigned k = 1; count > 1 && k <= count; ++k) {
    const std::string element =
        std::string(name) + '[' + std::to_string(k) + ']';
    if (listed.item_name_in_list(element) > 0) return true;
  }
  return false;
}

// `name` as the log has it.
bool is_chosen(const item_view& item, std::string_view name,
               const item_name_list* listed) {
  return listed == nullptr || listed->item_name_in_list(name) != 0 ||
         names_element(*listed, name, item.count);
}

bool all_are(byte_run bytes, std::uint8_t fill) {
  return std::ranges::all_of(
      bytes, [fill](std::uint8_t byte) { return byte == fill; });
}

bool is_packed_fill(byte_run element) {
  return element.back() == PACKED_FILL_END &&
         all_are(element.first(element.size() - 1), 0);
}

}  // namespace

std::vector<item_view> items_of(const set_context& set,
                                const character_table& characters,
                                const item_name_list* listed) {
  text_scratch scratch;
  distinct_names names;
  std::vector<item_view> items;
  items.reserve(set.item_list().size());
  for (const item_descriptor& item : set.item_list()) {
    items.push_back(view_of(set, item, characters, scratch));
    items.back().chosen = is_chosen(items.back(), set.item_name(item), listed);
    names.add(items.back().name);
  }
  for (item_view& item : items) names.make_distinct(item.name);
  return items;
}

bool has_fill_values(const item_view& item, byte_run record) {
  switch (item.type) {
    case 'X':
    case 'U':
      return all_are(item.of(record), ' ');
    case 'Z':
      return all_are(item.of(record), '0');
    case 'P':
      for (std::size_t k = 0; k < item.count; ++k) {
        if (!is_packed_fill(item.element(record, k))) return false;
      }
      return true;
    default:
      return all_are(item.of(record), 0);
  }
}
