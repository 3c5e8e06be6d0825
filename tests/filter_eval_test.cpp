// Evaluation of filter expressions on events built by hand.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/schema_of.h"
#include "util/chronex/filter/expr_compile.h"
#include "util/chronex/filter/expr_eval.h"
#include "util/chronex/filter/filter.h"
#include "util/chronex/filter/session_attribute.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"

namespace {

std::size_t allocations = 0;

}  // namespace

// Inlined, they would look like a pair that does not match.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  void* const block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void* operator new(std::size_t size,
                                     const std::nothrow_t& /*tag*/) noexcept {
  ++allocations;
  return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block,
                                       std::size_t /*size*/) noexcept {
  std::free(block);
}

namespace {

using namespace std::string_view_literals;

// An item with its elements' stored bytes, one element after the other.
struct item {
  log_item type;
  std::string_view before;
  std::string_view after;
};

const std::vector<item> ORDER_ITEMS = {
    {{"QTY", 'I', 1, 4}, "\5\0\0\0"sv, "\7\0\0\0"sv},
    {{"NAME", 'X', 1, 10}, "SMITH     ", "SMITH     "},
    {{"ORDER", 'K', 3, 2}, "\1\0\2\0\3\0"sv, "\1\0\2\0\4\0"sv},
    {{"ORDER DATE", 'U', 1, 9}, "         ", "2024*[x] "},
    {{"RAW", 'B', 1, 6}, "AB  \0\0"sv, "AB\0B\0\0"sv},
    {{"ZONED", 'Z', 1, 3}, "00}", "01E"},
    {{"PACKED", 'P', 1, 2}, "\x01\x2d", "\x00\x0c"sv},
    {{"REAL", 'E', 1, 8}, "\0\0\0\0\0\0\x25\x40"sv, "\0\0\0\0\0\0\xf8\x7f"sv},
    {{"WIDE", 'Z', 1, 50},
     "00000000000000000000000000000000000000000000000007",
     "00000000000000000000000000000000000000000000000009"},
    {{"ODD", 'Q', 1, 1}, "\0"sv, "\0"sv},
};

std::span<const std::uint8_t> bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// An event of session 7; a memo event until it is given a data set.
class event {
 public:
  event() {
    session.session_id = 7;
    context.session = &session;
    context.timestamp = 1705314600;  // 2024-01-15 10:30 UTC
  }

  event(const char* set_name, char operation) : event() {
    node.table = &nodes;
    node.name = set_name;
    context.node = &node;
    context.operation = operation;
    context.record_number = 100;
    define(ORDER_ITEMS);
  }

  void define(const std::vector<item>& items) {
    std::vector<log_item> schema;
    before_.clear();
    after_.clear();
    for (const item& entry : items) {
      schema.push_back(entry.type);
      before_ += entry.before;
      after_ += entry.after;
    }
    node.set = std::move(*schema_of(schema));
    if (context.operation != '2') context.before_image = bytes_of(before_);
    if (context.operation != '3') context.after_image = bytes_of(after_);
  }

  void sign_on(const std::vector<std::string>& strings) {
    EXPECT_TRUE(session.sign_on.copy_from(bytes_of(sign_on_bytes(strings))));
    session.verdicts = {};
  }

  run_messages messages;
  node_table nodes{messages};
  session_entry session;
  node_entry node;
  filter_context context;

