// How the actions of forward logs become events: pairing of images, state that
// is carried on, gaps and repeats, and logs that are damaged.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

constexpr int DB = 1;
constexpr int SET = 7;
constexpr int USER = -5;

// A log that knows a session, a database and a data set of 4-byte records.
log_builder started_log(const log_header& header = {}) {
  log_builder log(header);
  log.time(100).pace(0).database(DB, "orders");
  log.data_set(SET, DB, "customer", {{"A", 'X', 1, 4}});
  log.sign_on(USER, {});
  return log;
}

std::string report_of(const log_builder& log,
                      const std::vector<std::string>& options) {
  const test_directory directory;
  directory.write("log", log.bytes());
  std::vector<std::string> arguments = options;
  arguments.emplace_back("log");
  const program_result result = directory.run(arguments);
  EXPECT_LE(result.status, 1);
  return result.out + result.err;
}

const std::string SIGN_ON = "\nSIGN-ON session:-5\n";

std::string line(const char* operation, int seconds) {
  return std::string("DB") + operation +
         " ORDERS.CUSTOMER (#7) recno:9 session:-5\n timestamp: 1970-01-01 "
         "00:0" +
         std::to_string(seconds / 60) + ":" + (seconds % 60 < 10 ? "0" : "") +
         std::to_string(seconds % 60) + "\n";
}

log_operation part(std::uint8_t op, const char* image,
                   std::uint32_t image_key = 0) {
  return {.session = USER,
          .node = SET,
          .recno = 9,
          .op = op,
          .image = image,
          .image_key = image_key};
}

}  // namespace

TEST(ForwardLog, PairsOperationsWithTheirFirstPart) {
  struct {
    const char* name;
    log_builder log;
    std::string report;
  } const cases[] = {
      {"a put alone", started_log().operation(part(3, "aaaa")),
       line("PUT", 100)},
      {"an update takes the time of its before-image",
       started_log()
           .before_image(part(1, "aaaa"))
           .time(110)
           .operation(part(1, "bbbb")),
       line("UPDATE", 100)},
      {"a marker makes an update a put",
       started_log()
           .operation(part(4, ""))
           .time(110)
           .operation(part(1, "bbbb")),
       line("PUT", 100)},
      {"a marker does not drop a before-image",
       started_log()
           .before_image(part(1, "aaaa"))
           .time(110)
           .operation(part(4, ""))
           .time(120)
           .operation(part(1, "bbbb")),
       line("UPDATE", 110)},
      {"a put with a before-image is an update",
       started_log().before_image(part(1, "aaaa")).operation(part(3, "bbbb")),
       line("UPDATE", 100)},
      {"another image key is another operation",
       started_log()
           .before_image(part(5, "aaaa", 1))
           .time(110)
           .operation(part(5, "", 2)),
       line("DELETE", 110)},
      {"unknown operation codes are passed over",
       started_log().operation(part(2, "aaaa")), ""},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    log_builder log = test.log;
    const std::string expected =
        test.report.empty() ? "" : SIGN_ON + test.report;
    EXPECT_EQ(expected, report_of(log.end(), {"-r"}));
  }
}

TEST(ForwardLog, ReplacesAndFillsUpBeforeImages) {
  log_builder log = started_log();
  log.before_image(part(1, "full")).before_image(part(1, "s"));
  log.operation(part(1, "full")).end();
  const std::string report = report_of(log, {"-r", "-v"});
  EXPECT_NE(std::string::npos, report.find(" -A                     : "
                                           "\"s\\000\\000\\000\"\n"))
      << report;
  EXPECT_NE(std::string::npos,
            report.find("WARNING: short before-image in forward-log action "
                        "1-1.5\n         found: 1 bytes, expected: 4 bytes\n"))
      << report;
}

TEST(ForwardLog, HoldsMemosBack) {
  log_builder log = started_log();
  log.memo(USER, 'm', "dropped")
      .memo(USER, 'b', "begin\t\\")
      .memo(USER, 'm', "");
  log.put(USER, SET, 1, "aaaa").memo(USER, 'x', "other").end();
  const std::string begin =
      "MEMO session:-5 mode:DBBEGIN size:7 timestamp: 1970-01-01 00:01:40\n"
      " begin\\011\\\\\n";
  const std::string put =
      "DBPUT ORDERS.CUSTOMER (#7) recno:1 session:-5\n"
      " timestamp: 1970-01-01 00:01:40\n";
  // A held-back memo is shown only where operations are shown.
  EXPECT_EQ(SIGN_ON + begin + put,
            report_of(log, {"-rm", "-e",
                            "RECNO = 1 AND "
                            "NOT (dbmemo = {*})"})
                .substr(0, SIGN_ON.size() + begin.size() + put.size()));
  EXPECT_EQ("", report_of(log, {"-m", "-e", "RECNO = 1 AND NOT RECNO = 0"}));
  EXPECT_NE(std::string::npos,
            report_of(log, {"-m"}).find("mode:120 size:5 timestamp"));
}

