// The events of random logs, replayed: what they leave of every record must be
// what the log was made of, which is known here from the start.

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

// One value: its bytes in the log, and what it means, as plain text.
struct cell {
  std::string bytes;
  std::string meaning;
};

class random_values {
 public:
  explicit random_values(unsigned seed) : engine_(seed) {}

  std::uint64_t below(std::uint64_t bound) { return engine_() % bound; }

  cell make(const log_item& item) {
    switch (item.type) {
      case 'I':
        return integer(item.size);
      case 'K':
        return natural(item.size);
      case 'P':
        return packed(item.size);
      case 'Z':
        return zoned(item.size);
      case 'E':
        return item.size == 4 ? real<float>() : real<double>();
      case 'B':
        return binary(item.size);
      default:
        return text(item.size);
    }
  }

 private:
  // Of all lengths alike, so that small numbers come, too.
  std::uint64_t bits(std::size_t size) {
    return engine_() >> (64 - size * 8) >> below(size * 8);
  }

  static std::string low_bytes(std::uint64_t number, std::size_t size) {
    return i64_bytes(static_cast<std::int64_t>(number)).substr(0, size);
  }

  cell integer(std::size_t size) {
    auto number = static_cast<std::int64_t>(bits(size) / 2);
    if (below(2) == 0) number = -number - 1;
    return {low_bytes(static_cast<std::uint64_t>(number), size),
            std::to_string(number)};
  }

  cell natural(std::size_t size) {
    const std::uint64_t number = bits(size);
    return {low_bytes(number, size), std::to_string(number)};
  }

  std::int64_t decimal(std::size_t digits) {
    std::int64_t number = 0;
    for (std::uint64_t n = below(digits + 1); n > 0; --n) {
      number = number * 10 + static_cast<std::int64_t>(below(10));
    }
    return below(2) == 0 ? -number : number;
  }

  cell packed(std::size_t size) {
    const std::int64_t number = decimal(size * 2 - 1);
    return {packed_bytes(number, size), std::to_string(number)};
  }

  cell zoned(std::size_t size) {
    const std::int64_t number = decimal(size);
    const std::string digits = std::to_string(std::abs(number));
    std::string bytes = std::string(size - digits.size(), '0') + digits;
    if (number < 0) bytes.back() = "}JKLMNOPQR"[bytes.back() - '0'];
    return {bytes, std::to_string(number)};
  }

  template <typename number>
  cell real() {
    std::string bytes;
    number value = 0;
    do {
      bytes = low_bytes(engine_(), sizeof value);
      std::memcpy(&value, bytes.data(), sizeof value);
    } while (!std::isfinite(value));
    return {bytes, real_meaning(value)};
  }

  // Latin-1, with what JSON has to escape.
  cell text(std::size_t size) {
    cell made;
    for (std::uint64_t n = below(size + 1); n > 0; --n) {
      const auto code = static_cast<unsigned char>(1 + below(255));
      made.bytes += static_cast<char>(code);
    }
    made.bytes.erase(made.bytes.find_last_not_of(' ') + 1);
    for (const char c : made.bytes) {
      const auto code = static_cast<unsigned char>(c);
      if (code >= 0x80) made.meaning += code < 0xC0 ? '\xC2' : '\xC3';
      made.meaning += static_cast<char>(code < 0xC0 ? code : code - 0x40);
    }
    made.bytes.resize(size, below(2) == 0 ? ' ' : '\0');
    return made;
  }

  cell binary(std::size_t size) {
    cell made;
    for (std::size_t i = 0; i < size; ++i) {
      const auto byte = static_cast<int>(below(256));
      made.bytes += static_cast<char>(byte);
      made.meaning += "0123456789abcdef"[byte / 16];
      made.meaning += "0123456789abcdef"[byte % 16];
    }
    return made;
  }

 public:
  static std::string real_meaning(double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%a", value);
    return text.data();
  }

 private:
  std::mt19937_64 engine_;
};

// What the values of a record mean, in their order.
using record = std::vector<std::string>;
using records = std::map<std::pair<std::string, unsigned>, record>;

struct made_record {
  std::string bytes;
  record meaning;
};

made_record make_record(const std::vector<log_item>& items,
                        random_values& random) {
  made_record made;
  for (const log_item& item : items) {
    for (int k = 0; k < item.count; ++k) {
      const cell value = random.make(item);
      made.bytes += value.bytes;
      made.meaning.push_back(value.meaning);
    }
  }
  return made;
}