 private:
  std::string before_;
  std::string after_;
};

void set_memo(memo_slot& slot, std::uint32_t mode, const std::string& text) {
  EXPECT_TRUE(slot.data.copy_from(bytes_of({text.data(), text.size() + 1})));
  slot.size = static_cast<std::int32_t>(text.size());
  slot.mode = mode;
}

// Evaluates twice: the second time with what was learned the first time.
void expect_result(int result, const event& e,
                   std::initializer_list<std::string> texts) {
  setenv("TZ", "UTC0", 1);
  for (const std::string& text : texts) {
    compiled_expr expr;
    ASSERT_EQ(expr_compile(&expr, text.c_str()), 0) << text;
    expr_evaluator evaluator(&expr);
    EXPECT_EQ(evaluator.expr_eval(e.context), result) << text;
    EXPECT_EQ(evaluator.expr_eval(e.context), result) << "again: " << text;
  }
}

void expect_holds(const event& e, std::initializer_list<std::string> texts) {
  expect_result(EXPR_HOLDS, e, texts);
}

void expect_fails(const event& e, std::initializer_list<std::string> texts) {
  expect_result(EXPR_FAILS, e, texts);
}

TEST(filter_eval, memo_event) {
  const event e;
  expect_holds(e, {"DBPUT AND CUSTDB.ORD* AND QTY = 7 AND QTY <> 7",
                   "RECNO BETWEEN 5 3 AND TIMESTAMP = 2024-01-15 10:30"});
  expect_fails(e, {"NOT DBPUT", "RECNO <> 5", "RECNO > 5", "user <> {*}",
                   "TIMESTAMP < 2024-01-15 10:30"});
}

TEST(filter_eval, operation_and_data_set) {
  event e("CUSTDB.ORDERS", '1');
  expect_holds(e, {"DBUPDATE", "NOT DBPUT AND NOT DBDELETE", "cust*.ord*",
                   "[custdb.[N-P\\]RDERS]", "RECNO < 4294967295",
                   "RECNO = 100 AND RECNO BETWEEN 99 AND 100",
                   "TIMESTAMP BETWEEN 2024-01-15 2024-01-16"});
  expect_fails(e, {"DBPUT OR DBDELETE", "*.lines", "c.*", "[*S.]",
                   "[custdb.[n-p\\]RDERS]", "TIMESTAMP > 2024-01-15 10:30:00"});
  // More than 2^31 apart.
  e.context.timestamp = e.context.record_number = 4294967295;
  expect_holds(e, {"TIMESTAMP > 1970-01-01 AND RECNO > 0"});
  expect_result(EXPR_ERROR_SYNTAX, event("NODOT", '1'), {"DBUPDATE OR *.*"});
}

TEST(filter_eval, choice_of_the_image) {
  event e("D.S", '1');
  expect_holds(e, {"QTY = 7", "QTY = 5", "-QTY = 5", "+qty = 7", "QTY <> 5"});
  // Either image will do for each of the two bounds.
  expect_holds(e, {"QTY BETWEEN 6 9", "QTY BETWEEN 6 AND 6"});
  expect_fails(e, {"-QTY = 7", "+QTY = 5", "-QTY <> 5", "-QTY BETWEEN 6 9"});
  expect_holds(event("D.S", '2'), {"-QTY = 7"});
  expect_holds(event("D.S", '3'), {"+QTY = 5"});
  e.context.before_image = e.context.after_image = {};
  expect_fails(e, {"QTY = 7 OR QTY <> 7"});
}

TEST(filter_eval, numeric_items) {
  const event e("D.S", '1');
  expect_holds(
      e, {"QTY = '7abc' AND QTY = 'x07'",
          "ZONED = 15 AND ZONED = 0 AND +ZONED > 14",
          "PACKED = -12 AND PACKED = -0 AND -PACKED < -11",
          "-REAL = 10.5 AND -REAL = 0x15p-1", "+REAL > 0 AND +REAL > 1e300",
          "-WIDE = 7 AND +WIDE > 8", "ORDER[1] = 1 AND order[2] = 2",
          "-ORDER[3] = 3 AND +ORDER[3] = 4"});
  // Literals that the item cannot hold, and other values.
  expect_fails(e, {"QTY = '12abc'", "QTY <> ' 7'", "QTY <> 99999999999",
                   "ZONED <> 1000", "WIDE <> 'x'", "+REAL < 0"});
  // Names that mean no item, or more than one element.
  expect_fails(e, {"ODD <> 0", "NOSUCH <> 1", "[] <> 1", "[-] <> 1"});
  expect_fails(e, {"QTY[1] <> 9", "ORDER = 1 OR ORDER <> 1"});
  expect_fails(e, {"ORDER[03] <> 9", "ORDER[0] <> 9", "ORDER[4] <> 9",
                   "ORDER[] <> 9", "ORDER[3x <> 9", "ORDER[+3] <> 9",
                   "ORDER[18446744073709551619] <> 9"});
}

TEST(filter_eval, character_items) {
  const event e("D.S", '1');
  expect_holds(e, {"NAME = 'SM*'", "NAME <> 'sm*'", "NAME = 'SMITH'",
                   "NAME >= 'SMITHSON' AND NAME <= 'SMITHSON'",
                   "NAME > 'SMITA' AND NAME < 'SN'"});
  expect_fails(e, {"NAME = 'sm*'", "NAME = 'SMITH     '", "NAME < 'SMI'",
                   "NAME = 5", "NAME <= 9", "-RAW = 'AB'"});
  // The tokenizer drops one backslash, the matcher reads the other.
  expect_holds(e, {"[+ORDER DATE] = '2024\\\\*\\\\[x]'"});
  // An item that is all blank has no characters to compare.
  expect_holds(e, {"[-ORDER DATE] = '' AND [-ORDER DATE] >= 'z'"});
  // Patterns see a zero byte, the order ends where both texts have one.
  expect_holds(
      e, {"-RAW = 'AB  '", "+RAW = 'AB?B'", "+RAW >= 'AB' AND +RAW <= 'AB'"});
}

// What an expression keeps of a data set must not outlive its definition.
TEST(filter_eval, redefined_data_set) {
  compiled_expr expr;
  ASSERT_EQ(expr_compile(&expr, "QTY = 7"), 0);
  expr_evaluator qty(&expr);
  event e("D.S", '2');
  EXPECT_EQ(qty.expr_eval(e.context), EXPR_HOLDS);
  // As many definitions as it takes to meet an old one's slot again.
  for (std::size_t i = 0; i < learned_slots<item_place>::LEAST; ++i) {
    e.define(
        {{{"PAD", 'X', 1, 4}, "", "    "}, {{"QTY", 'K', 1, 2}, "", "\7\0"sv}});
  }
  EXPECT_EQ(qty.expr_eval(e.context), EXPR_HOLDS);
  e.define({{{"QTY", 'K', 2, 2}, "", "\7\0\7\0"sv}});
  EXPECT_EQ(qty.expr_eval(e.context), EXPR_FAILS);
  e.define({});
  expect_fails(e, {"QTY <> 1"});
  e.define({{{"", 'K', 2, 2}, "", "\7\0\7\0"sv}});
  expect_fails(e, {"QTY[1] <> 1"});
  e.node.set.reset();
  expect_fails(e, {"QTY <> 1"});

  // A database's new name is its data sets' new name.
  ASSERT_EQ(expr_compile(&expr, "SALES.*"), 0);
  expr_evaluator sales(&expr);
  e.nodes.node_add_entry(1, NODE_DATABASE, "stock", 0, nullptr);
  e.nodes.node_add_entry(2, NODE_DATA_SET, "parts", 1, nullptr);
  e.context.node = e.nodes.node_get_entry(2);
  EXPECT_EQ(sales.expr_eval(e.context), EXPR_FAILS);
  e.nodes.node_add_entry(1, NODE_DATABASE, "sales", 0, nullptr);
  EXPECT_EQ(sales.expr_eval(e.context), EXPR_HOLDS);
}

TEST(filter_eval, session_id_and_connection_time) {
  event e;
  expect_holds(e, {"id = {7} AND ID = {007} AND id > {6} AND NOT id <> {7}"});
  expect_fails(e, {"conntime <> {1970-01-01}"});
  expect_result(EXPR_ERROR_NUMBER, e,
                {"id = {x}", "id = {}", "id = {-7}", "id = { 7}", "id = {7 }",
                 "id = {9223372036854775808}", "DBPUT OR id = {x}"});
  expect_result(EXPR_ERROR_TIME, e,
                {"conntime > {yesterday}", "conntime > {2024-01-15 }",
                 "conntime > {2039-01-01}", "NOT DBPUT AND conntime > {}"});
  e.session.session_id = -7;
  e.session.conntime = 1705314600;
  expect_holds(e,
               {"id < {9223372036854775807}", "conntime = {15.01.2024 10:30}"});
}

TEST(filter_eval, session_memos) {
  event e;
  set_memo(e.session.dbbegin_end, MEMO_DBBEGIN, "batch run 7");
  set_memo(e.session.dbmemo, MEMO_DBMEMO, std::string("m\0x", 3));
  expect_holds(
      e, {"dbbegin = {BATCH*}", "DBBEGIN > {BATCH} AND dbbegin < {Batch S}"});
  expect_fails(e, {"dbbegin <> {BATCH*}", "dbend = {*}", "dbend <> {*}"});
  // Patterns see the whole text, the order only up to its zero byte.
  expect_holds(e, {"dbmemo = {M?X}", "dbmemo <= {M} AND dbmemo >= {M}"});
  set_memo(e.session.dbbegin_end, MEMO_DBEND, "end");
  set_memo(e.session.dbmemo, MEMO_DBMEMO, "");
  expect_holds(e, {"dbend = {END} AND NOT dbbegin = {*}"});
  expect_fails(e, {"dbmemo = {}", "dbmemo <> {x}"});
}

TEST(filter_eval, sign_on_attributes) {
  event e;
  e.sign_on({"us{short}user{John}host{a\\}b\\\\}", "cut{x", "cut{y\\}",
             "prog{QUERY}{any}late{1}"});
  expect_holds(e, {"user = {SHORT}",  // the key us comes first
                   "HOST = {A\\}B*} AND HOST = {A\\\\\\}B\\\\\\\\}",
                   "prog = {q*y} AND program = {query}",
                   "cut = {any} AND late = {any} AND -user = {any}",
                   "us < {shorter} AND us >= {SHORT}"});
  expect_fails(e, {"us <> {short}", "host <= {a}"});
  e.sign_on({"user{" + std::string(5000, 'u') + "}"});
  attribute_text text;
  EXPECT_EQ(std::strlen(expr_get_session_entry(e.context, "user", text)),
            4095u);
  EXPECT_EQ(expr_get_session_entry(e.context, "use", text), nullptr);
}

void sign_on(session_table& sessions, std::int32_t session_id,
             const std::string& user) {
  owned_bytes data;
  const std::string text = sign_on_bytes({"user{" + user + "}"});
  ASSERT_TRUE(data.copy_from(bytes_of(text)));
  sessions.session_add_entry(session_id, std::move(data));
}

// What is kept of a session belongs to one filter and one sign-on.
TEST(filter_eval, kept_sign_on_results) {
  run_messages messages;
  session_table sessions(messages);
  sign_on(sessions, 1, "ann");
  sign_on(sessions, 2, "bob");
  filter_context ann{.session = sessions.session_get_entry(1)};
  filter_context bob{.session = sessions.session_get_entry(2)};
  std::string tests = "user = {bob}";
  // The last of these are more than are kept.
  for (int i = 1; i < EXPR_KEPT_ATTRIBUTES + 2; ++i) tests += " OR user = {x}";
  compiled_expr expr;
  compiled_expr other;
  ASSERT_EQ(expr_compile(&expr, (tests + " OR user = {cy}").c_str()), 0);
  ASSERT_EQ(expr_compile(&other, "user BETWEEN {aa} AND {bb}"), 0);
  expr_evaluator evaluator(&expr);
  expr_evaluator other_evaluator(&other);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(evaluator.expr_eval(ann), EXPR_FAILS);
    EXPECT_EQ(other_evaluator.expr_eval(ann), EXPR_HOLDS);
    EXPECT_EQ(evaluator.expr_eval(bob), EXPR_HOLDS);
    EXPECT_EQ(other_evaluator.expr_eval(bob), EXPR_FAILS);
  }
  sign_on(sessions, 1, "bob");
  sign_on(sessions, 2, "cy");
  EXPECT_EQ(evaluator.expr_eval(ann), EXPR_HOLDS);
  EXPECT_EQ(evaluator.expr_eval(bob), EXPR_HOLDS);
  sign_on(sessions, 2, "di");
  EXPECT_EQ(evaluator.expr_eval(bob), EXPR_FAILS);
}

