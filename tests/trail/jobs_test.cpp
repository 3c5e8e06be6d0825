// Trails that several processes make side by side.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/state_fixture.h"

namespace {

constexpr int CHANGES = 4000;

// A log of about 700 KB, with something to tell of on standard error.
std::string large_log(std::uint32_t sequence) {
  log_builder log({.generation = 7, .sequence = sequence});
  log.number(1 + (sequence - 1) * 10 * CHANGES);
  log.database(1, "shop").data_set(2, 1, "goods", {{"NAME", 'X', 1, 100}});
  log.sign_on(5, {"user{BOB}"});
  for (int i = 0; i < CHANGES; ++i) {
    const std::string name = "item " + std::to_string(i * 7919 % CHANGES);
    std::string image = name;
    image.resize(100, ' ');
    log.put(5, 2, static_cast<std::uint32_t>(i), image);
    if (i % 1000 == 0) log.sign_on_raw(6, "no strings");
  }
  return log.end().bytes();
}

// Operations in several parts, beside each other and apart, with what is to be
// told of some. A border of the pieces falls everywhere, one time or another.
std::string log_of_parts() {
  log_builder log({.generation = 7});
  log.database(1, "shop").data_set(2, 1, "goods", {{"NAME", 'X', 1, 100}});
  log.sign_on(5, {"user{BOB}"});
  const std::string image(100, 'i');
  for (std::uint32_t i = 0; i < 300; ++i) {
    const std::uint32_t key = i % 30;
    const log_operation first{5, 2, key, 1, image, key};
    const log_operation other{5, 2, i + 1000, 3, image};
    log_operation odd = first;
    if (i % 7 == 1) odd.image = "short";
    if (i % 7 == 2) odd.session = 8;
    if (i % 7 == 3) odd.image_key = 5000;
    if (i % 7 == 4) log.operation({5, 2, key, 4, "", key});
    if (i % 7 == 5) log.before_image(first);
    log.operation(other).before_image(odd);
    if (i % 7 == 6) log.operation(other);
    if (i % 11 == 0) log.memo(5, 'b', "begin " + std::to_string(i));
    log.operation(first);
    if (i % 7 == 3) log.operation(other).operation(odd);
    if (i % 50 == 0) log.operation(odd).operation({5, 2, i, 1, "short"});
  }
  return log.end().bytes();
}

void expect_same(const program_result& jobs, const program_result& one) {
  EXPECT_TRUE(jobs.out == one.out);
  EXPECT_EQ(jobs.err, one.err);
  EXPECT_EQ(jobs.status, one.status);
}

// The ring is shorter than a piece, and is gone round several times.
TEST(Jobs, ReadWhatOneProcessReads) {
  const test_directory directory;
  directory.write("plain", large_log(1));
  directory.write("compressed.gz", large_log(2), true);
  directory.write("damaged.gz", large_log(3), true);
  directory.change_byte("damaged.gz", -4000);
  // One that nobody reads on.
  directory.write("repeated.gz", large_log(2), true);
  const arguments inputs[] = {{"plain", "compressed.gz", "repeated.gz"},
                              {"compressed.gz", "repeated.gz", "damaged.gz"},
                              {"plain", "damaged.gz"},
                              {"compressed.gz", "damaged.gz"}};
  for (const arguments& names : inputs) {
    const arguments words = with({"json"}, names);
    const program_result one = directory.run_trail(words);
    ASSERT_GT(one.out.size(), 1000000U);
    for (const char* const piece : {"9000", "150000", "900000"}) {
      SCOPED_TRACE(names.back() + " " + piece);
      expect_same(
          directory.run_trail(with(words, {"--jobs", "3"}), {},
                              {std::string("CHRONEX_PIECE_SIZE=") + piece,
                               "CHRONEX_RING_SIZE=1"}),
          one);
    }
  }
}

TEST(Jobs, KnowTheFirstPartsOfOperations) {
  const test_directory directory;
  directory.write("log", log_of_parts());
  const program_result one = directory.run_trail({"json", "log"});
  ASSERT_NE(one.out.find(R"("before":)"), std::string::npos);
  for (const char* const piece : {"1", "130", "150", "400", "3000"}) {
    SCOPED_TRACE(piece);
    expect_same(
        directory.run_trail({"json", "--jobs", "3", "log"}, {},
                            {std::string("CHRONEX_PIECE_SIZE=") + piece}),
        one);
  }
}

// Also where only one process works.
TEST(Jobs, AreTakenByEveryCommand) {
  const test_directory directory;
  directory.write("log", large_log(1));
  const arguments commands[] = {
      {"json"},  {"json", "--from", "from/0001.state"},
      {"stats"}, {"query", "SELECT count(*), max(recno) FROM change"},
      {"list"},  {"page", "-o", "made"}};
  ASSERT_EQ(directory.run_trail({"states", "-o", "from", "log"}).status, 0);
  for (const arguments& command : commands) {
    SCOPED_TRACE(command.front());
    directory.write("made", "");
    const program_result one = directory.run_trail(with(command, {"log"}));
    const std::string made = directory.read("made");
    EXPECT_NE(one.out + made, "") << one.err;
    expect_same(directory.run_trail(with(command, {"--jobs", "3", "log"})),
                one);
    EXPECT_TRUE(directory.read("made") == made);
  }
  // A script tells with which arguments it was made.
  const std::string scripts =
      "for jobs in 1 3; do $CHRONEX_TRAIL sql --engine postgresql --jobs $jobs"
      " log 2>err | grep -v '\"--jobs\"' >script.$jobs; done;"
      " test -s script.1 && cmp script.1 script.3";
  EXPECT_EQ(directory.shell(scripts), 0);
}

// A full disk is told once, as one process tells it.
TEST(Jobs, FailAsOneProcessDoes) {
  const test_directory directory;
  directory.write("log", large_log(1));
  const arguments words = {"json", "-o", "/dev/full", "log"};
  const program_result one = directory.run_trail(words);
  EXPECT_NE(one.err.find("No space left on device"), std::string::npos);
  expect_same(directory.run_trail(with(words, {"--jobs", "3"}), {},
                                  {"CHRONEX_PIECE_SIZE=20000"}),
              one);
}

// Until somebody reads the output, jobs wait; then `victim` is killed, a field
// of their list or their parent.
struct killed_run {
  const char* name;
  const char* victim;
  const char* status;
  bool is_told;
};

class KilledJobs : public testing::TestWithParam<killed_run> {};

// Nothing behind the part of the one that was killed, and nobody left who could
// write: the reader comes to an end.
TEST_P(KilledJobs, LeaveAPrefix) {
  const test_directory directory;
  directory.write("log", large_log(1));
  const program_result whole = directory.run_trail({"json", "log"});
  const std::string script =
      "mkfifo pipe; CHRONEX_PIECE_SIZE=50000 $CHRONEX_TRAIL json --jobs 3"
      " -o pipe log 2>err & parent=$!; exec 5<pipe;"
      " jobs=/proc/$parent/task/$parent/children;"
      " until [ $(wc -w <$jobs) = 3 ]; do sleep 0.05; done;"
      " kill -9 " +
      std::string(GetParam().victim) +
      "; timeout 60 cat <&5 >out || exit 1; wait $parent; echo $? >status";
  ASSERT_EQ(directory.shell(script), 0);
  const std::string out = directory.read("out");
  EXPECT_LT(out.size(), whole.out.size());
  EXPECT_TRUE(whole.out.starts_with(out));
  EXPECT_EQ(directory.read("err").find("\nA job was ended by signal 9\n") !=
                std::string::npos,
            GetParam().is_told);
  EXPECT_EQ(directory.read("status"), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Jobs, KilledJobs,
    testing::Values(killed_run{"First", "$(cut -d ' ' -f 1 $jobs)", "1\n",
                               true},
                    killed_run{"Last", "$(cut -d ' ' -f 3 $jobs)", "1\n", true},
                    killed_run{"Parent", "$parent", "137\n", false}),
    [](const testing::TestParamInfo<killed_run>& each) {
      return each.param.name;
    });

}  // namespace
