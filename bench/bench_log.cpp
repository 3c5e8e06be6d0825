#include "bench/bench_log.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "tests/support/log_builder.h"

namespace {

constexpr std::size_t PIECE_SIZE = std::size_t{1} << 20U;
constexpr std::uint64_t LARGEST_OPERATION = 450;
constexpr std::uint64_t AVERAGE_OPERATION = 250;
// Sign-on, sign-off, and the schema of a data set.
constexpr std::uint64_t LIVE_SIZE = 400;

constexpr int DATABASE = 1;
constexpr int FIRST_DATA_SET = 2;
constexpr int FIRST_SESSION = 1;

// One letter per operation: put, update with before-image, delete.
constexpr std::string_view TRANSACTION = "PPPPPPUPPPPPPPPD";
// Before this operation of a transaction it gets a DBMEMO.
constexpr std::uint64_t MEMO_POSITION = 8;

// The items from NAME on are the ones that can be encrypted.
constexpr std::size_t PLAIN_SIZE = 62;
constexpr std::size_t PLAIN_ITEMS = 7;

std::vector<log_item> record_items() {
  return {{"ORDERNO", 'I', 1, 4}, {"CUSTNO", 'K', 1, 4},
          {"QTY", 'I', 4, 2},     {"AMOUNT", 'P', 1, 8},
          {"TOTAL", 'P', 2, 6},   {"ACCOUNT", 'Z', 1, 10},
          {"RATE", 'E', 2, 8},    {"NAME", 'X', 2, 30},
          {"CITY", 'U', 1, 24},   {"CHECK", 'B', 1, 16}};
}

constexpr std::array<std::string_view, 8> NAMES = {
    "Hill & Sons",       "North Light Ltd", "Marigold Supplies", "A. Berger",
    "Lakeside Bicycles", "Quay Street 12",  "Dunmore Foundry",   "Ellis"};
constexpr std::array<std::string_view, 4> CITIES = {"LEEDS", "YORK",
                                                    "NEWCASTLE", "HULL"};

constexpr std::uint32_t KEY_ID = 7;
constexpr std::uint16_t XOR_KEY = 1;
constexpr std::string_view KEY = "0123456789abcdef";
constexpr std::size_t CHAIN_SIZE = 4;

// The record of an order; `version` counts its updates.
std::string order(std::uint32_t number, std::uint32_t version) {
  const std::int64_t cents = number % 1000003 + version;
  const auto quantity = static_cast<std::uint16_t>(number % 90 + version);
  const std::string digits = std::to_string(1000000000U + number);
  std::string record;
  record.reserve(192);
  record += u32_bytes(number);
  record += u32_bytes(number % 50021);
  for (std::uint16_t i = 0; i < 4; ++i) {
    record += u16_bytes(static_cast<std::uint16_t>(quantity * i));
  }
  record += packed_bytes(cents, 8);
  record += packed_bytes(cents * 3, 6);
  record += packed_bytes(-cents, 6);
  record.append(digits, 0, 10);
  record += double_bytes(static_cast<double>(cents) / 100);
  record += double_bytes(number * 0.125);
  record += text_bytes(NAMES[number % NAMES.size()], 30);
  record += text_bytes(NAMES[number / 8 % NAMES.size()], 30);
  record += text_bytes(CITIES[number % CITIES.size()], 24);
  for (std::uint32_t i = 1; i <= 4; ++i) {
    record += u32_bytes(number * 2654435761U * i);
  }
  return record;
}

std::size_t round_up(std::size_t size, std::size_t unit) {
  return (size + unit - 1) / unit * unit;
}

// The stored form of a record with encrypted items: the plain items, filled up
// to a multiple of 4, the key id, the first chaining value, and the encrypted
// items in whole blocks. Every block is also XORed with the first 4 bytes of
// the encrypted block before it.
std::string encrypted(const std::string& record) {
  std::string stored = record.substr(0, PLAIN_SIZE);
  stored.resize(round_up(PLAIN_SIZE, 4), '\0');
  stored += u32_bytes(KEY_ID);
  std::string chain = record.substr(0, CHAIN_SIZE);
  stored += chain;
  std::string stream = record.substr(PLAIN_SIZE);
  stream.resize(round_up(stream.size(), KEY.size()), '\0');
  for (std::size_t block = 0; block < stream.size(); block += KEY.size()) {
    for (std::size_t i = 0; i < KEY.size(); ++i) {
      const int byte = stream[block + i] ^ KEY[i] ^ chain[i % CHAIN_SIZE];
      stream[block + i] = static_cast<char>(byte);
    }
    chain = stream.substr(block, CHAIN_SIZE);
  }
  return stored + stream;
}

[[noreturn]] void fail(const std::string& path) {
  throw std::runtime_error(path + ": " + std::strerror(errno));
}

// Writes a log as it is made.
class log_writer {
 public:
  log_writer(const bench_log& plan, const std::string& path)
      : plan_(plan), first_path_(path) {
    open_segment();
  }

  void write() {
    begin();
    const std::uint64_t segment_length =
        plan_.operations / static_cast<std::uint64_t>(plan_.segments);
    for (std::uint64_t i = 0; i < plan_.operations; ++i) {
      if (i > 0 && segment_ < plan_.segments && i % segment_length == 0) {
        next_segment();
      }
      memos(i);
      operation(i);
      write_piece(PIECE_SIZE);
    }
    for (int i = 0; i < plan_.live; ++i) {
      log_.sign_off(FIRST_SESSION + i);
    }
    close_segment();
  }

