// Makes the logs that pages are checked and shown with.
//
//   make_page_logs busy CHANGES DIRECTORY
//   make_page_logs hostile DIRECTORY
//
// "busy" writes nine weeks of a shop as quarter.12-1, quarter.12-2 and
// quarter.12-4, a file in between being lost: clerks in the hours of work, a
// web shop around the clock, a batch run at night, and one Sunday on which
// somebody removed orders. The same number of changes makes the same logs.
//
// "hostile" writes hostile.1-1, in which every name and value tries to be
// something else than text.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/support/log_builder.h"

namespace {

constexpr std::uint32_t HOUR = 3600;
constexpr std::uint32_t DAY = 24 * HOUR;
constexpr std::uint32_t MONDAY = 1767571200;  // 2026-01-05 00:00:00 UTC
constexpr std::uint32_t WEEKS = 9;

constexpr int SHOP = 1;

struct worker {
  const char* user;
  const char* program;
  const char* host;
  // What its transactions are about.
  const char* memo;
  // Hours of work, and share of all changes.
  std::uint32_t from, to;
  std::uint32_t share;
  bool weekends;
  std::uint32_t since_week;
};

constexpr const char* NIGHTLY = "nightly run";

constexpr worker WORKERS[] = {
    {"ALICE", "order-entry", "counter-1", "orders by phone", 8, 17, 22, false,
     0},
    {"BOB", "order-entry", "counter-2", "orders by mail", 9, 18, 18, false, 0},
    {"CAROL", "limits", "office-3", "limit review", 9, 16, 6, false, 0},
    {"DAVE", "stock-count", "store-1", "stock count", 7, 15, 12, false, 0},
    {"ERIN", "order-entry", "counter-1", "orders by phone", 10, 18, 9, false,
     5},
    {"WEBSHOP", "web-orders", "www-1", "web orders", 0, 24, 20, true, 0},
    {"BATCH", "nightly", "server", NIGHTLY, 1, 3, 13, true, 0},
};

struct shop_set {
  int node;
  const char* name;
  std::vector<log_item> items;
};

const std::vector<shop_set> SETS = {
    {2,
     "customer",
     {{"CUSTNO", 'I', 1, 4},
      {"NAME", 'X', 1, 24},
      {"CITY", 'X', 1, 16},
      {"LIMIT", 'P', 1, 4},
      {"STATUS", 'Z', 1, 2}}},
    {3,
     "orders",
     {{"ORDERNO", 'I', 1, 4},
      {"CUSTNO", 'I', 1, 4},
      {"QTY", 'I', 3, 2},
      {"AMOUNT", 'E', 1, 8},
      {"NOTE", 'X', 1, 30}}},
    {4,
     "stock",
     {{"PART", 'X', 1, 12},
      {"PLACE", 'X', 1, 8},
      {"ON-HAND", 'I', 1, 4},
      {"PRICE", 'E', 1, 8}}},
};

// The records as they are, and what happens to them.
class shop {
 public:
  explicit shop(unsigned changes) : changes_(changes) {}

  void write(const std::string& directory);

 private:
  using records = std::map<std::uint32_t, std::string>;
  enum class step { sign_on, change, sign_off };
  struct planned {
    std::uint32_t time;
    int session;
    const worker* who;
    step what;
  };

  std::uint32_t below(std::uint32_t limit) {
    return static_cast<std::uint32_t>(random_() % limit);
  }
  const char* one_of(const std::vector<const char*>& words) {
    return words[below(static_cast<std::uint32_t>(words.size()))];
  }
  std::string record(std::size_t set, std::uint32_t recno);
  std::string changed(std::size_t set, const std::string& before);
  void change(log_builder& log, int session, std::size_t set);
  void put(log_builder& log, int session, std::size_t set);
  void remove(log_builder& log, int session, std::size_t set);
  void plan(const worker& worker, std::uint32_t midnight);
  void sign_on(log_builder& log, const planned& event);
  void work(log_builder& log, const planned& event);
  void take(log_builder& log, const planned& event);
  void day(log_builder& log, std::uint32_t day);
  void bad_sunday(log_builder& log, std::uint32_t begin);