std::vector<log_item> random_items(random_values& random) {
  std::vector<log_item> items;
  const std::uint64_t count = 1 + random.below(12);
  for (std::uint64_t i = 0; i < count; ++i) {
    log_item item{.name = "I" + std::to_string(i)};
    item.type = "IKPZEXUB"[random.below(8)];
    item.count = static_cast<std::uint16_t>(1 + random.below(3));
    const std::uint16_t width = 1 << random.below(4);
    const bool is_number = item.type == 'I' || item.type == 'K';
    item.size =
        static_cast<std::uint16_t>(is_number          ? width
                                   : item.type == 'E' ? 4 << random.below(2)
                                   : item.type == 'P' ? 1 + random.below(9)
                                                      : 1 + random.below(18));
    items.push_back(item);
  }
  return items;
}

// Random puts, updates and deletes on two data sets. Returns what they leave.
records write_log(random_values& random, log_builder& log) {
  records left;
  std::map<std::pair<std::string, unsigned>, made_record> present;
  const std::vector<log_item> items[] = {random_items(random),
                                         random_items(random)};
  log.database(1, "db").data_set(2, 1, "a", items[0]);
  log.data_set(3, 1, "b", items[1]).sign_on(4, {"user{X}"});
  for (int i = 0; i < 300; ++i) {
    const auto set = static_cast<int>(random.below(2));
    const auto recno = static_cast<unsigned>(random.below(20));
    const auto key = std::pair(std::string(set == 0 ? "A" : "B"), recno);
    made_record made = make_record(items[set], random);
    const auto old = present.find(key);
    if (old == present.end()) {
      log.put(4, set + 2, recno, made.bytes);
    } else if (random.below(3) == 0) {
      log.remove(4, set + 2, recno, old->second.bytes);
      present.erase(old);
      continue;
    } else {
      log.update(4, set + 2, recno, old->second.bytes, made.bytes);
    }
    present[key] = std::move(made);
  }
  log.end();
  for (const auto& [key, made] : present) left[key] = made.meaning;
  return left;
}

// Stands for E of 4 bytes.
constexpr char SHORT_REAL = 'e';

std::string meaning_of(const rapidjson::Value& value, char type) {
  if (type == 'E') return random_values::real_meaning(value.GetDouble());
  // The text is the shortest that reads back at this width.
  if (type == SHORT_REAL) return random_values::real_meaning(value.GetFloat());
  if (value.IsString()) return {value.GetString(), value.GetStringLength()};
  return std::to_string(value.GetInt64());
}

record meanings_of(const rapidjson::Value& image, const std::string& types) {
  record meanings;
  std::size_t index = 0;
  for (const auto& member : image.GetObject()) {
    const char type = types.at(index++);
    if (!member.value.IsArray()) {
      meanings.push_back(meaning_of(member.value, type));
      continue;
    }
    for (const auto& element : member.value.GetArray()) {
      meanings.push_back(meaning_of(element, type));
    }
  }
  return meanings;
}

class replay {
 public:
  void take(const rapidjson::Document& event) {
    const std::string type = event["type"].GetString();
    if (type == "schema") {
      std::string& types = types_[event["dataset"].GetString()];
      types.clear();
      for (const auto& item : event["items"].GetArray()) {
        const char letter = item["type"].GetString()[0];
        types +=
            letter == 'E' && item["size"].GetInt() == 4 ? SHORT_REAL : letter;
      }
    }
    if (type == "change") change(event);
  }

  records left;

 private:
  void change(const rapidjson::Document& event) {
    const std::string set = event["dataset"].GetString();
    const auto key = std::pair(set, event["recno"].GetUint());
    EXPECT_FALSE(event.HasMember("notes"));
    if (event["before"].IsObject()) {
      EXPECT_EQ(meanings_of(event["before"], types_[set]), left[key]);
    }
    if (event["after"].IsObject()) {
      left[key] = meanings_of(event["after"], types_[set]);
    } else {
      left.erase(key);
    }
  }

  std::map<std::string, std::string> types_;
};

TEST(RoundTrip, EventsLeaveWhatTheLogLeaves) {
  const test_directory directory;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    random_values random(seed);
    log_builder log;
    const records expected = write_log(random, log);
    directory.write("log", log.bytes());
    ASSERT_EQ(directory.run({"-o", "audit", "log"}).status, 0);
    for (const char* input : {"log", "audit"}) {
      std::istringstream lines(directory.run_trail({"json", input}).out);
      replay replayed;
      for (std::string line; std::getline(lines, line);) {
        rapidjson::Document event;
        event.Parse<rapidjson::kParseFullPrecisionFlag>(line.c_str());
        ASSERT_FALSE(event.HasParseError()) << line;
        replayed.take(event);
      }
      EXPECT_GT(expected.size(), 10U);
      EXPECT_TRUE(replayed.left == expected) << "seed " << seed << " " << input;
    }
  }
}

}  // namespace
