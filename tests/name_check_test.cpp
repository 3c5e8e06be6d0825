// The notes on names that a run asked for and never met.

#include "util/chronex/filter/name_check.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "tests/support/log_builder.h"
#include "util/chronex/filter/expr_compile.h"
#include "util/chronex/tables/set_context.h"

namespace {

std::span<const std::uint8_t> bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::unique_ptr<set_context> schema(const std::vector<log_item>& items) {
  run_messages messages;
  std::string problem;
  return node_create_set_context(bytes_of(item_list_bytes(items)), problem,
                                 messages);
}

// The notes of a run with two sessions and two data sets, joined.
std::string notes_of(const std::string& filter, const char* item_name) {
  compiled_expr expr;
  if (!filter.empty()) {
    EXPECT_EQ(expr_compile(&expr, filter.c_str()), 0) << filter;
  }
  name_check check(expr);
  if (item_name != nullptr) check.add_item_name(item_name);
  check.sign_on({});
  check.data_set("SHOP.CUSTOMER", *schema({{"CUSTNO", 'I', 1, 4},
                                           {"LIMIT", 'P', 1, 5},
                                           {"QTY", 'K', 4, 2}}));
  check.sign_on(bytes_of(sign_on_bytes({"user{BOB}host{x}", "city{}"})));
  check.data_set("SHOP.ORDERS",
                 *schema({{"ORDERNO", 'I', 1, 4}, {"CITY", 'X', 1, 9}}));
  std::string result;
  for (const std::string& line : check.notes("hp-roman8")) result += line;
  return result;
}

TEST(name_check, notes) {
  const struct {
    const char* filter;
    const char* item_name;
    const char* notes;
  } cases[] = {
      {"", nullptr, ""},
      {"", "orderno", ""},
      {"", "qty", ""},
      {"", "CUSTN0",
       "NOTE: no data set has an item named CUSTN0, as the item list asks "
       "for\n"},
      {"limit > 5 AND -orderno = 1 AND QTY[4] = 1 AND CITY = 'x' AND "
       "shop.cust* AND *.ORDERS AND username = {b*} AND id = {1} AND "
       "conntime > {2024-01-01} AND dbmemo = {x} AND RECNO = 1 AND DBPUT",
       nullptr, ""},
      {"LIMITT > 5 OR +limitt BETWEEN 1 2 OR NOT -Limitt = 3", nullptr,
       "NOTE: no data set has an item named LIMITT\n"},
      {"SHOP.CUSTOMR OR SHIP.CUSTOMER", nullptr,
       "NOTE: no data set matches SHOP.CUSTOMR\n"
       "NOTE: no data set matches SHIP.CUSTOMER\n"},
      {"usr = {BOB} AND ho = {x}", nullptr,
       "NOTE: no session has an attribute named usr\n"
       "NOTE: no session has an attribute named ho\n"},
      {"QTY > 0", nullptr,
       "NOTE: item QTY has 4 elements and is asked for with a subscript: "
       "QTY[1]\n"},
      {"-qty[5] > 0", nullptr,
       "NOTE: item qty has 4 elements, qty[5] is none of them\n"},
      {"CUSTNO[1] > 0", nullptr,
       "NOTE: no data set has an item named CUSTNO[1]\n"},
      {"user = 'BOB'", nullptr,
       "NOTE: user is no item but a session attribute, with its value in "
       "braces: user = {BOB}\n"},
      {"-user <> 'a}\\\\'", nullptr,
       "NOTE: user is no item but a session attribute, with its value in "
       "braces: user <> {a\\}\\\\}\n"},
      {"[user name] BETWEEN 1 AND 'b'", nullptr,
       "NOTE: user name is no item but a session attribute, with its value in "
       "braces: [user name] BETWEEN {1} AND {b}\n"},
      {"conntime >= 5", nullptr,
       "NOTE: conntime is no item but a session attribute, with its value in "
       "braces: conntime >= {5}\n"},
      {"CITY = 'K\xC3\xB6ln' # \xE2\x82\xAC", nullptr,
       "NOTE: the filter has characters in UTF-8, but those of the inputs are "
       "in hp-roman8\n"},
      {"CITY = 'K\xF6ln' OR CITY = 'K\xC3\xB6ln \xF6' # \xE2\x82\xAC", nullptr,
       ""},
  };
  for (const auto& [filter, item_name, notes] : cases) {
    EXPECT_EQ(notes_of(filter, item_name), notes) << filter;
  }
}

// Of inputs without a data set nothing can be said.
TEST(name_check, says_nothing_without_a_data_set) {
  compiled_expr expr;
  ASSERT_EQ(expr_compile(&expr, "usr = {BOB} OR LIMITT = '\xC3\xB6'"), 0);
  name_check check(expr);
  check.sign_on(bytes_of(sign_on_bytes({"user{BOB}"})));
  EXPECT_TRUE(check.notes("hp-roman8").empty());
}

}  // namespace