  unsigned changes_;
  std::mt19937 random_{20260105};
  std::array<records, 3> records_;
  std::array<std::uint32_t, 3> last_{};
  int last_session_ = 10;
  // Of one day.
  std::vector<planned> plan_;
};

std::string shop::record(std::size_t set, std::uint32_t recno) {
  if (set == 0) {
    const std::string name =
        std::string(one_of({"Hill", "North", "Baker", "Moor", "Vale"})) +
        one_of({" & Sons", " Light", " Ltd", " Trading", " Works"});
    return u32_bytes(1000 + recno) + text_bytes(name, 24) +
           text_bytes(one_of({"Leeds", "York", "Hull", "Ripon"}), 16) +
           packed_bytes(1000 + 500 * below(10), 4) + "1{";
  }
  if (set == 1) {
    const auto pieces = static_cast<std::uint16_t>(1 + below(9));
    return u32_bytes(5000 + recno) + u32_bytes(1001 + below(400)) +
           u16_bytes(pieces) + u16_bytes(0) + u16_bytes(0) +
           double_bytes(pieces * (5 + below(900)) / 4.0) +
           text_bytes(one_of({"", "", "by phone", "deliver before noon"}), 30);
  }
  char part[16];
  std::snprintf(part, sizeof part, "P-%05u", recno);
  return text_bytes(part, 12) + text_bytes("A-12", 8) + u32_bytes(below(500)) +
         double_bytes(below(20000) / 100.0);
}

std::string shop::changed(std::size_t set, const std::string& before) {
  std::string after = before;
  const auto replace = [&](std::size_t at, const std::string& bytes) {
    after.replace(at, bytes.size(), bytes);
  };
  if (set == 0) {
    replace(44, packed_bytes(1000 + 1000 * below(3), 4));
  } else if (set == 1) {
    replace(8, u16_bytes(static_cast<std::uint16_t>(1 + below(12))));
    replace(14, double_bytes(below(400000) / 100.0));
  } else {
    replace(20, u32_bytes(below(500)));
    if (below(4) == 0) replace(24, double_bytes(below(20000) / 100.0));
  }
  return after;
}

void shop::put(log_builder& log, int session, std::size_t set) {
  const std::uint32_t recno = ++last_[set];
  records_[set][recno] = record(set, recno);
  log.put(session, SETS[set].node, recno, records_[set][recno]);
}

void shop::remove(log_builder& log, int session, std::size_t set) {
  const auto oldest = records_[set].begin();
  log.remove(session, SETS[set].node, oldest->first, oldest->second);
  records_[set].erase(oldest);
}

// Some records are changed far more than others.
void shop::change(log_builder& log, int session, std::size_t set) {
  records& all = records_[set];
  if (all.size() < 20 || (set == 1 && below(3) == 0)) {
    put(log, session, set);
    return;
  }
  const std::uint32_t reach = below(8) == 0 ? 12 : last_[set];
  auto found = all.lower_bound(1 + below(reach));
  if (found == all.end()) found = all.begin();
  std::string after = changed(set, found->second);
  if (after == found->second) return put(log, session, set);
  log.update(session, SETS[set].node, found->first, found->second, after);
  found->second = after;
}

// Plans a session's day; sessions work side by side.
void shop::plan(const worker& worker, std::uint32_t midnight) {
  const std::uint32_t days = worker.weekends ? 7 * WEEKS : 5 * WEEKS;
  const std::uint32_t count = changes_ * worker.share / 100 / days;
  const std::uint32_t begin = midnight + worker.from * HOUR + below(900);
  const std::uint32_t length = (worker.to - worker.from) * HOUR - 900;
  const int session = ++last_session_;
  plan_.push_back({begin, session, &worker, step::sign_on});
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto at =
        static_cast<std::uint32_t>(std::uint64_t{length} * i / count);
    plan_.push_back(
        {begin + 60 + at + below(20), session, &worker, step::change});
  }
  plan_.push_back({begin + length + 90, session, &worker, step::sign_off});
}

void shop::sign_on(log_builder& log, const planned& event) {
  const worker& worker = *event.who;
  log.sign_on(
      event.session,
      {std::string("user{") + worker.user + "}program{" + worker.program +
           "}conntime{" + std::to_string(event.time) + "}",
       std::string("host{") + worker.host + ".shop.example}"});
  log.memo(event.session, 'b', worker.memo);
}

void shop::work(log_builder& log, const planned& event) {
  const worker& worker = *event.who;
  if (worker.memo == NIGHTLY && records_[1].size() > 60 && below(3) > 0) {
    remove(log, event.session, 1);
    return;
  }
  const std::size_t set = worker.memo == NIGHTLY     ? 2
                          : worker.program[0] == 'l' ? 0
                          : worker.program[0] == 's' ? 2
                          : below(10) == 0           ? 2
                                                     : 1;
  change(log, event.session, set);
}

void shop::take(log_builder& log, const planned& event) {
  log.time(event.time);
  switch (event.what) {
    case step::sign_on:
      return sign_on(log, event);
    case step::change:
      return work(log, event);
    case step::sign_off:
      log.memo(event.session, 'e', event.who->memo).sign_off(event.session);
  }
}

