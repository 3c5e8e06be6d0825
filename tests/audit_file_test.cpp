// The audit file: its bytes as written, and what becomes of it as input.

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

constexpr int DB = 1;
constexpr int SET = 7;
constexpr int USER = 3;

const std::string HEADER("KORV.AUDIT01.00\0\xd2\x04\1\0", 20);
const std::vector<log_item> ITEMS = {{"A", 'X', 1, 4}, {"B", 'I', 2, 2, 5}};

std::string record(char tag, const std::string& payload) {
  return tag + u32_bytes(static_cast<std::uint32_t>(payload.size())) + payload;
}

std::string sign_on(int session, const std::string& data) {
  return record('2', u32_bytes(static_cast<std::uint32_t>(session)) + data);
}

std::string sign_off(int session) {
  return record('3', u32_bytes(static_cast<std::uint32_t>(session)));
}

std::string schema(const std::string& name) {
  return record('4', u32_bytes(SET) +
                         u16_bytes(static_cast<std::uint16_t>(name.size())) +
                         u16_bytes(8) + u16_bytes(2) + u16_bytes(0) + name +
                         item_list_bytes(ITEMS));
}

std::string memo(std::uint32_t mode, const std::string& text) {
  return record('7', u32_bytes(USER) + u32_bytes(100) + u32_bytes(mode) + text);
}

std::string operation(const std::string& op_flags, const std::string& images) {
  return record('5', u32_bytes(USER) + u32_bytes(SET) + u32_bytes(100) +
                         u32_bytes(9) + op_flags + '\0' + images);
}

const std::string UPDATE{'1', 1, 1};
const std::string PUT{'2', 0, 1};
const std::string DELETE{'3', 1, 0};

// Every kind of record, in the order in which they are written.
std::string rich_audit_file() {
  return HEADER + sign_on(USER, sign_on_bytes({"user{X}"})) +
         schema("ORDERS.CUSTOMER") + memo('b', "begin") +
         operation(PUT, "aaaabbbb") + memo('m', "note") +
         operation(UPDATE, "aaaabbbbccccdddd") + memo('e', "done") +
         operation(DELETE, "ccccdddd") + sign_off(USER);
}

}  // namespace

TEST(AuditFile, IsWrittenToTheByteAndReadBack) {
  log_builder log;
  log.time(100)
      .pace(0)
      .database(DB, "orders")
      .data_set(SET, DB, "customer", ITEMS);
  log.sign_on(USER, {"user{X}"}).memo(USER, 'b', "begin");
  log.put(USER, SET, 9, "aaaabbbb").memo(USER, 'm', "note");
  log.data_set(SET, DB, "customer", ITEMS);
  log.update(USER, SET, 9, "aaaabbbb", "ccccdddd").memo(USER, 'e', "done");
  log.remove(USER, SET, 9, "ccccdddd").sign_off(USER);
  log.sign_on_raw(5, "").sign_off(5);
  log.sign_on_raw(4, "").memo(4, 'e', "").sign_off(4).end();
  const test_directory directory;
  directory.write("log", log.bytes());
  EXPECT_EQ(0, directory.run({"-o", "audit", "log"}).status);
  // A memo that passes the filter by itself comes before the schema.
  std::string expected = rich_audit_file();
  const std::string begin = memo('b', "begin");
  const std::string set = schema("ORDERS.CUSTOMER");
  expected.replace(expected.find(set), set.size() + begin.size(), begin + set);
  // All that happened in session 4 was a memo without text.
  EXPECT_EQ(expected + sign_on(4, "") + sign_off(4), directory.read("audit"));
  EXPECT_EQ(0, directory.run({"-o", "again", "-Z", "audit"}).status);
  EXPECT_EQ(expected, directory.read("again"));
}

// The tags of a file's records, in their order.
std::string tags_of(const std::string& file) {
  std::string tags;
  for (std::size_t at = HEADER.size(); at < file.size();) {
    std::uint32_t size = 0;
    std::memcpy(&size, file.data() + at + 1, sizeof size);
    tags += file[at];
    at += 5 + size;
  }
  return tags;
}

