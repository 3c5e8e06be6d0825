#ifndef CHRONEX_TESTS_SUPPORT_LOG_BUILDER_H
#define CHRONEX_TESTS_SUPPORT_LOG_BUILDER_H

// Makes forward-log files, right and wrong ones, for tests, samples, the
// benchmark and the fuzzers.
//
//   log_builder log({.generation = 7});
//   log.database(1, "shop").data_set(2, 1, "orders", {{"ID", 'I', 1, 4}});
//   log.sign_on(5, {"user{ALICE}"}).put(5, 2, 1, bytes_of_int(42)).end();
//   log.write_to(path);
//
// Actions are numbered and stamped as they come. Every field can be set to
// something else, and raw bytes can be put in anywhere.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct log_header {
  std::string signature = "KORV.FWLOG";
  std::string version = "2.01";
  std::uint16_t byte_order = 1234;
  std::uint16_t charset = 1;
  std::uint32_t release = 3;
  std::uint32_t volume_set_id = 0xc0ffee;
  std::uint32_t generation = 1;
  std::uint32_t sequence = 1;
  // Files of version 1.00 and older have neither byte order nor character set
  // nor release.
  bool short_form = false;
};

struct log_item {
  std::string name;
  char type = 'X';
  std::uint16_t count = 1;
  std::uint16_t size = 1;
  std::uint32_t fmt = 0;
};

inline constexpr std::uint32_t LOG_ITEM_ENCRYPTED = 0x100000;

// One key of a database encryption key context. Lengths that are given override
// those of the texts.
struct log_key {
  std::uint32_t id = 0;
  std::uint16_t type = 0;
  std::string key;
  std::string checksum;
  std::string master_check;
  std::optional<std::uint16_t> key_len;
};

// A record operation or a before-image.
struct log_operation {
  int session = 0;
  int node = 0;
  std::uint32_t recno = 0;
  std::uint8_t op = 0;
  // The stored record.
  std::string image;
  std::uint32_t image_key = 0;
  std::uint8_t record_type = 13;
};

class log_builder {
 public:
  explicit log_builder(const log_header& header = {});

  // The number and the time stamp of the next action; later ones count on.
  log_builder& number(std::uint32_t next);
  log_builder& time(std::uint32_t next);
  // How much the time stamp grows from action to action.
  log_builder& pace(std::uint32_t seconds);

  // Sessions. The strings become well-formed sign-on data; the raw form takes
  // them as they are.
  log_builder& sign_on(int session, const std::vector<std::string>& strings);
  log_builder& sign_on_raw(int session, std::string_view data);
  log_builder& sign_off(int session);
  log_builder& memo(int session, std::uint32_t mode, std::string_view text);

  // Databases, data sets and keys.
  log_builder& database(int node, std::string_view name);
  log_builder& data_set(int node, int database, std::string_view name,
                        const std::vector<log_item>& items);
  log_builder& keys(int database, const std::vector<log_key>& keys);

  // Records. An update comes as a before-image and its operation.
  log_builder& put(int session, int node, std::uint32_t recno,
                   std::string_view image);
  log_builder& update(int session, int node, std::uint32_t recno,
                      std::string_view before, std::string_view after);
  log_builder& remove(int session, int node, std::uint32_t recno,
                      std::string_view before);
  log_builder& operation(const log_operation& operation);
  log_builder& before_image(const log_operation& operation);

  // Everything else. audit and context take any type and any data.
  log_builder& audit(int session, std::uint8_t type, std::string_view data);
  log_builder& context(int node, std::uint8_t type, std::string_view data);
  log_builder& record(const log_operation& header, std::string_view data);
  log_builder& page();
  log_builder& cluster(std::int32_t count, int pages_written);
  log_builder& meta(std::uint32_t size, std::string_view data);
  log_builder& slave_sync();
  log_builder& end();
  // Tag and prefix of an action, whose body follows as raw bytes.
  log_builder& action(char tag);
  log_builder& raw(std::string_view bytes);

  const std::string& bytes() const { return bytes_; }
  // Hands over what was made so far and starts again with nothing.
  std::string take();
  // Writes the file, gzip-compressed on request. Ends the program on failure.
  void write_to(const std::string& path, bool compressed = false) const;

 private:
  std::string bytes_;
  std::uint32_t number_ = 1;
  std::uint32_t time_ = 1700000000;
  std::uint32_t pace_ = 1;
};

// Stored forms of values, in the machine's byte order.
std::string u16_bytes(std::uint16_t value);
std::string u32_bytes(std::uint32_t value);
std::string i64_bytes(std::int64_t value);
std::string double_bytes(double value);
// Text, filled up with blanks or cut.
std::string text_bytes(std::string_view text, std::size_t size);
// Packed decimal of `size` bytes with a sign nibble.
std::string packed_bytes(std::int64_t value, std::size_t size);

// The item list of a data set.
std::string item_list_bytes(const std::vector<log_item>& items);
// Sign-on data.
std::string sign_on_bytes(const std::vector<std::string>& strings);

// Writes a file, gzip-compressed on request. Ends the program on failure.
void write_file(const std::string& path, std::string_view bytes,
                bool compressed = false);

#endif  // CHRONEX_TESTS_SUPPORT_LOG_BUILDER_H