void shop::bad_sunday(log_builder& log, std::uint32_t begin) {
  log.time(begin).sign_on(
      9, {"user{MALLORY}program{sql}conntime{" + std::to_string(begin) + "}",
          "host{laptop-7.shop.example}"});
  for (std::uint32_t i = 0; i < changes_ / 400 && records_[1].size() > 20;
       ++i) {
    log.time(begin + 60 + i);
    remove(log, 9, 1);
  }
  log.sign_off(9);
}

void shop::day(log_builder& log, std::uint32_t day) {
  const std::uint32_t midnight = MONDAY + day * DAY;
  plan_.clear();
  for (const worker& worker : WORKERS) {
    const bool is_free = day % 7 > 4 && !worker.weekends;
    if (day / 7 >= worker.since_week && !is_free) plan(worker, midnight);
  }
  std::stable_sort(
      plan_.begin(), plan_.end(),
      [](const planned& a, const planned& b) { return a.time < b.time; });
  for (const planned& event : plan_) take(log, event);
  if (day == 6 * 7 + 6) bad_sunday(log, midnight + 23 * HOUR);
}

void shop::write(const std::string& directory) {
  for (std::uint32_t part = 1; part <= 4; ++part) {
    log_builder log({.generation = 12, .sequence = part});
    log.pace(0).time(MONDAY).database(SHOP, "shop");
    for (const shop_set& set : SETS) {
      log.data_set(set.node, SHOP, set.name, set.items);
    }
    for (std::uint32_t d = (part - 1) * 16; d < part * 16 && d < 7 * WEEKS;
         ++d) {
      day(log, d);
    }
    // The third part is lost, but what happened in it has happened.
    if (part != 3) {
      log.end().write_to(directory + "/quarter.12-" + std::to_string(part));
    }
  }
}

// Texts that are dangerous in markup, scripts, styles, JSON, shells and filter
// expressions, or to the eye.
const std::vector<std::string> HOSTILE = {
    "<script>document.title='owned'</script>",
    "<img src=x onerror=\"document.title='owned'\">",
    "</script><script>document.title='owned'</script>",
    "\"'`\\${document.title='owned'}",
    "--></style><b>&lt;&amp;&#60;",
    "';document.title='owned';//",
    "\xE2\x80\xAEgnp.exe\xE2\x81\xA6",
    "tab\there\nline\r\x1b[31mred\x07\x7f\x85",
    std::string("nul\0inside", 10),
    "__proto__",
    "constructor",
    "[a-z]*?\\{x\\}",
    "'; rm -rf $HOME; echo '",
    "\xFF\xFE\x80\x9F\xAD",
};

void write_hostile(const std::string& directory) {
  log_builder log({.generation = 1, .sequence = 1});
  log.pace(61).time(MONDAY + 8 * HOUR).database(1, "<b>DB'\"");
  int node = 2;
  std::uint32_t recno = 1;
  for (const std::string& text : HOSTILE) {
    const std::string name = text.substr(0, 16);
    log.data_set(node, 1, name,
                 {{name, 'X', 1, 60},
                  {"<i>" + name, 'B', 1, 60},
                  {"N[1]", 'P', 1, 4},
                  {"E", 'E', 1, 8}});
    std::string escaped;
    for (const char c : text) {
      if (c == '{' || c == '}' || c == '\\') escaped += '\\';
      escaped += c;
    }
    log.sign_on(node, {"user{" + escaped + "}program{" + escaped + "}host{" +
                       escaped + "}<key>{" + escaped + "}"});
    log.memo(node, 'b', text);
    const std::string image = text_bytes(text, 60) + text_bytes(text, 60) +
                              text_bytes(text, 4) +
                              double_bytes(recno % 2 ? 1e300 * 1e10 : -0.0);
    const std::string after = text_bytes(text + "!", 60) + image.substr(60);
    log.put(node, node, recno, image).update(node, node, recno, image, after);
    log.update(node, node, recno, after, image)
        .remove(node, node, recno, image);
    log.memo(node, 'e', text).sign_off(node);
    ++node;
    ++recno;
  }
  log.end().write_to(directory + "/hostile<b>\xE2\x80\xAE.1-1");
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::string kind = argc > 1 ? argv[1] : "";
  if (kind == "busy" && argc == 4) {
    shop(static_cast<unsigned>(std::atoi(argv[2]))).write(argv[3]);
  } else if (kind == "hostile" && argc == 3) {
    write_hostile(argv[2]);
  } else {
    std::fputs(
        "usage: make_page_logs busy CHANGES DIRECTORY\n"
        "       make_page_logs hostile DIRECTORY\n",
        stderr);
    return 2;
  }
  return 0;
}
