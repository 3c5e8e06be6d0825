// What happens to the outputs besides what is put into them: files that are
// there already, pipes that nobody reads, terminals.

#include <gtest/gtest.h>
#include <unistd.h>

#include <utility>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

const std::string AUDIT_HEADER("KORV.AUDIT01.00\0\xd2\x04\1\0", 20);
const std::string OLD_TRAIL = "the trail of last week, which is longer";

// A log whose report does not fit into a pipe.
log_builder long_log() {
  log_builder log;
  log.database(1, "d").data_set(2, 1, "s", {{"A", 'X', 1, 4}}).sign_on(3, {});
  for (std::uint32_t recno = 0; recno < 9000; ++recno) {
    log.put(3, 2, recno, "aaaa");
  }
  return log.end();
}

}  // namespace

TEST(Outputs, AFileKeepsItsContentsUntilTheInputsAreKnown) {
  const test_directory directory;
  directory.write("log", log_builder().end().bytes());
  directory.write("trail", OLD_TRAIL);
  for (const char* compress : {"-r", "-Z"}) {
    EXPECT_EQ(1, directory.run({compress, "-o", "trail", "log", "no"}).status);
    EXPECT_EQ(OLD_TRAIL, directory.read_raw("trail"));
    EXPECT_EQ(1, directory.run({compress, "-o", "new", "no"}).status);
    EXPECT_EQ("", directory.read_raw("new"));
  }
  EXPECT_EQ(0, directory.run({"-o", "trail", "log"}).status);
  EXPECT_EQ(AUDIT_HEADER, directory.read_raw("trail"));
  // Standard output is not emptied, nor is anything that is no file.
  EXPECT_EQ(0, directory.shell("printf 'before' >both && "
                               "\"$CHRONEX\" -o - log >>both && mkfifo fifo && "
                               "{ cat fifo >read & } && "
                               "\"$CHRONEX\" -o fifo log && wait"));
  EXPECT_EQ("before" + AUDIT_HEADER, directory.read_raw("both"));
  EXPECT_EQ(AUDIT_HEADER, directory.read_raw("read"));
}

TEST(Outputs, AFileThatIsReadIsRefused) {
  const test_directory directory;
  directory.write("log", log_builder().end().bytes());
  directory.write("filter", "DBPUT");
  ASSERT_EQ(0, directory.shell("ln log hard; ln -s filter soft"));
  struct {
    std::vector<std::string> arguments;
    std::string problem;
  } const cases[] = {
      {{"-o", "hard", "log"}, "log: input"},
      {{"-o", "filter", "-f", "filter", "log"}, "filter: filter file"},
      {{"-o", "soft", "-e", "DBPUT", "-f", "filter", "log"},
       "filter: filter file"},
  };
  for (const auto& test : cases) {
    const program_result result = directory.run(test.arguments);
    EXPECT_EQ(test.problem + " and audit output are the same file\n",
              result.err);
    EXPECT_EQ(1, result.status);
  }
  EXPECT_EQ("DBPUT", directory.read_raw("filter"));
  // A report that is appended to its input would never end.
  const std::string log = directory.read_raw("log");
  EXPECT_EQ(256, directory.shell("\"$CHRONEX\" -r log >>hard 2>problem"));
  EXPECT_EQ("log: input and report are the same file\n",
            directory.read_raw("problem"));
  EXPECT_EQ(log, directory.read_raw("hard"));
}

TEST(Outputs, ATrailIsCompletedWithoutAReaderOfTheReport) {
  const test_directory directory;
  directory.write("log", long_log().bytes());
  ASSERT_EQ(0, directory.run({"-o", "whole", "log"}).status);
  const std::pair<const char*, std::string> cases[] = {
      {"-r -o trail", "stdout: Broken pipe\nFailed to write report\n1\n"},
      {"-o -", "stdout: Broken pipe\nFailed to write audit file\n1\n"},
      {"-r", "141\n"},
  };
  for (const auto& [options, err] : cases) {
    EXPECT_EQ(0, directory.shell(std::string("{ \"$CHRONEX\" ") + options +
                                 " log 2>err; echo $? >>err; } | :"));
    EXPECT_EQ(err, directory.read_raw("err"));
  }
  EXPECT_EQ(directory.read_raw("whole"), directory.read_raw("trail"));
}