TEST(ForwardLog, ReportsGapsAndRepeats) {
  const test_directory directory;
  directory.write("7-1", started_log({.generation = 7}).end().bytes());
  directory.write("7-3", started_log({.generation = 7, .sequence = 3})
                             .put(USER, SET, 1, "aaaa")
                             .number(3)
                             .put(USER, SET, 2, "rept")
                             .memo(USER, 'm', "again")
                             .number(5)
                             .put(USER, SET, 3, "bbbb")
                             .number(9)
                             .slave_sync()
                             .bytes());
  directory.write("9-1", log_builder({.generation = 9})
                             .record({.record_type = 28}, "")
                             .record({.record_type = 28}, "")
                             .raw("X")
                             .bytes());
  const program_result result = directory.run(
      {"-r", "-m", "-v", "-o", "audit", "7-1", "7-3", "7-3", "9-1"});
  EXPECT_EQ(
      "WARNING: file sequence mismatch in file 7-3\n"
      "         found: 3, expected: 2\n"
      "         information from 1 file(s) is apparently missing\n"
      "INFO: action sequence mismatch in file 7-3\n"
      "      found: 3, expected: 5\n"
      "      skipping 2 actions\n"
      "WARNING: action sequence mismatch in file 7-3\n"
      "         found: 9, expected: 6\n"
      "         information from 3 action(s) is apparently missing\n"
      "NOTE: role change from replication slave to master detected in "
      "forward-log segment 7-3 - continuing\n"
      "WARNING: unexpected EOF encountered on forward-log action 7-3.9 while "
      "reading next tag opcode\n"
      "INFO: file sequence mismatch (found: 3, expected: 4)\n"
      "      skipping file 7-3\n"
      "WARNING: file generation mismatch in file 9-1\n"
      "         found: 9, expected: 8\n"
      "         information from 1 forward-log generation(s) is apparently "
      "missing\n"
      "WARNING: server abort detected in forward-log segment 9-1 - continuing\n"
      "WARNING: unexpected EOF encountered on forward-log action 9-1.2 while "
      "reading next tag header\n",
      result.err);
  // Repeated operations are silent; memos go their own way.
  EXPECT_EQ(std::string::npos, result.out.find("recno:2"));
  EXPECT_NE(std::string::npos, result.out.find("recno:3"));
  EXPECT_NE(std::string::npos, result.out.find("again"));
  EXPECT_NE(std::string::npos,
            directory.read("audit").find(
                "WARNING: while the original forward-log was processed, file "
                "9-1 was skipped due to a file generation mismatch (found: 9, "
                "expected: 8) - information from 1 forward-log generation(s) "
                "is apparently missing"));
}

TEST(ForwardLog, ActionsBehindAGapAreNew) {
  log_builder log = started_log().put(USER, SET, 1, "aaaa");
  log.number(3).put(USER, SET, 2, "rept").number(8).put(USER, SET, 3, "bbbb");
  const std::string report = report_of(log.end(), {"-r"});
  EXPECT_EQ(std::string::npos, report.find("recno:2 ")) << report;
  EXPECT_NE(std::string::npos, report.find("recno:3 ")) << report;
  EXPECT_NE(std::string::npos, report.find("found: 8, expected: 5")) << report;
}

TEST(ForwardLog, SessionsThatSignOnAgain) {
  // With identical data it goes on as if nothing had been, also in later files.
  const test_directory directory;
  directory.write("1",
                  started_log().sign_off(USER).sign_on(USER, {}).end().bytes());
  directory.write("2", log_builder({.sequence = 2}).end().bytes());
  directory.write("3", log_builder({.sequence = 3})
                           .time(100)
                           .operation(part(3, "aaaa"))
                           .end()
                           .bytes());
  EXPECT_EQ(SIGN_ON + line("PUT", 100),
            directory.run({"-r", "1", "2", "3"}).out);

  // With other data nothing holds that a filter has learned of it.
  log_builder log = started_log();
  for (const char* user : {"user{ALICE}", "user{BOB}", "user{ALICE}"}) {
    log.sign_on(USER, {user}).time(100).operation(part(3, "aaaa"));
  }
  EXPECT_EQ("\nSIGN-ON session:-5\n user{BOB}\n" + line("PUT", 100),
            report_of(log.end(), {"-r", "-e", "user = {BOB}"}));
}

TEST(ForwardLog, CutsLongSignOnStrings) {
  const std::string whole(256, 'w');
  log_builder log = started_log();
  log.sign_on(USER, {whole, whole + "x"}).operation(part(3, "aaaa")).end();
  EXPECT_NE(std::string::npos,
            report_of(log, {"-r"})
                .find("-5\n " + whole + "\n " + whole + " ...\nDBPUT"));
}