 private:
  void open_segment() {
    path_ = segment_path(first_path_, segment_);
    file_.reset(std::fopen(path_.c_str(), "wb"));
    if (!file_) fail(path_);
  }

  void close_segment() {
    log_.end();
    write_piece(0);
    if (std::fclose(file_.release()) != 0) fail(path_);
  }

  void next_segment() {
    close_segment();
    ++segment_;
    open_segment();
    log_ = log_builder({.sequence = static_cast<std::uint32_t>(segment_)});
    // The time of the transaction that goes on.
    log_.pace(0).time(time_ - 1);
  }

  void begin() {
    std::vector<log_item> items = record_items();
    if (plan_.encrypted) {
      for (std::size_t i = PLAIN_ITEMS; i < items.size(); ++i) {
        items[i].fmt = LOG_ITEM_ENCRYPTED;
      }
    }
    log_.pace(0).database(DATABASE, "shop");
    if (plan_.encrypted) {
      log_key key;
      key.id = KEY_ID;
      key.type = XOR_KEY;
      key.key = KEY;
      log_.keys(DATABASE, {key});
    }
    for (int i = 0; i < std::max(plan_.live, data_sets()); ++i) {
      const std::string number = std::to_string(i);
      if (i < data_sets()) {
        log_.data_set(FIRST_DATA_SET + i, DATABASE, "orders-" + number, items);
      }
      if (i >= plan_.live) continue;
      log_.sign_on(FIRST_SESSION + i,
                   {"user{CLERK" + number + "}program{order-entry}",
                    "host{counter-" + number + ".shop.example}"});
      write_piece(PIECE_SIZE);
    }
  }

  int data_sets() const {
    return plan_.data_sets > 0 ? plan_.data_sets : plan_.live;
  }

  std::uint32_t random() {
    random_ = random_ * 1664525U + 1013904223U;
    return random_ >> 8U;
  }

  // One of so many, in an order without a pattern but the same in every run.
  int any_of(int count) {
    const std::uint32_t chosen = random();
    std::uint32_t among = static_cast<std::uint32_t>(count);
    while (plan_.skewed && among > 1 && random() % 2 == 0) {
      among = (among + 15) / 16;
    }
    return static_cast<int>(chosen % among);
  }

  void memos(std::uint64_t operation) {
    const std::uint64_t position = operation % TRANSACTION.size();
    if (position == 0) {
      log_.time(time_++);
      clerk_ = FIRST_SESSION + any_of(plan_.live);
      log_.memo(clerk_, 'b', "order " + std::to_string(operation));
    } else if (position == MEMO_POSITION) {
      log_.memo(clerk_, 'm', "phone order, deliver before noon");
    } else if (position + 1 == TRANSACTION.size()) {
      log_.memo(clerk_, 'e', "order " + std::to_string(operation));
    }
  }

  std::string stored_order(std::uint32_t number, std::uint32_t version) const {
    std::string record = order(number, version);
    return plan_.encrypted ? encrypted(record) : record;
  }

  void operation(std::uint64_t index) {
    const int session = FIRST_SESSION + any_of(plan_.live);
    const int data_set = FIRST_DATA_SET + any_of(data_sets());
    const auto number = static_cast<std::uint32_t>(index + 1);
    const std::string record = stored_order(number, 0);
    switch (TRANSACTION[index % TRANSACTION.size()]) {
      case 'P':
        log_.put(session, data_set, number, record);
        break;
      case 'U':
        log_.update(session, data_set, number, record, stored_order(number, 1));
        break;
      default:
        log_.remove(session, data_set, number, record);
        break;
    }
  }

  // Writes what was made so far, once it has this size.
  void write_piece(std::size_t size) {
    if (log_.bytes().size() < size) return;
    const std::string piece = log_.take();
    if (std::fwrite(piece.data(), 1, piece.size(), file_.get()) !=
        piece.size()) {
      fail(path_);
    }
  }

  struct close_file {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  const bench_log& plan_;
  const std::string& first_path_;
  int segment_ = 1;
  std::string path_;
  std::unique_ptr<std::FILE, close_file> file_;
  log_builder log_;
  std::uint32_t random_ = 1;
  std::uint32_t time_ = 1772442000;
  int clerk_ = FIRST_SESSION;
};

}  // namespace

std::uint64_t bench_log_space(const bench_log& plan) {
  return plan.operations * AVERAGE_OPERATION + LARGEST_OPERATION +
         LIVE_SIZE *
             static_cast<std::uint64_t>(std::max(plan.live, plan.data_sets));
}

void write_bench_log(const bench_log& plan, const std::string& path) {
  log_writer(plan, path).write();
}

std::string segment_path(const std::string& path, int segment) {
  return segment == 1 ? path : path + "-" + std::to_string(segment);
}

void write_gzip_copy(const std::string& from, const std::string& to) {
  gzFile source = gzopen(from.c_str(), "rb");
  gzFile copy = gzopen(to.c_str(), "wb1");
  bool written = source != nullptr && copy != nullptr;
  std::array<char, std::size_t{64} * 1024> piece;
  while (written) {
    const std::size_t size = gzfread(piece.data(), 1, piece.size(), source);
    if (size == 0) break;
    written = gzfwrite(piece.data(), 1, size, copy) == size;
  }
  if (source != nullptr) gzclose(source);
  if (copy != nullptr && gzclose(copy) != Z_OK) written = false;
  if (!written) fail(to);
}
