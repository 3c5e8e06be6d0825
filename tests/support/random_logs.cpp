#include "tests/support/random_logs.h"

#include "tests/support/log_builder.h"

namespace {

constexpr int DATABASE = 1;
constexpr int ORDERS = 2;
constexpr int CARDS = 3;

using items = std::vector<log_item>;
const items ORDER_ITEMS[] = {
    {{"QTY", 'I', 1, 4}, {"NAME", 'X', 1, 6}},
    {{"QTY", 'I', 1, 4}, {"NAME", 'X', 1, 6}, {"MORE", 'K', 2, 2}},
};
const items CARD_ITEMS[] = {
    {{"ID", 'I', 1, 4}, {"CARD", 'X', 1, 10, LOG_ITEM_ENCRYPTED}},
    {{"ID", 'I', 1, 4},
     {"CARD", 'X', 1, 12, LOG_ITEM_ENCRYPTED},
     {"PIN", 'Z', 1, 4, LOG_ITEM_ENCRYPTED}},
};

// One file in the making. Every action gets its number here.
class log_writer {
 public:
  log_writer(random_source& random, const log_header& header)
      : random_(random), log_(header) {}

  void add_actions(std::uint32_t count) {
    for (; count > 0; --count) add_action();
  }
  log_builder& next() { return log_.number(number_++); }
  std::string bytes() const { return log_.bytes(); }

 private:
  int session() { return 1 + static_cast<int>(random_.below(4)); }
  int data_set() { return random_.chance(60) ? ORDERS : CARDS; }
  std::string text(std::size_t size) {
    std::string made;
    while (made.size() < size) made += "abcXYZ 09\xE9\x80"[random_.below(11)];
    return made;
  }
  std::string record(int node);
  log_operation image(int node);
  void sign_on();
  void describe();
  void add_keys();
  void operate();
  void say_memo();
  void add_other();
  void renumber();
  void add_action();

  random_source& random_;
  log_builder log_;
  std::uint32_t number_ = 1;
};

// Cards are enciphered with anything: what comes out does not matter.
std::string log_writer::record(int node) {
  std::string stored = u32_bytes(random_.below(50));
  if (node == ORDERS) {
    stored += text(random_.chance(50) ? 6 : 10);
  } else {
    constexpr std::uint32_t KEY_IDS[] = {7, 7, 7, 8, 9};
    stored += u32_bytes(random_.one_of(KEY_IDS)) + text(4 + 16);
  }
  if (random_.chance(4)) stored.resize(random_.below(stored.size() + 1));
  return stored;
}

log_operation log_writer::image(int node) {
  return {.session = session(),
          .node = node,
          .recno = random_.below(3),
          .image = record(node),
          .image_key = random_.below(2)};
}

void log_writer::sign_on() {
  constexpr const char* USERS[] = {"BOB", "ALICE", "caf\xE9"};
  if (random_.chance(5)) {
    next().sign_on_raw(session(), text(random_.below(9)));
    return;
  }
  next().sign_on(session(), {std::string("user{") + random_.one_of(USERS) +
                                 "}program{order}conntime{17000000" +
                                 std::to_string(10 + random_.below(3)) + "}",
                             "host{counter}"});
}

void log_writer::describe() {
  switch (random_.below(4)) {
    case 0:
      next().database(DATABASE, random_.chance(80) ? "shop" : "store");
      return;
    case 1:
      next().data_set(ORDERS, DATABASE, "orders", random_.one_of(ORDER_ITEMS));
      return;
    case 2:
      next().data_set(CARDS, DATABASE, "cards", random_.one_of(CARD_ITEMS));
      return;
    default:
      add_keys();
  }
}

// A key in clear, and one that needs a master key, which there is not.
void log_writer::add_keys() {
  const std::string key = text(16);
  std::vector<log_key> keys = {{.id = 7, .type = 1, .key = key}};
  if (random_.chance(50)) {
    keys.push_back({.id = 8,
                    .type = 1,
                    .key = std::string(16, '#'),
                    .master_check = std::string(16, '?')});
  }
  next().keys(DATABASE, keys);
}

void log_writer::operate() {
  constexpr std::uint8_t CODES[] = {1, 1, 3, 3, 3, 4, 5, 9};
  log_operation operation = image(data_set());
  operation.op = random_.one_of(CODES);
  if (random_.chance(35)) {
    next().before_image(operation);
  } else {
    next().operation(operation);
  }
}

void log_writer::say_memo() {
  constexpr std::uint32_t MODES[] = {98, 101, 109, 109, 77};
  next().memo(session(), random_.one_of(MODES), text(random_.below(20)));
}

void log_writer::add_other() {
  switch (random_.below(5)) {
    case 0:
      next().page();
      return;
    case 1:
      next().cluster(1, 1);
      return;
    case 2:
      next().meta(5, "meta!");
      return;
    case 3:
      next().slave_sync();
      return;
    default:
      next().audit(session(), 'Q', text(7));
  }
}

void log_writer::renumber() {
  if (random_.chance(50)) {
    number_ += 1 + random_.below(3);
  } else {
    number_ -= random_.below(number_);
  }
}

void log_writer::add_action() {
  const std::uint32_t kind = random_.below(100);
  if (kind < 10) {
    sign_on();
  } else if (kind < 14) {
    next().sign_off(session());
  } else if (kind < 26) {
    say_memo();
  } else if (kind < 36) {
    describe();
  } else if (kind < 94) {
    operate();
  } else if (kind < 97) {
    add_other();
  } else {
    renumber();
  }
}

// What can happen to a file.
void spoil(random_source& random, std::string& bytes) {
  const std::size_t header = random_log_header_size();
  if (random.chance(15)) {
    bytes.resize(header + random.below(bytes.size() - header + 1));
  } else if (random.chance(5)) {
    const std::size_t at = header + random.below(bytes.size() - header);
    bytes[at] = static_cast<char>(random.below(256));
  }
}

void begin(log_writer& log) {
  log.next().database(DATABASE, "shop");
  log.next().data_set(ORDERS, DATABASE, "orders", ORDER_ITEMS[0]);
  log.next().data_set(CARDS, DATABASE, "cards", CARD_ITEMS[0]);
  log.next().keys(DATABASE, {{.id = 7, .type = 1, .key = "sixteen key byte"}});
  log.next().sign_on(1, {"user{BOB}", "host{counter}"});
}

}  // namespace

std::size_t random_log_header_size() { return log_builder().bytes().size(); }

std::vector<random_log> make_random_logs(random_source& random) {
  std::vector<random_log> logs;
  log_header header{.generation = 7, .sequence = 0};
  const std::uint32_t count = 1 + random.below(4);
  while (logs.size() < count) {
    if (logs.empty() || !random.chance(6)) ++header.sequence;
    if (random.chance(6)) ++header.sequence;
    if (random.chance(6)) header.generation += 1 + random.below(2);
    if (random.chance(2)) header.version = "1.00";
    header.short_form = header.version == "1.00";
    log_writer log(random, header);
    if (logs.empty()) begin(log);
    log.add_actions(5 + random.below(40));
    if (random.chance(80)) log.next().end();
    std::string bytes = log.bytes();
    spoil(random, bytes);
    logs.push_back({"log." + std::to_string(logs.size()), bytes});
    header.version = "2.01";
  }
  header.short_form = false;
  ++header.sequence;
  log_writer last(random, header);
  last.add_actions(3);
  last.next().end();
  logs.push_back({"log." + std::to_string(logs.size()), last.bytes()});
  return logs;
}