// Enciphered by XOR with the key, and with the chaining value: the first bytes
// of the enciphered block before it where blocks are chained.
TEST(ForwardLog, DecryptsItemsByTheTypeOfTheirKey) {
  const std::string key = "0123456789abcdef";
  const std::string first = "abcdefghijklmnop";
  const std::string second = "qrstuvwxyzabcd  ";
  const std::string chain = "\1\2\3\4";
  const auto combine = [](std::string text, const std::string& with) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      text[i] = static_cast<char>(text[i] ^ with[i % with.size()]);
    }
    return text;
  };
  const std::string xor_block = combine(combine(first, chain), key);
  struct {
    std::uint16_t type;
    std::string key;
    std::string stored;
  } const cases[] = {
      {1, key,
       xor_block + combine(combine(second, xor_block.substr(0, 4)), key)},
      {0, "", combine(first + second, chain)},
  };
  for (const auto& test : cases) {
    log_builder log;
    log.database(DB, "d").keys(DB,
                               {{.id = 4, .type = test.type, .key = test.key}});
    log.data_set(
        SET, DB, "s",
        {{"SEALED", 'X', 1, 30, LOG_ITEM_ENCRYPTED}, {"OPEN", 'X', 1, 5}});
    log.sign_on(USER, {}).put(
        USER, SET, 9,
        "plain" + std::string(3, '?') + u32_bytes(4) + chain + test.stored);
    const std::string report = report_of(log.end(), {"-r", "-i", "2"});
    EXPECT_NE(std::string::npos,
              report.find(": \"abcdefghijklmnopqrstuvwxyzabcd\"\n"
                          "  OPEN                  : \"plain\"\n"))
        << report;
  }
}

TEST(ForwardLog, RefusesSizesOutsideTheFormat) {
  const std::string large(8193, 'x');
  struct {
    log_builder log;
    const char* problem;
  } const cases[] = {
      {started_log().before_image(part(1, large.c_str())),
       "Unexpected size of before-image (8193 bytes, maximum 8192)"},
      {started_log().meta(8193, large),
       "Unexpected size of meta data (8193 bytes, maximum 8192)"},
      {started_log().database(2, large.substr(1)),
       "Unexpected size of database name (8192 bytes, maximum 8191)"},
      {started_log().context(SET, 3, "abc"),
       "Unexpected size of data set context (3 bytes, minimum 4)"},
      {started_log().context(SET, 3, u32_bytes(DB)),
       "Unexpected size of data set context (4 bytes, minimum 5)"},
      {started_log().context(SET, 3, u32_bytes(DB) + "\5abcd"),
       "Unexpected size of data set name (5 bytes, exceeds its context)"},
      {started_log().audit(USER, 11, "x"),
       "Unexpected size of sign-off data (1 bytes, expected 0)"},
      {started_log().data_set(SET, DB, "n", {{"A", 'X', 0, 4}}),
       "Item 1 of data set schema has count 0 and size 4"},
      {started_log().data_set(SET, DB, "n",
                              {{"A", 'X', 1, 32767}, {"B", 'X', 1, 1}}),
       "Data set schema exceeds maximum record size (32768 bytes, maximum "
       "32767)"},
      {started_log().context(SET, 3, u32_bytes(DB) + std::string("\1N\3AB", 5)),
       "Item 1 of data set schema exceeds the list (3 bytes)"},
      {started_log().keys(DB, {{.id = 4, .type = 1, .key = "k", .key_len = 9}}),
       "Entry 1 of database encryption key context exceeds its size (11 "
       "bytes)"},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(std::string("log: bad file format\n") + test.problem +
                  " in forward-log action 1-1.4\n",
              report_of(test.log, {"-r"}));
  }
}