// From the first event on, whatever the expression meets.
TEST(filter_eval, allocates_nothing) {
  event e("D.S", '1');
  e.sign_on({"user{" + std::string(5000, 'u') + "}"});
  set_memo(e.session.dbmemo, MEMO_DBMEMO, std::string(500, 'm'));
  compiled_expr expr;
  ASSERT_EQ(expr_compile(&expr,
                         "user = {*u?} AND host = {x} OR dbmemo <> {m} "
                         "OR D.* AND WIDE = 7 OR NAME = '*H' OR QTY > 5 "
                         "OR conntime > {2024-01-01} OR NOT id = {7}"),
            0);
  expr_evaluator evaluator(&expr);
  // The printable name is the data set's.
  node_name2(e.node, false);
  const std::size_t before = allocations;
  EXPECT_EQ(evaluator.expr_eval(e.context), EXPR_HOLDS);
  EXPECT_EQ(allocations, before);
}

// Takes turns among the numbers 1 to 3000; returns how many had to be learned.
int learn_all(learned_slots<std::uint64_t>& slots) {
  int learned = 0;
  for (std::uint64_t number = 1; number <= 3000; ++number) {
    const std::uint64_t known = slots.slot(number);
    if (known == number) continue;
    (known != 0 ? slots.displace(number) : slots.slot(number)) = number;
    ++learned;
  }
  return learned;
}

