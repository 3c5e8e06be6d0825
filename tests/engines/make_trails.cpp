// Makes the logs that scripts/check-engines loads into real engines.
//
//   make_trails DIRECTORY OPERATIONS
//
// writes busy.1-1 and busy.2-1, two months of a shop with many users and that
// many operations; archive/shop.7-1 to shop.7-6, a tenth as many in pieces that
// know each other's sessions and data sets; nightmare.1-1, whose names, texts
// and values are meant to break a statement, a line or a number; and wide.1-1,
// with data sets of more items than a table has columns, and rows that are as
// long as they can be.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/support/log_builder.h"

namespace {

constexpr std::uint32_t MONDAY_8_00 = 1772438400;  // 2026-03-02 08:00:00 UTC
constexpr std::uint32_t TWO_MONTHS = 60 * 24 * 3600;

constexpr int SHOP = 1;
constexpr int CUSTOMER = 2;
constexpr int ORDERS = 3;

std::uint32_t seed = 20260302;

// The same numbers on all systems.
std::uint32_t draw(std::uint32_t below) {
  seed = seed * 1664525U + 1013904223U;
  return static_cast<std::uint32_t>((std::uint64_t{seed} * below) >> 32U);
}

std::string customer(std::uint32_t recno) {
  const std::string name = "Customer " + std::to_string(recno);
  return u32_bytes(1000 + recno) + text_bytes(name, 20) +
         text_bytes(draw(2) == 0 ? "Leeds" : "Y\xF6rk", 16) +
         packed_bytes(1000 * (1 + draw(12)), 4) + (draw(2) == 0 ? "01" : "02");
}

std::string order(std::uint32_t recno) {
  const double amount = draw(50) == 0 ? draw(100000) / 7.0  // all its digits
                                      : draw(1000000) / 100.0;
  return u32_bytes(5000 + recno) + u32_bytes(1000 + draw(4000)) +
         u16_bytes(static_cast<std::uint16_t>(draw(9))) +
         u16_bytes(static_cast<std::uint16_t>(draw(3))) + u16_bytes(0) +
         double_bytes(amount);
}

// A shop at work. Its records are what they are across files.
class shop {
 public:
  // Writes so many operations to a file, whose sessions sign off at its end, so
  // that it can be read alone.
  void work(const std::string& path, std::uint32_t generation,
            std::uint32_t operations, std::uint32_t pace) {
    log_builder log({.generation = generation});
    log.time(time_).pace(0);
    describe(log);
    for (std::uint32_t i = 0; i < operations; ++i) {
      if (i % 1000 == 0) change_shift(log, i > 0);
      log.time(time_ += pace);
      operate(log);
    }
    for (int session = 1; session <= SESSIONS; ++session) log.sign_off(session);
    log.end().write_to(path);
  }

  // Writes them to files of one generation, cut anywhere: only the first tells
  // what data sets are, and who works is at it in the next.
  void work_on(const std::string& path, std::uint32_t files,
               std::uint32_t operations, std::uint32_t pace) {
    constexpr std::uint32_t SHIFT = 700;
    std::uint32_t done = 0;
    for (std::uint32_t file = 1; file <= files; ++file) {
      log_builder log({.generation = 7, .sequence = file});
      log.time(time_).pace(0);
      if (file == 1) describe(log);
      const std::uint32_t end = file * (operations / files) - draw(SHIFT);
      for (; done < end; ++done) {
        if (done % SHIFT == 0) change_shift(log, done > 0);
        log.time(time_ += pace);
        operate(log);
      }
      log.end().write_to(path + std::to_string(file));
    }
  }

 private:
  static void describe(log_builder& log) {
    log.database(SHOP, "shop");
    log.data_set(CUSTOMER, SHOP, "customer",
                 {{"CUSTNO", 'I', 1, 4},
                  {"NAME", 'X', 1, 20},
                  {"CITY", 'X', 1, 16},
                  {"LIMIT", 'P', 1, 4},
                  {"STATUS", 'Z', 1, 2}});
    log.data_set(ORDERS, SHOP, "orders",
                 {{"ORDERNO", 'I', 1, 4},
                  {"CUSTNO", 'I', 1, 4},
                  {"QTY", 'I', 3, 2},
                  {"AMOUNT", 'E', 1, 8}});
  }

  static constexpr int SESSIONS = 6;
  static constexpr std::uint32_t RECORDS = 20000;

