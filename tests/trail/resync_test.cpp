// Damaged logs that are read on behind their damage.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/event_reader.h"

namespace {

constexpr int DB = 1;
constexpr int SET = 7;
constexpr int BOB = 5;

// Three actions that name the database, the data set and the session.
log_builder started_log() {
  log_builder log;
  log.database(DB, "shop").data_set(SET, DB, "orders", {{"A", 'X', 1, 4}});
  return log.sign_on(BOB, {"user{BOB}"});
}

// Adds puts of this many records, numbered from `first` on.
log_builder& add_puts(log_builder& log, std::uint32_t first, int count) {
  for (int i = 0; i < count; ++i) log.put(BOB, SET, first++, "aaaa");
  return log;
}

// What the events of a run say, in short: "c1 c2 damage(from+bytes,lost) ...".
std::string short_form(const program_result& result) {
  std::string text;
  for (const rapidjson::Document& event : read_events(result.out)) {
    const std::string type = event["type"].GetString();
    if (type == "change") {
      text += event["op"].GetString() + std::to_string(event["recno"].GetInt());
      if (event.HasMember("notes")) {
        for (const auto& note : event["notes"].GetArray()) {
          text += std::string("/") + note["why"].GetString();
        }
      }
    } else if (type == "damage") {
      text += "damage(";
      if (event.HasMember("bytes")) {
        text += std::to_string(event["bytes"].GetInt64());
      }
      if (event.HasMember("actions_lost")) {
        text += ',' + std::to_string(event["actions_lost"].GetInt());
      }
      text += ')';
    } else if (type == "gap") {
      text += "gap(" + std::to_string(event["missing"].GetInt()) + ')';
    } else if (type == "end") {
      text += std::to_string(event["status"].GetInt());
    } else {
      continue;
    }
    text += ' ';
  }
  return text + std::to_string(result.status);
}

// A log from which some bytes were taken.
std::string without(const log_builder& log, std::size_t at, std::size_t count) {
  return std::string(log.bytes()).erase(at, count);
}

constexpr const char* UNSURE = "/before_loss/before_loss ";

// Puts as they are behind damage.
std::string unsure_puts(int first, int last) {
  std::string text;
  for (int recno = first; recno <= last; ++recno) {
    text += 'c' + std::to_string(recno) + UNSURE;
  }
  return text;
}

TEST(Resync, PassesOverWhatIsNoAction) {
  constexpr std::size_t HEADER = 36;
  // A put takes 46 bytes.
  constexpr std::size_t PUT = 46;
  log_builder puts = started_log();
  const std::size_t begin = puts.bytes().size();
  add_puts(puts, 1, 9).end();
  log_builder hole = started_log();
  add_puts(hole, 1, 1).raw(std::string(5000, '\0')).number(12);
  add_puts(hole, 2, 3).end();
  log_builder tail = started_log();
  add_puts(tail, 1, 2).raw(std::string(300, 'x'));
  log_builder cut = started_log();
  add_puts(cut, 1, 2).raw("1");
  log_builder gap = started_log();
  add_puts(gap, 1, 1).number(9);
  add_puts(gap, 2, 2).end();
  log_builder size = started_log();
  size.meta(8193, "abcd");
  add_puts(size, 1, 3).end();
  log_builder schema = started_log();
  schema.data_set(8, DB, "n", {{"A", 'X', 0, 4}});
  add_puts(schema, 1, 3).end();
  log_builder tag = started_log();
  tag.action('X').raw("something");
  add_puts(tag, 1, 3).end();
  // Two actions and an end tag, then an end tag alone.
  log_builder last = started_log();
  last.raw("xxxxxxxxxxxxxxx").number(6);
  add_puts(last, 1, 1).end();
  log_builder alone = started_log();
  alone.raw("xxxxxxxxxxxxxxx").number(5).end();
  // Record data may look like actions, but not with numbers that follow.
  log_builder inside = started_log();
  inside.audit(BOB, 99, started_log().bytes().substr(HEADER));
  inside.raw("?");
  add_puts(inside, 1, 3).end();

  const struct {
    const char* name;
    std::string bytes;
    std::string events;
  } cases[] = {
      {"nothing", puts.bytes(), "c1 c2 c3 c4 c5 c6 c7 c8 c9 0 0"},
      {"a hole behind an action that is whole", hole.bytes(),
       "c1 damage(5000,7) " + unsure_puts(2, 4) + "3 3"},
      {"a hole that may begin in the action before",
       without(puts, begin + 2 * PUT + 40, 10),
       "c1 c2 damage(82,2) " + unsure_puts(5, 9) + "3 3"},
      {"whole actions are missing", without(puts, begin + PUT, PUT),
       "c1 gap(1) " + unsure_puts(3, 9) + "0 0"},
      {"nothing behind", tail.bytes(), "c1 c2 damage(300) 3 3"},
      {"a cut end", cut.bytes(), "c1 c2 damage() 0 0"},
      {"a gap", gap.bytes(), "c1 gap(4) " + unsure_puts(2, 3) + "0 0"},
      {"a size", size.bytes(), "damage(21,1) " + unsure_puts(1, 3) + "3 3"},
      {"a schema", schema.bytes(), "damage(34,1) " + unsure_puts(1, 3) + "3 3"},
      {"a tag", tag.bytes(), "damage(18,1) " + unsure_puts(1, 3) + "3 3"},
      {"the last actions", last.bytes(),
       "damage(15,2) " + unsure_puts(1, 1) + "3 3"},
      {"the end", alone.bytes(), "damage(15,1) 3 3"},
      {"what looks like actions", inside.bytes(),
       "damage(" + std::to_string(17 + begin - HEADER + 1) + ",1) " +
           unsure_puts(1, 3) + "3 3"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    const test_directory directory;
    directory.write("log", test.bytes);
    directory.write("log.gz", test.bytes, true);
    for (const char* operand : {"log", "log.gz", "-"}) {
      EXPECT_EQ(test.events, short_form(directory.run_trail(
                                 {"json", "--resync", operand}, test.bytes)))
          << operand;
    }
  }
}

// The hole is larger than what is looked at at once, and ends at every place in
// it.
TEST(Resync, FindsActionsBehindLargeHoles) {
  constexpr std::uint32_t PIECES = 40;
  const test_directory directory;
  for (std::size_t shift = 0; shift < 70000; shift += 9973) {
    log_builder log = started_log();
    add_puts(log, 1, 2000).cluster(1000000, 20);
    std::string garbage(std::size_t{3} << 20, '\0');
    std::uint32_t state = 1;
    for (char& byte : garbage) {
      state = state * 1664525 + 1013904223;
      byte = static_cast<char>("1234567FS"[(state >> 24) % 9]);
    }
    log.raw(garbage.substr(shift)).number(5000);
    for (std::uint32_t i = 0; i < PIECES; ++i) {
      log.audit(BOB, 99, std::string(65535, 'z'));
    }
    add_puts(log, 1, 1).end();
    directory.write("log", log.bytes());
    const program_result result =
        directory.run_trail({"json", "--resync", "log"});
    const std::string events = short_form(result);
    EXPECT_TRUE(events.ends_with("c1" + std::string(UNSURE) + "3 3")) << events;
    EXPECT_NE(events.find("c2000 damage("), std::string::npos) << shift;
    EXPECT_NE(events.find(",2996) "), std::string::npos) << events;
  }
}

TEST(Resync, DoesNotVouchForWhatMayHaveChanged) {
  log_builder log = started_log();
  log.before_image({.session = BOB,
                    .node = SET,
                    .recno = 1,
                    .op = 1,
                    .image = "old.",
                    .image_key = 3});
  log.memo(BOB, 'b', "before");
  log.raw("????????????????").number(20);
  log.operation({.session = BOB,
                 .node = SET,
                 .recno = 1,
                 .op = 1,
                 .image = "new.",
                 .image_key = 3});
  // Nothing is known of this session, and of this data set.
  log.put(9, SET, 2, "bbbb").put(9, 8, 3, "cccc").put(9, 8, 4, "cccc");
  log.sign_on(BOB, {"user{BOB}"}).put(BOB, SET, 5, "dddd");
  log.data_set(SET, DB, "orders", {{"A", 'X', 1, 4}});
  log.put(BOB, SET, 6, "eeee").end();
  const test_directory directory;
  directory.write("log", log.bytes());
  const program_result result =
      directory.run_trail({"json", "--resync", "log"});
  EXPECT_EQ(
      "damage(16,14) u1/before_loss/before_loss/no_before_image "
      "c2/before_loss/sign_on_lost damage() c5/before_loss c6 3 3",
      short_form(result));
  EXPECT_EQ(result.out.find("\"memo\":"), std::string::npos);
  EXPECT_NE(result.err.find("unknown data set #8 in forward-log action 1-1.22"),
            std::string::npos)
      << result.err;
}

// Without the option everything ends where it did, and behind it all commands
// have the status.
TEST(Resync, IsAChoiceOfAllCommands) {
  log_builder log = started_log();
  log.meta(8193, "abcd");
  add_puts(log, 1, 3).end();
  const test_directory directory;
  directory.write("log", log.bytes());
  EXPECT_EQ(1, directory.run_trail({"json", "log"}).status);
  EXPECT_EQ(3,
            directory.run_trail({"sql", "--resync", "-o", "db", "log"}).status);
  const program_result result = directory.run_trail(
      {"query", "--resync",
       "SELECT type, kind, missing, status, notes FROM notice, "
       "(SELECT notes FROM change), (SELECT 3 AS status) LIMIT 1",
       "log"});
  EXPECT_EQ(3, result.status);
  EXPECT_NE(
      result.out.find("damage,bytes,1,3,\"[{\"\"field\"\":\"\"dataset\"\","
                      "\"\"why\"\":\"\"before_loss\"\"}"),
      std::string::npos)
      << result.out;
}

TEST(Resync, GoesOnWithTheNextCompressedMember) {
  log_builder log = started_log();
  std::vector<std::string> members;
  for (std::uint32_t piece = 0; piece < 3; ++piece) {
    for (std::uint32_t i = 0; i < 2000; ++i) {
      log.put(BOB, SET, piece * 2000 + i, u32_bytes(i * 2654435761U));
    }
    if (piece == 2) log.end();
    const test_directory directory;
    directory.write("member", log.take(), true);
    members.push_back(directory.read_raw("member"));
  }
  const test_directory directory;
  members[1].replace(members[1].size() / 2, 40, std::string(40, 'x'));
  directory.write("log", members[0] + members[1] + members[2]);
  const program_result result =
      directory.run_trail({"json", "--resync", "log"});
  const std::string events = short_form(result);
  EXPECT_EQ(3, result.status);
  EXPECT_NE(events.find("c1999 "), std::string::npos);
  EXPECT_NE(events.find("c5999/before"), std::string::npos);
  EXPECT_NE(result.err.find("damage detected in compressed file log"),
            std::string::npos)
      << result.err;
}

}  // namespace
