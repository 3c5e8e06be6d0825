// Input: a filter text up to a zero byte, and then what the event consists of:
// one byte that picks its kind, its record number and time, and the images.

#include <cstdlib>
#include <string>

#include "fuzz/fuzz_support.h"
#include "tests/support/log_builder.h"
#include "util/chronex/filter/expr_compile.h"
#include "util/chronex/filter/expr_eval.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"

namespace {

// Texts beyond this add nothing but time.
constexpr std::size_t MAX_TEXT = 4096;

fuzz_bytes bytes_of(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// One item of every type, one with elements, and one that is too wide for the
// evaluator to keep its literal.
std::unique_ptr<set_context> make_schema() {
  const std::string list = item_list_bytes({{"NAME", 'X', 1, 10},
                                            {"BYTES", 'B', 1, 6},
                                            {"UTEXT", 'U', 1, 4},
                                            {"QTY", 'I', 1, 4},
                                            {"COUNT", 'K', 3, 2},
                                            {"ODD", 'I', 1, 5},
                                            {"PRICE", 'E', 1, 8},
                                            {"REAL", 'E', 1, 4},
                                            {"BAL", 'P', 1, 5},
                                            {"CODE", 'Z', 1, 6},
                                            {"WIDE", 'Z', 1, 50},
                                            {"ORDER DATE", 'X', 2, 8}});
  std::string problem;
  run_messages messages;
  auto set = node_create_set_context(bytes_of(list), problem, messages);
  fuzz_check(set != nullptr, "the schema is right");
  set->layout_id = 1;
  return set;
}

std::vector<std::uint8_t> memo_text(std::string_view text) {
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  bytes.push_back(0);
  return bytes;
}

// What events of all kinds have in common.
struct scene {
  run_messages messages;
  node_table nodes{messages};
  session_entry session;
  node_entry node;

  scene() {
    session.session_id = 7;
    session.conntime = 1700000000;
    const std::string sign_on = sign_on_bytes(
        {"user{ALICE}prog{order-entry}conntime{1700000000}", "host{a\\}b}"});
    fuzz_check(session.sign_on.copy_from(bytes_of(sign_on)) &&
                   session.dbbegin_end.data.copy_from(memo_text("batch 7")) &&
                   session.dbmemo.data.copy_from(memo_text("a memo")),
               "there is memory");
    session.dbbegin_end.size = 7;
    session.dbbegin_end.mode = MEMO_DBBEGIN;
    session.dbmemo.size = 6;
    session.dbmemo.mode = MEMO_DBMEMO;
    node.table = &nodes;
    node.name = "SHOP.ORDERS";
    node.node_id = 2;
    node.type = NODE_DATA_SET;
    node.set = std::move(*make_schema());
  }
};

// Compiles and evaluates; the compiler's error if there is one.
int evaluate(const std::string& text, const filter_context& context) {
  compiled_expr expr;
  const int compiled = expr_compile(&expr, text.c_str());
  fuzz_check(compiled <= 0, "the compiler returns 0 or an error");
  if (compiled != 0) return compiled;
  expr_evaluator evaluator(&expr);
  const int result = evaluator.expr_eval(context);
  fuzz_check(result == EXPR_HOLDS || result == EXPR_FAILS || result < 0,
             "an expression holds, fails, or has an error");
  fuzz_check(evaluator.expr_eval(context) == result,
             "what is learned of an event does not change its result");
  return result;
}

// Larger expressions of the same text; those may be too complex. A line end
// keeps a comment at the end of the text from reaching on.
void check_relatives(const std::string& text, const filter_context& context,
                     int result) {
  const std::string part = "(" + text + "\n)";
  const int negated = evaluate("NOT" + part, context);
  fuzz_check(negated < 0 || negated != result, "NOT gives the opposite");
  const int twice = evaluate(part + "AND" + part, context);
  fuzz_check(twice < 0 || twice == result, "AND of one test is that test");
  const int always = evaluate(part + "OR NOT" + part, context);
  fuzz_check(always < 0 || always == EXPR_HOLDS, "a test holds or not");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  setenv("TZ", "UTC0", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  static const scene scene;
  fuzz_bytes input(data, size);
  const std::string text(
      fuzz_text(input).substr(0, fuzz_text(input).find('\0')));
  if (text.size() > MAX_TEXT) return 0;
  fuzz_take(input, text.size() + 1);

  filter_context context{.session = &scene.session, .timestamp = 1700000000};
  const std::uint8_t kind = fuzz_take_byte(input) % 4;
  const auto rec_sz = static_cast<std::size_t>(scene.node.set->rec_sz);
  context.record_number = fuzz_take_byte(input);
  context.timestamp += fuzz_take_byte(input);
  const auto before = fuzz_sized_copy(fuzz_take(input, rec_sz), rec_sz);
  const auto after = fuzz_sized_copy(fuzz_take(input, rec_sz), rec_sz);
  if (kind < 3) {
    context.node = &scene.node;
    context.operation = "123"[kind];
    if (context.operation != '2') context.before_image = before;
    if (context.operation != '3') context.after_image = after;
  }
  const int result = evaluate(text, context);
  if (result > 0) check_relatives(text, context, result);
  return 0;
}
