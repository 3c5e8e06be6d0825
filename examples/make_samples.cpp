// Makes the sample logs: a small shop whose clerk, manager and nightly batch
// run work on customers and orders.
//
//   make_samples DIRECTORY
//
// writes shop.7-1, shop.7-2, shop.8-1 and shop.8-3. Generation 8 begins after a
// backup; its second file is missing, as if it had been lost. depot.1-1 and
// old-depot.1-1 hold letters with accents, in ISO 8859-1 and in HP Roman8.
//
//   make_samples DIRECTORY DATA_KEY ENCIPHERED_DATA_KEY CHECK_VALUE
//
// writes secret.1-1, with a data set that is encrypted under the data key. The
// log has that key only as enciphered under the master key with this check
// value. All three are 16 bytes in hex. Needs the crypto library.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/crypto_api.h"
#include "tests/support/log_builder.h"
#include "tests/support/md5_of.h"

namespace {

constexpr std::uint32_t MONDAY_9_00 = 1772442000;  // 2026-03-02 09:00:00 UTC
constexpr std::uint32_t HOUR = 3600;
constexpr std::uint32_t DAY = 24 * HOUR;

constexpr int SHOP = 1;
constexpr int CUSTOMER = 2;
constexpr int ORDERS = 3;

constexpr int ALICE = 3;
constexpr int BOB = 4;
constexpr int BATCH = 5;

const std::vector<log_item> CUSTOMER_ITEMS = {{"CUSTNO", 'I', 1, 4},
                                              {"NAME", 'X', 1, 20},
                                              {"CITY", 'X', 1, 16},
                                              {"LIMIT", 'P', 1, 4},
                                              {"STATUS", 'Z', 1, 2}};
const std::vector<log_item> ORDER_ITEMS = {{"ORDERNO", 'I', 1, 4},
                                           {"CUSTNO", 'I', 1, 4},
                                           {"QTY", 'I', 3, 2},
                                           {"AMOUNT", 'E', 1, 8}};

std::string customer(std::uint32_t number, const char* name, const char* city,
                     int limit, const char* status) {
  return u32_bytes(number) + text_bytes(name, 20) + text_bytes(city, 16) +
         packed_bytes(limit, 4) + status;
}

std::string order(std::uint32_t number, std::uint32_t customer_number,
                  std::uint16_t first, std::uint16_t second,
                  std::uint16_t third, double amount) {
  return u32_bytes(number) + u32_bytes(customer_number) + u16_bytes(first) +
         u16_bytes(second) + u16_bytes(third) + double_bytes(amount);
}

// Every segment begins with what is open at that time.
void describe_database(log_builder& log) {
  log.database(SHOP, "shop")
      .data_set(CUSTOMER, SHOP, "customer", CUSTOMER_ITEMS)
      .data_set(ORDERS, SHOP, "orders", ORDER_ITEMS);
}

std::vector<std::string> attributes(const char* user, const char* program,
                                    std::uint32_t since) {
  return {std::string("user{") + user + "}program{" + program + "}conntime{" +
              std::to_string(since) + "}",
          "host{counter-2.shop.example}"};
}

// Monday morning: two customers and their first orders.
std::string segment_7_1() {
  log_builder log({.generation = 7, .sequence = 1});
  log.time(MONDAY_9_00).pace(40);
  describe_database(log);
  log.sign_on(ALICE, attributes("ALICE", "order-entry", MONDAY_9_00));
  log.memo(ALICE, 'b', "new customer");
  log.put(ALICE, CUSTOMER, 1,
          customer(1001, "Hill & Sons", "Leeds", 5000, "01"));
  log.put(ALICE, CUSTOMER, 2,
          customer(1002, "North Light", "York", 2500, "01"));
  log.memo(ALICE, 'e', "new customer");
  log.memo(ALICE, 'b', "order 5001");
  log.put(ALICE, ORDERS, 1, order(5001, 1001, 2, 0, 5, 149.95));
  log.memo(ALICE, 'm', "phone order, deliver before noon");
  log.put(ALICE, ORDERS, 2, order(5002, 1002, 1, 1, 1, 89.5));
  log.memo(ALICE, 'e', "order 5001");
  return log.end().take();
}

// Monday afternoon and night: the manager raises a limit, the batch run closes
// an order.
std::string segment_7_2() {
  log_builder log({.generation = 7, .sequence = 2});
  log.time(MONDAY_9_00 + 6 * HOUR).pace(25);
  describe_database(log);
  log.sign_on(ALICE, attributes("ALICE", "order-entry", MONDAY_9_00));
  log.sign_on(BOB, attributes("BOB", "limits", MONDAY_9_00 + 6 * HOUR));
  log.memo(BOB, 'b', "limit review");
  log.update(BOB, CUSTOMER, 1,
             customer(1001, "Hill & Sons", "Leeds", 5000, "01"),
             customer(1001, "Hill & Sons", "Leeds", 12000, "02"));
  log.memo(BOB, 'e', "limit review");
  log.update(ALICE, ORDERS, 1, order(5001, 1001, 2, 0, 5, 149.95),
             order(5001, 1001, 2, 4, 5, 249.95));
  log.sign_off(ALICE);
  log.sign_off(BOB);
  log.time(MONDAY_9_00 + 15 * HOUR);
  log.sign_on(BATCH, attributes("BATCH", "nightly", MONDAY_9_00 + 15 * HOUR));
  log.memo(BATCH, 'b', "batch run 7");
  log.remove(BATCH, ORDERS, 2, order(5002, 1002, 1, 1, 1, 89.5));
  log.memo(BATCH, 'e', "batch run 7");
  log.sign_off(BATCH);
  return log.end().take();
}

// Tuesday, after the backup.
std::string segment_8_1() {
  log_builder log({.generation = 8, .sequence = 1});
  log.time(MONDAY_9_00 + DAY).pace(30);
  describe_database(log);
  log.sign_on(ALICE, attributes("ALICE", "order-entry", MONDAY_9_00 + DAY));
  log.memo(ALICE, 'b', "order 5003");
  log.put(ALICE, ORDERS, 3, order(5003, 1001, 10, 0, 0, 11250.0));
  log.memo(ALICE, 'e', "order 5003");
  return log.end().take();
}

std::string segment_8_3() {
  log_builder log({.generation = 8, .sequence = 3});
  log.time(MONDAY_9_00 + DAY + 4 * HOUR).pace(30);
  describe_database(log);
  log.sign_on(ALICE, attributes("ALICE", "order-entry", MONDAY_9_00 + DAY));
  log.update(ALICE, CUSTOMER, 2,
             customer(1002, "North Light", "York", 2500, "01"),
             customer(1002, "North Light Ltd", "York", 2500, "01"));
  log.sign_off(ALICE);
  return log.end().take();
}

// The depot buys from firms whose names are not ASCII. The names are in the
// character set of the log.
std::string segment_depot(std::uint16_t charset, const char* mueller,
                          const char* cafe) {
  log_builder log({.charset = charset});
  log.time(MONDAY_9_00).pace(30);
  log.database(SHOP, "depot")
      .data_set(CUSTOMER, SHOP, "supplier", CUSTOMER_ITEMS);
  log.sign_on(ALICE, attributes("ALICE", "purchase", MONDAY_9_00));
  log.put(ALICE, CUSTOMER, 1, customer(7001, mueller, "Hamburg", 8000, "01"));
  log.put(ALICE, CUSTOMER, 2, customer(7002, cafe, "Lyon", 300, "01"));
  log.put(ALICE, CUSTOMER, 3, customer(7003, "Moss", "Leeds", 900, "01"));
  return log.sign_off(ALICE).end().take();
}

constexpr std::uint16_t HP_ROMAN8 = 0;
constexpr std::uint16_t ISO_8859_1 = 1;

constexpr std::uint32_t DATA_KEY_ID = 11;
constexpr std::uint16_t AES_KEY = 2;
constexpr std::size_t CHAIN_SIZE = 4;

// In encrypted data sets the encrypted items come last here, so that a plain
// record is the stored one but for head and cipher.
const std::vector<log_item> SECRET_ITEMS = {
    {"CUSTNO", 'I', 1, 4},
    {"CARD", 'X', 1, 19, LOG_ITEM_ENCRYPTED},
    {"BALANCE", 'P', 1, 5, LOG_ITEM_ENCRYPTED}};

std::string bytes_of_hex(const char* hex) {
  std::string bytes;
  for (; hex[0] != '\0' && hex[1] != '\0'; hex += 2) {
    const std::array<char, 3> digits{hex[0], hex[1], '\0'};
    bytes += static_cast<char>(std::strtoul(digits.data(), nullptr, 16));
  }
  return bytes;
}

// The stored form of a record: customer number, key id, initial chaining value,
// and the encrypted items in whole blocks, each XORed with the first bytes of
// the block before it and enciphered.
std::string secret(const aes_key_t& key, std::uint32_t number, const char* card,
                   int balance) {
  std::string plain = text_bytes(card, 19) + packed_bytes(balance, 5);
  plain.resize((plain.size() + AES_BLOCK_SIZE - 1) / AES_BLOCK_SIZE *
               AES_BLOCK_SIZE);
  std::string chain = u32_bytes(number * 2654435761U);
  std::string stored = u32_bytes(number) + u32_bytes(DATA_KEY_ID) + chain;
  for (std::size_t block = 0; block < plain.size(); block += AES_BLOCK_SIZE) {
    std::array<std::uint8_t, AES_BLOCK_SIZE> in{};
    std::array<std::uint8_t, AES_BLOCK_SIZE> out{};
    for (std::size_t i = 0; i < AES_BLOCK_SIZE; ++i) {
      in[i] =
          static_cast<std::uint8_t>(plain[block + i] ^ chain[i % CHAIN_SIZE]);
    }
    ko_enc__aes_encrypt(&key, in, out);
    const std::string enciphered(out.begin(), out.end());
    chain = enciphered.substr(0, CHAIN_SIZE);
    stored += enciphered;
  }
  return stored;
}

std::string segment_secret(const std::string& data_key,
                           const std::string& enciphered,
                           const std::string& check_value) {
  const aes_key_ptr key = ko_enc__set_aes_key(
      {reinterpret_cast<const std::uint8_t*>(data_key.data()), data_key.size()},
      AES_MODE_ENCRYPT);
  if (!key) std::exit(1);
  log_builder log;
  log.time(MONDAY_9_00).pace(40);
  log.database(SHOP, "shop")
      .keys(SHOP, {{.id = DATA_KEY_ID,
                    .type = AES_KEY,
                    .key = enciphered,
                    .checksum = md5_of(data_key),
                    .master_check = check_value}});
  log.data_set(CUSTOMER, SHOP, "payment", SECRET_ITEMS);
  log.sign_on(ALICE, attributes("ALICE", "payments", MONDAY_9_00));
  log.put(ALICE, CUSTOMER, 1, secret(*key, 1001, "4000-1234-5678-9010", 12050));
  log.update(ALICE, CUSTOMER, 1,
             secret(*key, 1001, "4000-1234-5678-9010", 12050),
             secret(*key, 1001, "4000-1234-5678-9010", -350));
  return log.sign_off(ALICE).end().take();
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2 && argc != 5) {
    std::fprintf(stderr,
                 "usage: make_samples directory "
                 "[data-key enciphered-data-key check-value]\n");
    return 2;
  }
  const std::string directory = std::string(argv[1]) + "/";
  if (argc == 5) {
    write_file(directory + "secret.1-1",
               segment_secret(bytes_of_hex(argv[2]), bytes_of_hex(argv[3]),
                              bytes_of_hex(argv[4])));
    return 0;
  }
  write_file(directory + "shop.7-1", segment_7_1());
  write_file(directory + "shop.7-2", segment_7_2());
  write_file(directory + "shop.8-1", segment_8_1());
  write_file(directory + "shop.8-3", segment_8_3());
  write_file(directory + "depot.1-1",
             segment_depot(ISO_8859_1, "M\xfcller & Co", "Caf\xe9 Noir"));
  write_file(directory + "old-depot.1-1",
             segment_depot(HP_ROMAN8, "M\xcfller & Co", "Caf\xc5 Noir"));
  return 0;
}