TEST(learned_slots, become_more_up_to_their_limit) {
  learned_slots<std::uint64_t> slots(256);
  slots.set_limit(4096 * sizeof(std::uint64_t));
  for (int round = 0; round < 4; ++round) learn_all(slots);
  EXPECT_EQ(learn_all(slots), 0);
  learned_slots<std::uint64_t> few(256);
  few.set_limit(4096 * sizeof(std::uint64_t) - 1);
  for (int round = 0; round < 4; ++round) learn_all(few);
  const std::size_t before = allocations;
  EXPECT_GT(learn_all(few), 0);
  EXPECT_EQ(allocations, before);
}

TEST(filter_eval, stack) {
  std::string deep = "RECNO = 1";
  for (int i = 0; i < 48; ++i) deep = "DBPUT AND (" + deep + ")";
  expect_holds(event(), {deep});
  // A range takes one place more than a comparison.
  const std::string range = "RECNO BETWEEN 1 AND 1";
  expect_result(EXPR_ERROR_COMPLEX, event(),
                {"DBPUT AND (" + deep + ")",
                 std::string(deep).replace(deep.find("RECNO"), 9, range)});
  // What comes first in the text fails first.
  expect_result(EXPR_ERROR_NUMBER, event(),
                {"id = {x} AND (DBPUT AND (" + deep + "))"});
  expect_result(EXPR_ERROR_COMPLEX, event(),
                {"(DBPUT AND (" + deep + ")) AND id = {x}"});
}

// The texts of the command line make one filter.
TEST(filter, texts_are_joined_by_and) {
  run_messages messages;
  run_filter filter(messages);
  for (const char* text :
       {"DBPUT OR D.S", "NOT RECNO = 1 # first\n", "QTY = 7 OR QTY = 8"}) {
    ASSERT_EQ(filter.append_filter_expr(text), 0);
  }
  ASSERT_EQ(filter.setup_filter_expr(), 0);
  EXPECT_TRUE(filter.has_filter_expr());
  event e("D.S", '1');
  EXPECT_EQ(filter.select_event(e.context), event_selection::selected);
  e.context.record_number = 1;
  EXPECT_EQ(filter.select_event(e.context), event_selection::rejected);
  EXPECT_EQ(filter.select_event(event("D.T", '1').context),
            event_selection::rejected);
}

}  // namespace
