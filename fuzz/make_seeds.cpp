// Writes inputs for the fuzzers to begin with, into one directory each.
//
//   make_seeds DIRECTORY

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/fuzz_run.h"
#include "tests/support/log_builder.h"
#include "tests/support/random_logs.h"
#include "util/chronex/forward_log/fwlog_header.h"
#include "util/chronex/state/run_state.h"

namespace {

constexpr int SHOP = 1;
constexpr int ORDERS = 2;
constexpr int SECRETS = 3;
constexpr int ALICE = 17;

std::string root;

void seed(const std::string& target, const std::string& name,
          const std::string& bytes) {
  std::filesystem::create_directories(root + "/" + target);
  write_file(root + "/" + target + "/" + name, bytes);
}

std::string block(const std::string& bytes) {
  return u16_bytes(static_cast<std::uint16_t>(bytes.size())) + bytes;
}

const std::vector<log_item> ORDER_ITEMS = {
    {"QTY", 'I', 1, 4},   {"NAME", 'X', 1, 8}, {"ORDER", 'K', 2, 2},
    {"PRICE", 'E', 1, 8}, {"BAL", 'P', 1, 3},  {"CODE", 'Z', 1, 4},
    {"UTEXT", 'U', 1, 4}, {"RAW", 'B', 1, 4},  {"REAL", 'E', 1, 4},
    {"ODD", 'I', 1, 5},   {"TINY", 'K', 1, 1}, {"WIDE", 'I', 1, 8}};

std::string order(int quantity, const char* name, double price) {
  return u32_bytes(static_cast<std::uint32_t>(quantity)) + text_bytes(name, 8) +
         u16_bytes(3) + u16_bytes(4) + double_bytes(price) +
         packed_bytes(quantity, 3) + "001E" + text_bytes("u\x81", 4) +
         std::string("r\0w\0", 4) + std::string("\0\0\x80\x3f", 4) + "12345" +
         "\7" + i64_bytes(-quantity);
}

const std::vector<log_item> SECRET_ITEMS = {
    {"ID", 'I', 1, 4},
    {"CARD", 'X', 1, 10, LOG_ITEM_ENCRYPTED},
    {"PIN", 'Z', 2, 4, LOG_ITEM_ENCRYPTED},
    {"CITY", 'X', 1, 6},
    {"BAL", 'P', 1, 5, LOG_ITEM_ENCRYPTED}};

// A record of SECRETS as it is stored, with anything in its cipher.
std::string secret(std::uint32_t id, std::uint32_t key) {
  return u32_bytes(id) + "London" + std::string(2, '\0') + u32_bytes(key) +
         "ivec" + "sixteen bytes of and sixteen more";
}

// MD5 of the fuzzers' master key, "a master key of thirty-two chars".
const std::string MASTER_CHECK =
    "\x4b\xad\x30\xb4\xf4\x51\xef\x5b\x78\xb7\x3e\x07\x1e\x98\x0a\x7d";

const std::vector<log_key> KEYS = {
    {.id = 1, .type = 1, .key = "0123456789abcdef"},
    {.id = 2, .type = 2, .key = "0123456789abcdef0123456789abcdef"},
    {.id = 3,
     .type = 2,
     .key = "fedcba9876543210",
     .master_check = MASTER_CHECK},
    {.id = 4,
     .type = 2,
     .key = "fedcba9876543210",
     .checksum = "a wrong checksum"},
    {.id = 5}};

void describe(log_builder& log) {
  log.database(SHOP, "shop").keys(SHOP, KEYS);
  log.data_set(ORDERS, SHOP, "orders", ORDER_ITEMS);
  log.data_set(SECRETS, SHOP, "secrets", SECRET_ITEMS);
  log.sign_on(ALICE, {"user{ALICE}conntime{1700000000}", "prog{a\\}b}"});
}

std::string orders_log(const log_header& header) {
  log_builder log(header);
  describe(log);
  log.memo(ALICE, 'b', "batch 7").put(ALICE, ORDERS, 1, order(5, "SMITH", 9.5));
  log.update(ALICE, ORDERS, 1, order(5, "SMITH", 9.5), order(6, "JONES", 12));
  log.memo(ALICE, 'm', "a memo\n").memo(ALICE, 'e', "batch 7");
  log.remove(ALICE, ORDERS, 1, order(6, "JONES", 12));
  return log.sign_off(ALICE).end().take();
}

std::string secrets_log(const log_header& header) {
  log_builder log(header);
  describe(log);
  for (std::uint32_t key = 1; key <= 6; ++key) {
    log.put(ALICE, SECRETS, key, secret(key, key));
  }
  log.update(ALICE, SECRETS, 1, secret(1, 2), secret(2, 2));
  return log.sign_off(ALICE).end().take();
}

// Actions of all kinds that say nothing of records.
std::string odd_log(const log_header& header) {
  log_builder log(header);
  log.meta(4, "meta").slave_sync().context(9, 9, "unknown").audit(9, 5, "info");
  log.record({.record_type = 28}, {}).cluster(-1, 0);
  log.sign_on_raw(ALICE, "\2").memo(ALICE, 77, "another mode").number(3);
  log.memo(ALICE, 'b', {}).number(900).sign_off(ALICE);
  log.before_image({.session = ALICE, .node = ORDERS, .op = 1});
  return log.end().take();
}

// A data set that grows between a before-image and its operation.
std::string redefined_log() {
  log_builder log;
  describe(log);
  log.before_image(
      {.session = ALICE, .node = 4, .recno = 1, .op = 1, .image = "none"});
  log.data_set(4, SHOP, "small", {{"NAME", 'X', 1, 4}});
  log.before_image(
      {.session = ALICE, .node = 4, .recno = 1, .op = 1, .image = "JACK"});
  log.data_set(4, SHOP, "small", {{"NAME", 'X', 1, 9}});
  log.put(ALICE, 4, 1, "JACKSON  ");
  return log.end().take();
}

// A forward log, and the audit file that is made from it.
void log_seed(const std::string& name, const std::string& log) {
  seed("fwlog", name, log);
  const fuzz_bytes file(reinterpret_cast<const std::uint8_t*>(log.data()),
                        log.size());
  std::vector<std::uint8_t> audit;
  fuzz_run(fuzz_run_files(file), 0, &audit);
  seed("audit", name, std::string(audit.begin(), audit.end()));
}

void forward_logs() {
  // The upper byte of the character set chooses the settings of the run.
  for (const int settings : {0, 1, 2, 4, 8, 16, 32, 64, 127}) {
    const log_header header{.charset =
                                static_cast<std::uint16_t>(settings << 8 | 1)};
    const std::string name = std::to_string(settings);
    log_seed("orders-" + name, orders_log(header));
    log_seed("secrets-" + name, secrets_log(header));
  }
  const log_header resync{.charset = RUN_PASSES_OVER_DAMAGE << 8 | 1};
  const std::string orders = orders_log(resync);
  log_seed("hole", std::string(orders).replace(300, 40, std::string(40, 0)));
  log_seed("odd", odd_log({}));
  log_seed("redefined", redefined_log());
  log_seed("page", log_builder().page().end().take());
  log_seed("sequence", odd_log({.sequence = 2}) + orders_log({.sequence = 1}) +
                           odd_log({.generation = 3}) +
                           orders_log({.sequence = 1}));
  log_seed("audit-only",
           orders_log({.signature = "KORV.FWAUD", .version = "1.01"}));
  log_seed("old", orders_log({.version = "1.00", .short_form = true}));
}

void key_contexts() {
  const std::string keys =
      log_builder({.short_form = true}).keys(SHOP, KEYS).take();
  // What precedes the keys: the file's header, tag, prefix and context header.
  const std::string payload = keys.substr(28 + 1 + 8 + 8);
  for (std::uint32_t key = 1; key <= 6; ++key) {
    seed(
        "node_crypt", std::to_string(key),
        block(item_list_bytes(SECRET_ITEMS)) + block(payload) + secret(1, key));
  }
}

void filters() {
  const std::string event = std::string("\0\0\12\20", 4) + "SMITH     ";
  int number = 0;
  for (const char* text :
       {"DBPUT OR NOT DBUPDATE AND (DBDELETE)", "SHOP.ORDERS AND ?hop.[A-Z]*",
        "RECNO>=10 AND RECNO BETWEEN 1 AND 99",
        "TIMESTAMP > 2023-11-14 22:13:20 OR TIMESTAMP<15.11.23",
        "-NAME='S*' OR +NAME<>\"J?NES\" OR COUNT[2]=x00ff",
        "QTY<-5 OR PRICE>1.5e3 OR BAL=+12 OR CODE<=7 OR WIDE=1 OR ODD=x1",
        "user={a*} AND prog<>{\\}} OR conntime BETWEEN {1} {1700000001}",
        "ID={7} OR DBBEGIN={batch*} OR DBEND={*} OR DBMEMO>{a}",
        "[ORDER DATE[1\\]]=\"2024\" OR REAL BETWEEN 0 1"}) {
    seed("filter", std::to_string(++number), text + event);
  }
}

void key_files() {
  const std::string digest(32, '0');
  const std::string key(64, 'a');
  seed("key_file", "plain",
       "; remark\ntop=1\n[compat]\ncksum=" + digest + "\nkey = \"" + key +
           "\"\nkeyt=XOR\ncipher=compat\n");
  seed("key_file", "parts",
       "[one]\r\ncksum=" + digest + "\r\nkeyp=" + key + "\r\ncksump=" + digest +
           "\r\n[ two ]\nCKSUM=" + digest + ";\nkeyt='aes'\ncksump=" + digest +
           "\nkeyp=" + key + "\n");
  int number = 0;
  for (const char* cipher :
       {"des-ede3-cbc", "aes128-cbc-nopad", "AES256-cbc-pad"}) {
    seed("key_file", "hmac-" + std::to_string(++number),
         "[aes]\ncksum=" + digest + "\nkey=" + key +
             "\ncipher=hmac-sha1:" + cipher + ":0102030405060708:10:rest\n[");
  }
}

// Type, width, room, two values and a text.
void values() {
  const auto value = [](const std::string& name, char type,
                        const std::string& a, const std::string& b,
                        const std::string& text) {
    const std::string head{type, static_cast<char>(a.size() - 1), '\17'};
    seed("typeutils", name, head + a + b + text);
  };
  value("float", 0, std::string("\0\0\x80\x3f", 4), "\x01\x02\xff\xc2",
        "-1e-3");
  value("double", 0, double_bytes(1.5), double_bytes(-1e308), "0x1.8p3");
  value("odd-float", 0, "abc", "abd", "x123456");
  value("signed", 1, i64_bytes(-1), i64_bytes(77), "-9223372036854775808");
  value("short", 1, u16_bytes(7), u16_bytes(65535), "+32768");
  value("wide", 1, "a long integer", "a long value 1", "xabcdef");
  value("unsigned", 2, u32_bytes(7), u32_bytes(1U << 31), "4294967295");
  value("packed", 3, packed_bytes(-123, 3), packed_bytes(45678, 3), "-00123");
  value("zoned", 4, "0012}", "0012C", "+1234567");
}

// What runs know behind random logs.
void state_seeds() {
  for (std::uint64_t number = 1; number <= 20; ++number) {
    random_source random(number);
    const auto run = std::make_unique<chronex_run>();
    run->messages.silent = true;
    run->events.keeps_stored = true;
    std::vector<std::unique_ptr<input_file>> files;
    for (const random_log& log : make_random_logs(random)) {
      const std::string name = root + "/log";
      write_file(name, log.bytes);
      auto file = std::make_unique<input_file>(run->messages);
      file->name = log.name;
      if (!file->stream.open(name.c_str(), [] {}) ||
          fwlog_read_file_header(*file, run->charset_id) != 0) {
        continue;
      }
      run->forward_logs.fwlog_process_file(*file);
      files.push_back(std::move(file));
    }
    std::filesystem::remove(root + "/log");
    state_writer state;
    save_run({.events = run->events,
              .forward_logs = run->forward_logs,
              .charset_id = run->charset_id,
              .earlier_files = files},
             state);
    seed("state", "random-" + std::to_string(number),
         std::string(state.written().begin(), state.written().end()));
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds directory\n");
    return 2;
  }
  root = argv[1];
  fuzz_run_setup();
  forward_logs();
  key_contexts();
  filters();
  key_files();
  values();
  state_seeds();
  return 0;
}
