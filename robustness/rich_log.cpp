#include "robustness/rich_log.h"

#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/md5_of.h"

namespace {

constexpr int DB = 1;
constexpr int STOCK = 2;
constexpr int SECRETS = 3;
constexpr int ALICE = 100;
constexpr int BOB = -7;
constexpr std::uint16_t KEY_TYPE_XOR = 1;
constexpr std::uint16_t KEY_TYPE_AES = 2;

const std::vector<log_item> STOCK_ITEMS = {
    {"CODE", 'X', 1, 6},   {"TITLE", 'U', 2, 4},  {"RAW", 'B', 1, 3},
    {"SINGLE", 'E', 1, 4}, {"DOUBLE", 'E', 1, 8}, {"QUAD", 'E', 1, 16},
    {"SHORT", 'I', 2, 2},  {"LONG", 'I', 1, 8},   {"WIDE", 'I', 1, 5},
    {"COUNT", 'K', 1, 4},  {"PRICE", 'P', 1, 4},  {"ZONED", 'Z', 2, 3}};

std::string stock(char code, std::uint32_t count, std::int64_t price) {
  return std::string(6, code) + text_bytes("ab\ncd", 8) + "\x01\x02\xff" +
         std::string(4, code) + double_bytes(count * 1.5) +
         std::string(16, code) + u16_bytes(1) + u16_bytes(0xfffe) +
         i64_bytes(-price) + std::string(5, code) + u32_bytes(count) +
         packed_bytes(price, 4) + "01K-23";
}

const std::vector<log_item> SECRET_ITEMS = {
    {"NUMBER", 'I', 1, 4},
    {"CARD", 'X', 1, 19, LOG_ITEM_ENCRYPTED},
    {"LIMIT", 'P', 2, 4, LOG_ITEM_ENCRYPTED},
    {"GRADE", 'Z', 1, 2}};

// Number, grade, filler; key id and chaining value; two enciphered blocks.
std::string secret(std::uint32_t key_id, char seed) {
  std::string stored = u32_bytes(42) + std::string("07") + std::string(2, '.') +
                       u32_bytes(key_id) + "IV:)";
  for (int i = 0; i < 32; ++i) stored += static_cast<char>(seed + i * 7);
  return stored;
}

void put_secrets(log_builder& log, std::uint32_t key_id) {
  log.data_set(SECRETS, DB, "secrets", SECRET_ITEMS);
  log.put(ALICE, SECRETS, 1, secret(key_id, 'a'));
  log.update(ALICE, SECRETS, 1, secret(key_id, 'a'), secret(key_id, 'k'));
  log.remove(ALICE, SECRETS, 1, secret(key_id + 1, 'k'));
}

void put_memos(log_builder& log) {
  log.memo(ALICE, 'b', "receive goods");
  log.memo(ALICE, 'm', "truck\t17");
  log.memo(ALICE, 'e', "").memo(ALICE, 'z', "unknown mode");
  log.memo(999, 'b', "nobody").memo(BOB, 'm', "held back");
}

void put_operations(log_builder& log) {
  log.put(ALICE, STOCK, 1, stock('a', 10, 1995));
  log.update(BOB, STOCK, 1, stock('a', 10, 1995), stock('a', 9, -1995));
  log.operation({.session = BOB, .node = STOCK, .recno = 2, .op = 4});
  log.operation({.session = BOB,
                 .node = STOCK,
                 .recno = 2,
                 .op = 1,
                 .image = stock('b', 1, 5)});
  log.remove(ALICE, STOCK, 1, stock('a', 9, -1995));
  log.put(ALICE, STOCK, 3, "too short").put(ALICE, 77, 3, "no data set");
}

}  // namespace

std::string rich_log(bool with_pages) {
  log_builder log;
  log.database(DB, "depot").data_set(STOCK, DB, "stock", STOCK_ITEMS);
  log.sign_on(ALICE, {"user{ALICE}program{goods\\}in}conntime{1699999999}",
                      "host{dock.example}"});
  log.sign_on(BOB, {}).audit(BOB, 42, "info").context(DB, 9, "context");
  log.meta(5, "meta.").cluster(-1, 0);
  if (with_pages) log.page().cluster(2, 2);
  put_memos(log);
  put_operations(log);
  log.keys(DB, {{.id = 5, .type = KEY_TYPE_XOR, .key = "sixteen byte key"},
                {.id = 6, .type = 0}});
  put_secrets(log, 5);
  // A gap, and a stretch that is repeated.
  log.number(100).put(BOB, STOCK, 4, stock('c', 3, 7));
  log.number(99).put(BOB, STOCK, 4, stock('c', 3, 7));
  log.number(101).sign_off(BOB).sign_off(999);
  return log.end().take();
}

std::string rich_log_2() {
  log_builder log({.sequence = 2});
  log.time(1700001000).record({.record_type = 28}, "abort");
  log.slave_sync().data_set(STOCK, DB, "stock", {{"CODE", 'X', 1, 6}});
  log.data_set(8, 88, "orphan", {{"CODE", 'X', 1, 6}});
  log.sign_on(ALICE, {"user{ALICE}program{night shift}"});
  log.before_image(
      {.session = ALICE, .node = STOCK, .recno = 1, .op = 1, .image = "cut"});
  log.operation({.session = ALICE,
                 .node = STOCK,
                 .recno = 1,
                 .op = 1,
                 .image = "fourth"});
  return log.sign_off(ALICE).take();
}

std::string encrypted_log(data_key key) {
  log_key entry{
      .id = 5,
      .type = key == data_key::plain_xor ? KEY_TYPE_XOR : KEY_TYPE_AES,
      .key = "sixteen byte key"};
  if (key == data_key::under_master_key) {
    entry.master_check = md5_of(ENCRYPTION_MASTER_KEY);
  } else {
    entry.checksum = md5_of(entry.key);
  }
  log_builder log;
  log.database(DB, "depot").keys(DB, {entry});
  log.sign_on(ALICE, {"user{ALICE}"});
  put_secrets(log, 5);
  return log.end().take();
}