TEST(Outputs, ATerminalIsNotDrivenByALog) {
  const std::string evil = "\x1b[2J\t\x7f\x9b\\\xe9";
  const std::string shown = "\\033[2J\\011\\177\\233\\\xe9";
  log_builder log;
  log.database(1, evil).data_set(2, 1, "s" + evil,
                                 {{evil, 'Z', 1, 5}, {"A", '\x1b', 1, 1}});
  log.sign_on(3, {evil}).put(3, 2, 9,
                             "1\n\x1b\x80"
                             "1a");
  const test_directory directory;
  directory.write("log", log.end().bytes());
  directory.write("audit", AUDIT_HEADER + "1" + u32_bytes(10) + evil + "\n");
  const auto report = [&](const std::string& text, const std::string& value,
                          const std::string& pad) {
    return "\nSIGN-ON session:3\n " + text + "\n\nDBPUT " + text + ".S" + text +
           " (#2) recno:9 session:3\n timestamp: 2023-11-14 22:13:23\n  " +
           text + pad + ": " + value + "\n  A                     : \n";
  };
  const std::string raw_report = report(evil,
                                        "1\n\x1b\x80"
                                        "1",
                                        std::string(24 - 2 - evil.size(), ' '));
  EXPECT_EQ(raw_report, directory.run({"-r", "-i", "9", "log"}).out);
  EXPECT_EQ(
      report(shown, "1\\012\\033\\2001",
             std::string(24 - 2 - evil.size(), ' ')),
      directory.run_on_terminal({"-r", "-i", "9", "log"}, STDOUT_FILENO).out);
  const std::string schema =
      directory.run_on_terminal({"-x", "log"}, STDOUT_FILENO).out;
  EXPECT_NE(std::string::npos, schema.find(" '" + shown + "' type:Z"));
  EXPECT_NE(std::string::npos, schema.find(" 'A' type:\\033 count"));

  // Each stream is judged by itself.
  EXPECT_EQ(
      raw_report,
      directory.run_on_terminal({"-r", "-i", "9", "log"}, STDERR_FILENO).out);
  EXPECT_EQ(shown + "\\012\n",
            directory.run_on_terminal({"audit"}, STDERR_FILENO).err);
  EXPECT_EQ(evil + "\n\n",
            directory.run_on_terminal({"audit"}, STDOUT_FILENO).err);
}

TEST(Outputs, UnknownNamesAreToldToWhoSitsAtATerminal) {
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "customer", {{"LIMIT", 'I', 1, 4}});
  log.sign_on(3, {"user{BOB}"});
  // The data set's name changes with that of its database.
  log.database(1, "store");
  const test_directory directory;
  directory.write("log", log.end().bytes());
  directory.write("cut", "KORV.AUDIT01.00");
  const std::string filter =
      "LIMITT > 5 OR SHIP.CUSTOMER OR STORE.CUSTOMER OR usr = {BOB}";
  const std::vector<std::string> arguments = {"-r", "-I",   "LIMIT,CUSTN0",
                                              "-e", filter, "log"};
  EXPECT_EQ(
      "NOTE: no data set has an item named LIMITT\n"
      "NOTE: no data set matches SHIP.CUSTOMER\n"
      "NOTE: no session has an attribute named usr\n"
      "NOTE: no data set has an item named CUSTN0, as the item list asks for\n",
      directory.run_on_terminal(arguments, STDERR_FILENO).err);
  EXPECT_EQ("", directory.run(arguments).err);
  EXPECT_EQ(std::string::npos,
            directory.run_on_terminal({"-e", "x = 1", "cut"}, STDERR_FILENO)
                .err.find("NOTE"));
}