  void change_shift(log_builder& log, bool is_later) {
    for (int session = 1; session <= SESSIONS; ++session) {
      if (is_later) log.sign_off(session);
      log.sign_on(session,
                  {"user{USER" + std::to_string(draw(12)) + "}program{" +
                       (draw(3) == 0 ? "batch" : "till") + "}conntime{" +
                       std::to_string(time_) + "}",
                   "host{counter-" + std::to_string(draw(9)) + "}"});
    }
  }

  void operate(log_builder& log) {
    const int session = 1 + static_cast<int>(draw(SESSIONS));
    if (draw(8) == 0) {
      const std::string text = "work " + std::to_string(draw(500));
      log.memo(session, draw(2) == 0 ? 'b' : 'e', text);
    }
    const bool is_order = draw(2) == 0;
    const int node = is_order ? ORDERS : CUSTOMER;
    const std::uint32_t recno = 1 + draw(RECORDS);
    std::string& record = records_[is_order ? 1 : 0][recno - 1];
    const std::string next = is_order ? order(recno) : customer(recno);
    if (record.empty()) {
      log.put(session, node, recno, next);
    } else if (draw(9) == 0) {
      log.remove(session, node, recno, record);
      record.clear();
      return;
    } else {
      log.update(session, node, recno, record, next);
    }
    record = next;
  }