TEST(ForwardLog, KeepsTheWholeStringsOfSignOnData) {
  const std::string two = sign_on_bytes({"user{A}", "host{B}"});
  const std::string one = sign_on_bytes({"user{A}"});
  const std::string none = sign_on_bytes({});
  const struct {
    std::string data;
    std::string kept;
    const char* counts;
  } cases[] = {
      // The second string runs past the data; there is no third one.
      {two.substr(0, two.size() - 1), one,
       "found: 2 string(s) in 19 bytes, kept: 1 string(s)"},
      {u16_bytes(3) + two.substr(2), two,
       "found: 3 string(s) in 20 bytes, kept: 2 string(s)"},
      {two + "x", two, "found: 2 string(s) in 21 bytes, kept: 2 string(s)"},
      {one.substr(0, 3), none,
       "found: 1 string(s) in 3 bytes, kept: 0 string(s)"},
      {"x", none, "found: 0 string(s) in 1 bytes, kept: 0 string(s)"},
  };
  for (const auto& test : cases) {
    log_builder log = started_log();
    log.sign_on_raw(USER, test.data).put(USER, SET, 9, "aaaa");
    // The session has it already.
    log.sign_on_raw(USER, test.kept).put(USER, SET, 9, "aaaa").end();
    const test_directory directory;
    directory.write("log", log.bytes());
    const program_result result =
        directory.run({"-r", "-vv", "-o", "audit", "log"});
    EXPECT_EQ(
        "WARNING: malformed sign-on data in forward-log action 1-1.4\n"
        "         " +
            std::string(test.counts) +
            "\n         information about session -5 is apparently missing\n",
        result.err);
    EXPECT_EQ(0, result.status);
    const std::string audit = directory.read("audit");
    EXPECT_NE(
        std::string::npos,
        audit.find("WARNING: while the original forward-log was processed, "
                   "malformed sign-on data was encountered on forward-log "
                   "action 1-1.4 (" +
                   std::string(test.counts) +
                   ") - information about session -5 is apparently missing"));
    const std::string record =
        "2" + u32_bytes(static_cast<std::uint32_t>(test.kept.size()) + 4) +
        u32_bytes(static_cast<std::uint32_t>(USER)) + test.kept;
    EXPECT_NE(std::string::npos, audit.find(record));
    EXPECT_EQ(audit.find(record), audit.rfind(record));

    const program_result again = directory.run({"-r", "-vv", "audit"});
    EXPECT_EQ(0, again.status);
    const std::size_t begin = result.out.find("SIGN-ON");
    EXPECT_EQ(result.out.substr(begin),
              again.out.substr(again.out.find("SIGN-ON")));
  }
}

// What is told of a compressed log beside what its actions tell: once on
// standard error, once in the audit file.
struct damage_report {
  std::string warning;
  std::string comment;
};

damage_report damage_in(const std::string& name, const std::string& reason) {
  return {"WARNING: damage detected in compressed file " + name +
              "\n         reason: " + reason +
              "\n         information from the file may be missing or wrong\n",
          "WARNING: while the original forward-log was processed, damage was "
          "detected in compressed file " +
              name + " (reason: " + reason +
              ") - information from the file may be missing or wrong"};
}

TEST(ForwardLog, TellsDamageWhereverACompressedLogHasIt) {
  log_builder log = started_log();
  for (std::uint32_t recno = 0; recno < 9000; ++recno) {
    log.put(USER, SET, recno, u32_bytes(recno * 2654435761U));
  }
  const std::string open_log = log.bytes();
  const std::string no_tag =
      "WARNING: unexpected EOF encountered on forward-log action 1-1.9003 "
      "while reading next tag opcode\n";
  const std::string with_end = log.end().bytes();
  // An unknown tag ends a log as well.
  const std::string with_other = open_log + "X" + u32_bytes(9004) + "time";
  const struct {
    std::string log;
    // Bytes cut off the end, and the place of a changed one.
    std::size_t cut;
    int changed;
    std::string before;
    const char* reason;
  } cases[] = {
      {open_log, 0, 0, no_tag, nullptr},
      {open_log, 0, -6, no_tag, "incorrect data check"},
      {open_log, 3, 0, no_tag, "unexpected end of file"},
      {with_end, 0, 0, "", nullptr},
      {with_end, 0, -2, "", "incorrect length check"},
      {with_end, 3, 0, "", "unexpected end of file"},
      {with_other, 0, -6, "", "incorrect data check"},
  };
  for (const auto& test : cases) {
    const test_directory directory;
    directory.write("log", test.log, true);
    if (test.changed != 0) directory.change_byte("log", test.changed);
    std::string bytes = directory.read_raw("log");
    bytes.resize(bytes.size() - test.cut);
    directory.write("log", bytes);
    ASSERT_EQ(0, mkfifo(directory.path("pipe").c_str(), 0600));
    for (const std::string operand : {"log", "pipe"}) {
      const damage_report damage = test.reason == nullptr
                                       ? damage_report()
                                       : damage_in(operand, test.reason);
      // A pipe is opened for writing only once it is read.
      std::thread writer([&] {
        if (operand == "pipe") directory.write(operand, bytes);
      });
      const program_result result = directory.run({"-o", "audit", operand});
      writer.join();
      EXPECT_EQ(0, result.status);
      EXPECT_EQ(test.before + damage.warning, result.err);
      // Every action is there.
      const std::string audit = directory.read("audit");
      EXPECT_NE(std::string::npos, audit.find(u32_bytes(8999 * 2654435761U)));
      EXPECT_TRUE(audit.ends_with(damage.comment));
      EXPECT_EQ(0, directory.run({"audit"}).status);
    }
  }
}
