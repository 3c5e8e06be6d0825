// Options, exit statuses, inputs that cannot be used, outputs that fail.

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

const std::string USAGE_BEGIN =
    "\nKORVALINE CHRONEX forward-log audit trail (X.08.30)\n"
    "usage: chronex [options] file [...]\noptions:\n"
    " -help       - show usage (this list)\n";

const std::string AUDIT_HEADER("KORV.AUDIT01.00\0\xd2\x04\1\0", 20);

std::string header_only(const log_header& header) {
  return log_builder(header).take();
}

}  // namespace

TEST(CommandLine, StatusAndMessages) {
  const test_directory directory;
  directory.write("log", log_builder().end().bytes());
  directory.write("empty", "");
  directory.write("filter", "DBPUT # puts only\n");
  directory.write("large", std::string(102400, ' ').replace(0, 5, "DBPUT"));
  directory.write("larger", std::string(102401, ' '));
  // Names that share a bucket.
  std::string many_names;
  for (int i = 0; i < 60000; ++i) many_names += "a,";
  struct {
    std::vector<std::string> arguments;
    int status;
    std::string err_begin;
  } const cases[] = {
      {{}, 2, USAGE_BEGIN},
      {{"-help", "log"}, 2, USAGE_BEGIN},
      {{"-r"}, 2, "No input file specified\n" + USAGE_BEGIN},
      {{"-q", "-i"},
       2,
       "chronex: invalid option -- q\nUnrecognized option: - q\n"
       "chronex: option requires an argument -- i\nUnrecognized option: - i\n"
       "No input file specified\n" +
           USAGE_BEGIN},
      {{"-q", "log"},
       2,
       "chronex: invalid option -- q\nUnrecognized option: - q\n" +
           USAGE_BEGIN},
      {{"log", "-r"}, 1, "-r: No such file or directory\n"},
      {{"--", "-r"}, 1, "-r: No such file or directory\n"},
      {{"log", "-"}, 1, "-: No such file or directory\n"},
      {{"-version", "log"}, 1, "Error in filter expression: syntax error\n"},
      {{"-f", "none", "log"},
       1,
       "none: No such file or directory\n"
       "Unable to open filter file for reading\n"},
      {{"-f", "larger", "log"},
       1,
       "Filter file exceeds maximum size (100kB)\n"},
      {{"-i", "-3", "-I", " , ", "log"}, 0, ""},
      {{"-i1", "-I", "a", "log"},
       0,
       "WARNING: Option -i has no effect because -r is not specified\n"
       "WARNING: Option -I has no effect because -r is not specified\n"},
      {{"-I", many_names, "-I", many_names, "-I", many_names, "log"},
       0,
       "WARNING: Option -I has no effect because -r is not specified\n"},
      {{"-f", "filter", "-f", "large", "log"}, 0, ""},
      {{"-o", "no/audit", "log"},
       1,
       "no/audit: No such file or directory\n"
       "Unable to open audit file for writing\n"},
      {{"-o", "/dev/full", "log"},
       1,
       "/dev/full: No space left on device\nFailed to write audit file\n"},
      {{"-o", "log", "log"},
       1,
       "log: input and audit output are the same file\n"},
      {{"-r", "."},
       1,
       ".: bad file format\nUnable to read file header signature\n"
       ".: Is a directory\n"},
      {{"-M", "log"}, 1, "No master key id specified\n"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(testing::PrintToString(test.arguments));
    const program_result result = directory.run(test.arguments);
    EXPECT_EQ(test.status, result.status);
    EXPECT_EQ(test.err_begin, result.err.substr(0, test.err_begin.size()));
    if (test.status != 2) {
      EXPECT_EQ(test.err_begin, result.err);
    }
    EXPECT_EQ("", result.out);
  }
  EXPECT_EQ(log_builder().end().bytes(), directory.read("log"));
}

TEST(CommandLine, VersionAndEnvironment) {
  const test_directory directory;
  directory.write("log", log_builder().end().bytes());
  const program_result version = directory.run({"-version"});
  EXPECT_EQ("KORVALINE X.08.30.b7 / Linux IA32 (build Sep 12 2018)\n",
            version.out);
  EXPECT_EQ(0, version.status);
  const program_result result =
      directory.run({"log", "-r"}, {}, {"POSIXLY_CORRECT="});
  EXPECT_EQ("-r: No such file or directory\n", result.err);
}

TEST(CommandLine, Headers) {
  const test_directory directory;
  struct {
    std::string bytes;
    std::string err;
  } const cases[] = {
      {"KORV.FWLOG2.01", "Unable to read file header signature\n"},
      {std::string(16, 'x'), "Unsupported file signature\n"},
      {header_only({.version = "x.01"}), "File major version not recognized\n"},
      {header_only({.version = "2,01"}), "File major version not recognized\n"},
      {header_only({.version = "2.1x"}), "File minor version not recognized\n"},
      // The version text fills its block: there is no zero byte in it.
      {header_only({.version = "2.0001"}),
       "File minor version not recognized\n"},
      {header_only({.version = "2.02"}), "Unknown file version 2.02\n"},
      {header_only({.version = "1.06"}), "Unknown file version 1.06\n"},
      {header_only({.version = "3.00"}), "Unknown file version 3.00\n"},
      {header_only({}).substr(0, 17),
       "Unable to read file header byte order\n"},
      {header_only({}).substr(0, 19),
       "Unable to read file header character set\n"},
      {header_only({}).substr(0, 23), "Unable to read file header release\n"},
      {header_only({}).substr(0, 35), "Unable to read file header\n"},
      {"KORV.AUDITx1.00", "File major version not recognized\n"},
      {std::string("KORV.AUDIT09.99\0\xd2", 17),
       "Unable to read file header\n"},
  };
  for (const auto& test : cases) {
    directory.write("bad", test.bytes + (test.bytes.size() == 15 ? "." : ""));
    const program_result result = directory.run({"-", "-o", "a"}, {});
    const program_result named = directory.run({"-o", "audit", "bad"});
    EXPECT_EQ("bad: bad file format\n" + test.err, named.err);
    EXPECT_EQ(1, named.status);
    EXPECT_EQ("", directory.read("audit"));
  }
  directory.write("big-endian", header_only({.byte_order = 0xd204}));
  EXPECT_EQ("big-endian: incompatible file format\nByte order does not match\n",
            directory.run({"big-endian"}).err);
  directory.write("latin", header_only({.generation = 9}));
  directory.write("roman", header_only({.charset = 0}));
  directory.write("old", header_only({.version = "1.00", .short_form = true}));
  directory.write("audit", AUDIT_HEADER);
  const std::string problem =
      ": incompatible file format\nCharacter set does not match\n";
  // The first header that names a character set fixes it.
  for (const auto& first : {"latin", "audit", "old"}) {
    const program_result result =
        directory.run({"-v", first, "latin", "roman", "audit"});
    EXPECT_EQ("roman" + problem +
                  " found: hp-roman8 (0), expected: iso-8859-1 (1))\n",
              result.err);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(1, result.status);
  }
  EXPECT_EQ(
      "latin" + problem + " found: iso-8859-1 (1), expected: hp-roman8 (0))\n",
      directory.run({"old", "roman", "latin"}).err);
}

TEST(CommandLine, InputsArePutInOrder) {
  const test_directory directory;
  directory.write("audit", AUDIT_HEADER);
  directory.write("5-2", log_builder({.generation = 5, .sequence = 2}).bytes());
  directory.write("5-1", log_builder({.generation = 5}).end().bytes(), true);
  directory.write("4-9", log_builder({.generation = 4, .sequence = 9}).bytes());
  directory.write("old", header_only({.version = "1.00", .short_form = true}));
  const program_result result =
      directory.run({"-v", "audit", "5-2", "5-1", "4-9", "old"});
  EXPECT_EQ(
      "\nprocessing file: 4-9\nprocessing file: 5-1\nprocessing file: 5-2\n"
      "processing file: audit\n",
      result.out);
  EXPECT_EQ(
      "WARNING: file sequence mismatch in file 4-9\n"
      "         found: 9, expected: 1\n"
      "         information from 8 file(s) is apparently missing\n"
      "WARNING: unexpected EOF encountered on forward-log action 4-9.0 while "
      "reading next tag opcode\n"
      "WARNING: unexpected EOF encountered on forward-log action 5-2.0 while "
      "reading next tag opcode\n",
      result.err.substr(result.err.find("file old\n") + 9));
  EXPECT_EQ(0, result.status);

  // Those that are equal stay as they were given.
  directory.write("copy", log_builder({.generation = 5}).end().bytes());
  for (const auto& [first, second] :
       {std::pair("5-1", "copy"), std::pair("copy", "5-1")}) {
    EXPECT_EQ(std::string("\nprocessing file: ") + first +
                  "\nprocessing file: " + second + "\nprocessing file: 5-2\n",
              directory.run({"-v", "5-2", first, second}).out);
  }
}

TEST(CommandLine, StandardInputAndOutput) {
  const test_directory directory;
  const std::string log = log_builder().end().take();
  EXPECT_EQ("\nprocessing file: stdin\n", directory.run({"-v", "-"}, log).out);
  const program_result result =
      directory.run({"-r", "-o", "-", "-c", "why", "-"}, log);
  EXPECT_EQ(AUDIT_HEADER + std::string("1\3\0\0\0why", 8), result.out);
  EXPECT_EQ(
      "WARNING: Report output disabled because audit data is written to "
      "stdout\n",
      result.err);
  for (const char* level : {"-Z", "-ZZ", "-ZZZ"}) {
    EXPECT_EQ(0, directory.run({level, "-c", "", "-oaudit", "-"}, log).status);
    EXPECT_EQ(AUDIT_HEADER, directory.read("audit"));
  }
}
