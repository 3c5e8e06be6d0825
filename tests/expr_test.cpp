// The language of filter expressions: what texts compile to, and which of their
// errors is the one reported.

#include "util/chronex/filter/expr.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "util/chronex/filter/date_time.h"
#include "util/chronex/filter/expr_compile.h"

namespace {

std::string shown(const expr_entry& entry) {
  constexpr const char* WORDS[] = {"RECNO",    "TIMESTAMP", "DBPUT",
                                   "DBUPDATE", "DBDELETE",  "OR",
                                   "AND",      "NOT",       "<",
                                   "<=",       "=",         "<>",
                                   ">=",       ">",         "BETWEEN"};
  const std::string number = std::to_string(entry.number);
  const std::string quote = entry.token == EXPR_TOKEN_VALUE ? "'" : "set'";
  if (entry.kind == EXPR_KIND_UNSIGNED) return "#" + number;
  if (entry.kind == EXPR_KIND_TIME) return "@" + number;
  if (entry.kind == EXPR_KIND_NUMBER) return entry.text;
  if (entry.kind == EXPR_KIND_STRING) return quote + entry.text + "'";
  if (entry.kind == EXPR_KIND_NAME) return "[" + entry.text + "]";
  if (entry.kind == EXPR_KIND_BRACE) return "{" + entry.text + "}";
  return WORDS[entry.token - EXPR_TOKEN_RECNO];
}

// The entries of the compiled text, or its error message.
std::string compiled(const std::string& text) {
  compiled_expr expr;
  const int rc = expr_compile(&expr, text.c_str());
  if (rc != 0) return verbose_expr_rc(rc);
  std::string result;
  for (const expr_entry& entry : expr.entries) {
    if (!result.empty()) result += ' ';
    result += shown(entry);
  }
  return result;
}

std::string repeated(std::string_view text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

TEST(expr_compile, makes_postfix_entries) {
  const std::pair<const char*, const char*> cases[] = {
      {"DBPUT OR DBUPDATE OR DBDELETE", "DBPUT DBUPDATE OR DBDELETE OR"},
      {"a.b OR DBPUT AND c.d", "set'a.b' DBPUT set'c.d' AND OR"},
      {"(a.b OR DBPUT) AND c.d", "set'a.b' DBPUT OR set'c.d' AND"},
      {"NOT DBPUT AND RECNO > 10", "DBPUT NOT RECNO #10 > AND"},
      {"RECNO BETWEEN 1 2 AND DBPUT", "RECNO #1 #2 BETWEEN DBPUT AND"},
      {"RECNO BETWEEN 1 AND 2 OR a.b", "RECNO #1 #2 BETWEEN set'a.b' OR"},
      {"q<1 OR q<=1 OR q<>1", "[q] 1 < [q] 1 <= OR [q] 1 <> OR"},
      {"q>=1 OR q>1 OR q=1", "[q] 1 >= [q] 1 > OR [q] 1 = OR"},
      {"# all puts\r\nDBPUT # only\n# these", "DBPUT"},
      // Words and values.
      {"dbput aNd DbUpdate", "DBPUT DBUPDATE AND"},
      {"[DBPUT] = 1", "[DBPUT] 1 ="},
      {"[ORDER \\] DATE] = '5'", "[ORDER ] DATE] '5' ="},
      {"+AND = -5", "[+AND] -5 ="},
      {"a[3]='x'", "[a[3]] 'x' ="},
      {"o'neil\\\"#{ = 1", "[o'neil\\\"#{] 1 ="},
      {"*.? OR -a.b OR [*. b]", "set'*.?' set'-a.b' OR set'*. b' OR"},
      {"q = 'it\\'s \\\\ \\n'", "[q] 'it's \\ n' ="},
      {"user = {a\\}b}", "[user] {a}b} ="},
      {"q BETWEEN +0x1F 12.50", "[q] +0x1F 12.50 BETWEEN"},
      {"RECNO = -0", "RECNO #0 ="},
      {"RECNO = 4294967295", "RECNO #4294967295 ="},
      // Dates.
      {"TIMESTAMP >= 2024-01-15 10:30", "TIMESTAMP @1705314600 >="},
      {"TIMESTAMP = 2024-01-15 10:30:07", "TIMESTAMP @1705314607 ="},
      {"TIMESTAMP > 15.01.2024", "TIMESTAMP @1705276800 >"},
      {"TIMESTAMP > 01/15/24", "TIMESTAMP @1705276800 >"},
      {"TIMESTAMP < 38-12-31", "TIMESTAMP @2177366400 <"},
      {"TIMESTAMP > 70-01-01", "TIMESTAMP @0 >"},
      {"TIMESTAMP = 2023-02-31", "TIMESTAMP @1677801600 ="},
  };
  setenv("TZ", "UTC0", 1);
  for (const auto& [text, result] : cases) {
    EXPECT_EQ(compiled(text), result) << text;
  }
}

void expect_error(const char* error, std::initializer_list<const char*> texts) {
  for (const char* text : texts) EXPECT_EQ(compiled(text), error) << text;
}

// Several of these hold a second error that comes later.
TEST(expr_compile, first_error_in_reading_order) {
  expect_error(
      "syntax error",
      {"", "CUSTNO", "NOT NOT DBPUT", "DBPUT DBDELETE", "DBPUT)", "_a = 1",
       "\xe4 = 1", "- = 1", "+* = 1", "q = 12abc", "q = inf", "q = 'it''s'",
       "q = 'abc\\", "(DBPUT 'abc", "CUSTNO = 2024-01-15",
       "RECNO BETWEEN 1 AND AND 2", "TIMESTAMP > 2024-01-15  10:30",
       "TIMESTAMP > 2024-01-15 10:30:5"});
  expect_error("right paranthesis expected", {"(DBPUT", "(DBPUT DBPUT"});
  expect_error("number expected", {"RECNO = 'x' AND TIMESTAMP > 2039-01-01",
                                   "RECNO = {1}", "RECNO = 2024-01-15 'x"});
  expect_error("date/time expected",
               {"TIMESTAMP > 1000", "TIMESTAMP > '2024-01-15'",
                "TIMESTAMP > 2024-01-155", "TIMESTAMP > 2024-01.15"});
  expect_error(
      "numeric value out of range",
      {"(DBPUT 2039-01-01", "RECNO = 1 2039-01-01", "q = 1e999", "q = 1e-999",
       "RECNO = 1.5", "RECNO = 4294967296", "RECNO = 99999999999999999999",
       "RECNO = -1", "RECNO = -18446744073709551615", "TIMESTAMP > 69-12-31",
       "TIMESTAMP > 24-13-01", "TIMESTAMP > 2024-01-15 24:00"});
}

// The text with a caret before the token that could not be used, and the
// beginning of what could have stood there.
TEST(expr_compile, tells_the_place_of_an_error) {
  const struct {
    const char* text;
    const char* place;
    const char* expected;
  } cases[] = {
      {"", "^", "a test, NOT"},
      {"DBPUT OR  # all\n", "DBPUT OR  # all\n^", "a test, NOT"},
      {"NOT NOT DBPUT", "NOT ^NOT DBPUT", "a test or"},
      {"CUSTOMER AND DBPUT", "CUSTOMER ^AND DBPUT", "an operator"},
      {"q = (1)", "q = ^(1)", "a number, a text"},
      {"q = 2024-01-15", "q = ^2024-01-15", "a number, a text"},
      {"RECNO = -1", "RECNO = ^-1", "a whole number"},
      {"RECNO BETWEEN 1 OR 2", "RECNO BETWEEN 1 ^OR 2", "AND or the upper"},
      {"RECNO BETWEEN 1 AND x", "RECNO BETWEEN 1 AND ^x", "a whole number"},
      {"TIMESTAMP > 5", "TIMESTAMP > ^5", "a date"},
      {"TIMESTAMP > 2039-01-01", "TIMESTAMP > ^2039-01-01", "a date from 1970"},
      {"q = 1 DBPUT", "q = 1 ^DBPUT", "AND, OR or the end"},
      {"(DBPUT DBPUT)", "(DBPUT ^DBPUT)", "AND, OR or \")\""},
      {"((DBPUT) OR a.b) c.d", "((DBPUT) OR a.b) ^c.d", "AND, OR or the end"},
      {"q = 'abc", "q = ^'abc", "a closing quote"},
      {"[abc = 1", "^[abc = 1", "a \"]\""},
      {"q = {abc", "q = ^{abc", "a \"}\""},
      {"q = $", "q = ^$", "a number, a text"},
  };
  for (const auto& [text, place, expected] : cases) {
    compiled_expr expr;
    expr_error_place error;
    EXPECT_NE(expr_compile(&expr, text, &error), 0) << text;
    EXPECT_EQ(std::string(text).insert(error.offset, "^"), place);
    EXPECT_TRUE(std::string_view(error.expected).starts_with(expected))
        << text << ": " << error.expected;
  }
}

TEST(expr_compile, size_limits) {
  // 500 tests and 499 operators: one entry is left.
  const std::string fits = "DBPUT" + repeated(" OR DBPUT", 499);
  EXPECT_EQ(compiled("NOT " + fits).substr(0, 13), "DBPUT NOT DBP");
  EXPECT_EQ(compiled(fits + " OR DBPUT"), "expression too complex");
  // The operator that has no room comes after the token behind its operand.
  EXPECT_EQ(compiled(fits + " OR DBPUT 1e999"), "numeric value out of range");

  const std::string open = repeated("(", EXPR_MAX_NESTING);
  const std::string close = repeated(")", EXPR_MAX_NESTING);
  EXPECT_EQ(compiled(open + "DBPUT" + close), "DBPUT");
  EXPECT_EQ(compiled(open + "(1e999"), "expression too complex");
}

TEST(scan_date_time, follows_the_local_zone) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  EXPECT_EQ(scan_date_time("2024-01-15 10:30").time, 1705311000);
  EXPECT_EQ(scan_date_time("2024-07-15 10:30").time, 1721032200);
  // East of Greenwich the first day begins before the epoch.
  const date_time_literal eve = scan_date_time("1970-01-01 00:59:59");
  EXPECT_EQ(eve.status, date_time_status::found);
  EXPECT_EQ(eve.time, -1);
}

// One instant each, whatever was asked before: both orders give the same.
TEST(scan_date_time, repeated_and_missing_times) {
  const struct {
    const char* zone;
    const char* text;
    std::int64_t time;
  } cases[] = {
      // 02:00 to 03:00 comes twice, the first time in summer time.
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2023-10-29 01:59:59", 1698537599},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2023-10-29 02:00", 1698537600},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2023-10-29 02:30", 1698539400},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2023-10-29 03:00", 1698544800},
      // 02:00 to 03:00 does not come.
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2023-03-26 01:59:59", 1679792399},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2023-03-26 02:30", 1679794200},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2023-03-26 03:00", 1679792400},
      {"EST5EDT,M3.2.0,M11.1.0", "2024-11-03 01:30", 1730611800},
      {"EST5EDT,M3.2.0,M11.1.0", "2024-03-10 02:30", 1710055800},
      // Half an hour, south of the equator.
      {"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", "2024-04-07 01:45", 1712414700},
      {"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", "2024-10-06 02:15", 1728143100},
      // At the limits of zones and years.
      {"FAR24:59:59", "1970-01-01", 89999},
      {"FAR-24:59:59", "2038-12-31 23:59:59", 2177362800},
  };
  for (const bool after_winter : {false, true}) {
    for (const auto& [zone, text, time] : cases) {
      setenv("TZ", zone, 1);
      scan_date_time(after_winter ? "2023-01-01" : "2023-07-01");
      EXPECT_EQ(scan_date_time(text).time, time) << zone << ' ' << text;
    }
  }
}

TEST(scan_date_time, tells_where_the_literal_ends) {
  const std::pair<const char*, std::size_t> cases[] = {
      {"24-01-15x", 8},           {"2024-01-15 10:30:59", 19},
      {"2024-01-15 10:30 ", 16},  {"2024-01-15 10:3", 10},
      {"2024-01-15 10:30:", 10},  {"2024-01-15 10:305", 10},
      {"2024-01-15 25:00:5", 10}, {"2024-01-15  10:30", 10}};
  for (const auto& [text, length] : cases) {
    EXPECT_EQ(scan_date_time(text).length, length) << text;
  }
}

}  // namespace