  std::vector<std::string> records_[2] = {std::vector<std::string>(RECORDS),
                                          std::vector<std::string>(RECORDS)};
  std::uint32_t time_ = MONDAY_8_00;
};

// Every byte but zero, of which a name is at most 255 long.
std::string all_bytes() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

const std::vector<std::string>& nasty_texts() {
  static const std::vector<std::string> texts = {
      "\\.",
      "x\n\\.\nDROP TABLE change;\n",
      "'); DROP TABLE change; --",
      "\"; DROP TABLE change; --",
      "`; DROP TABLE change; --",
      "\\N",
      "NULL",
      "\\",
      "\\'",
      "a\tb\r\nc\vd\fe\bf",
      ":'x' :\"y\" $$ %s {} ?",
      "\\! exit\n\\q\n",
      ";ROLLBACK;COMMIT;\n",
      "\x1b[2J\x7f\x01",
      "caf\xE9 \xA0 \xFF",
      all_bytes(),
      std::string("N\0L", 3),
      std::string(),
  };
  return texts;
}

std::vector<log_item> nasty_items() {
  std::vector<log_item> items;
  for (const std::string& name :
       {std::string("a\"b"), std::string("x\ny"), std::string("A"),
        std::string("a"), std::string("A_before"), std::string("_n"),
        std::string("ctid"), std::string("_part"), std::string("b`\\'$;"),
        std::string("c.d"), std::string(), std::string("select"),
        all_bytes().substr(0, 127), all_bytes().substr(127)}) {
    items.push_back({name, 'I', 1, 1});
  }
  items.push_back({"TEXT", 'X', 1, 255});
  items.push_back({"BYTES", 'B', 1, 256});
  return items;
}

// Items of all types, with sizes of every kind.
std::vector<log_item> all_items() {
  std::vector<log_item> items;
  for (const char type : std::string("IKEPZXUBQ")) {
    for (const int size : {1, 2, 3, 4, 8, 9, 10, 16, 18, 19, 20, 38, 39}) {
      items.push_back({type + std::to_string(size), type, 1,
                       static_cast<std::uint16_t>(size)});
    }
  }
  items.push_back({"FEW", 'I', 3, 2});
  items.push_back({"MANY", 'E', 17, 4});
  return items;
}

std::size_t size_of(const std::vector<log_item>& items) {
  std::size_t size = 0;
  for (const log_item& item : items) {
    size += std::size_t{item.count} * item.size;
  }
  return size;
}

// Bytes among which every type finds values: small digits, signs, letters.
std::string random_image(std::size_t size, int kind) {
  const std::string zoned = "0123456789{AJ}";
  const std::string packed = "\x01\x23\x45\x0c\x1d\x99";
  std::string image(size, '\0');
  for (char& byte : image) {
    byte = static_cast<char>(draw(256));
    if (kind == 1) byte = zoned[draw(14)];
    if (kind == 2) byte = packed[draw(6)];
    if (kind == 3) byte = draw(2) == 0 ? '\xff' : '\x7f';
  }
  return image;
}

double random_real(int kind) {
  double value = 0;
  const std::uint64_t bits =
      std::uint64_t{draw(0xFFFFFFFF)} << 32U | draw(0xFFFFFFFF);
  constexpr double SCALES[] = {1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7, 1e9, 1e-5};
  switch (kind) {
    case 0:
      std::memcpy(&value, &bits, sizeof value);
      return value;
    case 1:
      return static_cast<double>(bits >> 12U) * 0x1p-1070;  // hardly numbers
    case 2:
      return static_cast<double>(bits >> 8U);
    default:
      return static_cast<double>(static_cast<std::int64_t>(bits >> 14U)) /
             SCALES[draw(10)] / (kind == 3 ? 1 : 1000000);
  }
}

void add_names_and_texts(log_builder& log) {
  const std::vector<log_item> items = nasty_items();
  log.data_set(2, SHOP, "t\"`\n;--'\\", items);
  std::uint32_t recno = 0;
  const std::string bytes = std::string(1, '\0') + all_bytes();
  for (const std::string& text : nasty_texts()) {
    log.memo(5, 'b', text).memo(5, 'm', text);
    log.put(5, 2, ++recno,
            bytes.substr(0, items.size() - 2) + text_bytes(text, 255) + bytes);
  }
}

void add_values(log_builder& log) {
  const std::vector<log_item> items = all_items();
  log.data_set(3, SHOP, "values", items)
      .data_set(4, SHOP, "reals", {{"R", 'E', 1, 8}});
  std::string last = random_image(size_of(items), 0);
  for (int i = 0; i < 100; ++i) {
    const std::string image = random_image(size_of(items), i % 4);
    log.update(5, 3, 1, last, image);
    last = image;
  }
  for (std::uint32_t i = 0; i < 4000; ++i) {
    log.put(5, 4, i, double_bytes(random_real(static_cast<int>(i % 5))));
  }
}

void make_nightmare(const std::string& path) {
  log_builder log;
  log.database(SHOP, "shop").time(0);
  std::vector<std::string> attributes;
  for (const std::string& text : nasty_texts()) {
    attributes.push_back("user{" + text + "}" + text + "{" + text + "}");
  }
  log.sign_on(5, attributes);
  add_names_and_texts(log);
  log.time(0xFFFF0000);
  add_values(log);
  log.end().write_to(path);
}

// A data set of so many items of a kind, with one update.
void add_wide(log_builder& log, int node, const char* name, int count,
              log_item item) {
  std::vector<log_item> items;
  for (int i = 1; i <= count; ++i) {
    item.name = "I" + std::to_string(i);
    items.push_back(item);
  }
  log.data_set(node, SHOP, name, items);
  const std::size_t size = size_of(items);
  std::string letters(size, ' ');
  for (char& letter : letters) letter = static_cast<char>(0xC0 + draw(63));
  log.update(5, node, 1, letters,
             std::string(letters.rbegin(), letters.rend()));
}

void make_wide(const std::string& path) {
  log_builder log;
  log.database(SHOP, "shop").sign_on(5, {"user{B}"});
  add_wide(log, 2, "bytes", 1000, {"", 'K', 1, 1});
  add_wide(log, 3, "numbers", 1000, {"", 'I', 1, 8});
  add_wide(log, 4, "letters", 1000, {"", 'X', 1, 1});
  add_wide(log, 5, "words", 1000, {"", 'X', 1, 7});
  add_wide(log, 6, "texts", 270, {"", 'X', 1, 30});
  add_wide(log, 7, "digits", 420, {"", 'Z', 1, 19});
  add_wide(log, 8, "strings", 400, {"", 'B', 1, 20});
  log.end().write_to(path);
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 3) {
    std::fputs("usage: make_trails DIRECTORY OPERATIONS\n", stderr);
    return 2;
  }
  const std::string directory = std::string(argv[1]) + '/';
  const auto half =
      static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10) / 2);
  const std::uint32_t pace = half == 0 ? 1 : TWO_MONTHS / half / 2;
  shop busy;
  busy.work(directory + "busy.1-1", 1, half, pace);
  busy.work(directory + "busy.2-1", 2, half, pace);
  std::filesystem::create_directory(directory + "archive");
  shop().work_on(directory + "archive/shop.7-", 6, half / 5, 10 * pace);
  make_nightmare(directory + "nightmare.1-1");
  make_wide(directory + "wide.1-1");
  return 0;
}