// The second audit file has what the first one needs its operations for, not
// more.
TEST(AuditFile, GivesItsOperationsAgain) {
  const std::vector<log_item> OTHER = {{"A", 'X', 1, 8}};
  const auto begun = [](std::uint32_t sequence) {
    log_builder log({.sequence = sequence});
    log.database(DB, "orders").data_set(SET, DB, "customer", ITEMS);
    log.sign_on(USER, {"user{X}"});
    return log;
  };
  const auto segment = [&](std::uint32_t sequence) {
    return begun(sequence).put(USER, SET, 9, "aaaabbbb").sign_off(USER).end();
  };
  struct {
    const char* name;
    std::vector<log_builder> logs;
    std::vector<std::string> options;
    std::string first;
    std::string second;
  } const cases[] = {
      {"a session returns with the same data",
       {segment(1), segment(2), segment(3)},
       {},
       "2453253253",
       "245355"},
      {"a memo is held back",
       {begun(1).memo(USER, 'b', "b").put(USER, SET, 9, "aaaabbbb").end()},
       {"-e", "RECNO > 8"},
       "2475",
       "2745"},
      {"a memo is repeated ahead of its sign-on",
       {begun(1)
            .number(2)
            .memo(USER, 'm', "m")
            .number(4)
            .put(USER, SET, 9, "aaaabbbb")
            .end()},
       {},
       "7245",
       "245"},
      {"a data set changes and changes back",
       {begun(1)
            .put(USER, SET, 9, "aaaabbbb")
            .data_set(SET, DB, "customer", OTHER)
            .data_set(SET, DB, "customer", ITEMS)
            .put(USER, SET, 9, "ccccdddd")
            .end()},
       {},
       "24545",
       "2455"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    const test_directory directory;
    std::vector<std::string> arguments{"-o", "first"};
    arguments.insert(arguments.end(), test.options.begin(), test.options.end());
    for (const log_builder& log : test.logs) {
      arguments.push_back("log" + std::to_string(arguments.size()));
      directory.write(arguments.back(), log.bytes());
    }
    EXPECT_EQ(0, directory.run(arguments).status);
    const std::string first = directory.read("first");
    EXPECT_EQ(test.first, tags_of(first));
    EXPECT_EQ(0, directory.run({"-o", "second", "first"}).status);
    EXPECT_EQ(test.second, tags_of(directory.read("second")));
    EXPECT_EQ(0, directory.run({"-o", "third", "second"}).status);
    EXPECT_EQ(directory.read("second"), directory.read("third"));
  }
}

TEST(AuditFile, IsFilteredAgain) {
  const test_directory directory;
  directory.write("in", rich_audit_file());
  // Memos fail this filter, so they wait for the operation.
  EXPECT_EQ(0, directory.run({"-o", "out", "-e", "RECNO > 8", "in"}).status);
  EXPECT_EQ(rich_audit_file(), directory.read("out"));
  const program_result deletes = directory.run({"-r", "-e",
                                                "DBDELETE AND "
                                                "RECNO > 0",
                                                "in"});
  EXPECT_EQ(
      "\nSIGN-ON session:3\n user{X}\n"
      "DBDELETE ORDERS.CUSTOMER (#7) recno:9 session:3\n"
      " timestamp: 1970-01-01 00:01:40\n",
      deletes.out);
}

TEST(AuditFile, AnyNumberMeansThatAnImageIsThere) {
  const std::string start =
      HEADER + sign_on(USER, "") + schema("ORDERS.CUSTOMER");
  const std::string images = "aaaabbbbccccdddd";
  struct {
    std::string read;
    std::string written;
  } const cases[] = {
      {{'1', 2, 0}, {'1', 1, 0}},
      {{'1', 0, '\xff'}, {'1', 0, 1}},
      {{'2', 7, '\x80'}, {'2', 1, 1}},
      {{'3', 0, 0}, {'3', 0, 0}},
  };
  for (const auto& test : cases) {
    const std::size_t size =
        8U * static_cast<std::size_t>(test.written[1] + test.written[2]);
    const test_directory directory;
    directory.write("in", start + operation(test.read, images.substr(0, size)));
    EXPECT_EQ(0, directory.run({"-o", "out", "in"}).status);
    EXPECT_EQ(start + operation(test.written, images.substr(0, size)),
              directory.read("out"));
  }
}

// With its line end, unlike all others.
TEST(AuditFile, TellsOfAKeyThatIsNotThere) {
  log_builder log;
  log.database(DB, "d").keys(
      DB, {{.id = 4, .type = 1, .key = "k", .master_check = "m"}});
  const test_directory directory;
  directory.write("log", log.end().bytes());
  EXPECT_EQ(0, directory.run({"-o", "audit", "log"}).status);
  EXPECT_EQ(HEADER + record('1',
                            "WARNING: while the original forward-log was "
                            "processed, encryption key 4 was ignored because "
                            "the required master key was not present\n"),
            directory.read("audit"));
}

TEST(AuditFile, RefusesWhatDoesNotAddUp) {
  const std::string start =
      HEADER + sign_on(USER, "") + schema("ORDERS.CUSTOMER");
  // Where the record is: behind the header, or behind the two of the start.
  const std::string FIRST = " at record 1, byte offset 20\n";
  const std::string THIRD = " at record 3, byte offset 83\n";
  // Longer than what is taken from the input at once.
  const std::string comment = record('1', std::string(100000, 'c'));
  struct {
    std::string bytes;
    std::string err;
  } const cases[] = {
      {HEADER + "1", "unexpected end of file\nUnable to read record size\n"},
      {HEADER + "1" + u32_bytes(9) + "text",
       "unexpected end of file\nUnable to read record data (9 bytes)\n"},
      {HEADER + "1" + u32_bytes(0x100001),
       "bad file format\nUnexpected record size (1048577 bytes)\n"},
      {HEADER + "1" + u32_bytes(0),
       "bad file format\nUnexpected record size (0 bytes)" + FIRST},
      {HEADER + sign_on(USER, "\1"),
       "bad file format\nMalformed sign-on record (5 bytes)" + FIRST},
      {HEADER + sign_on(USER, sign_on_bytes({"a"}) + "x"),
       "bad file format\nMalformed sign-on record (10 bytes)" + FIRST},
      {HEADER + record('3', "12345"),
       "bad file format\nMalformed sign-off record (5 bytes)" + FIRST},
      {HEADER + record('4', u32_bytes(SET) + u16_bytes(1) + "123456"),
       "bad file format\nMalformed schema record (12 bytes)" + FIRST},
      {start + record('5', "short"),
       "bad file format\nMalformed image operation record (5 bytes)" + THIRD},
      {start + operation(PUT, "aaaabbb"),
       "bad file format\nMalformed image operation record (27 bytes)" + THIRD},
      {start + operation({'4', 0, 1}, "aaaabbbb"),
       "bad file format\nMalformed image operation record (28 bytes)" + THIRD},
      {start + record('7', "short"),
       "bad file format\nMalformed memo record (5 bytes)" + THIRD},
      {HEADER + record('4', std::string(12, '\0') + "\1"),
       "bad file format\nItem 1 of data set schema exceeds the list (1 bytes)" +
           FIRST},
      {HEADER + comment + record('3', "1") + comment,
       std::string(256, 'c') +
           " ...\nin: bad file format\nMalformed sign-off record (1 bytes) at "
           "record 2, byte offset 100025\n"},
  };
  for (const auto& test : cases) {
    for (const bool compressed : {false, true}) {
      const test_directory directory;
      directory.write("in", test.bytes, compressed);
      const program_result result = directory.run({"-r", "-o", "out", "in"});
      EXPECT_EQ((test.err[0] == 'c' ? "" : "in: ") + test.err, result.err);
      EXPECT_EQ(1, result.status);
      EXPECT_EQ(HEADER, directory.read("out"));
    }
  }
  const test_directory directory;
  directory.write("in", start + record('6', "?") +
                            record('7', u32_bytes(USER) + u32_bytes(0) +
                                            u32_bytes(100) + "x") +
                            operation(PUT, "aaaabbbb"));
  EXPECT_EQ(0, directory.run({"-r", "in"}).status);
}

TEST(AuditFile, EchoesComments) {
  const std::string text(300, 'c');
  const test_directory directory;
  directory.write("in", HEADER + record('1', text) + record('1', "short"));
  EXPECT_EQ(text.substr(0, 256) + " ...\nshort\n", directory.run({"in"}).err);
  const program_result whole = directory.run({"-x", "-o", "out", "in"});
  EXPECT_EQ(text + "\nshort\n", whole.err);
  EXPECT_EQ(HEADER, directory.read("out"));
}
