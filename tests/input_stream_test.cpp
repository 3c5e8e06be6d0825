// Inputs that arrive bit by bit, are compressed in pieces, or broken.

#include "util/chronex/input/input_stream.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

// A pipe of which the test holds the writing end.
class open_pipe {
 public:
  open_pipe() {
    EXPECT_EQ(0, pipe(ends_));
    EXPECT_TRUE(stream.open_duplicate(ends_[0], [] {}));
  }
  ~open_pipe() {
    close(ends_[0]);
    finish();
  }
  void write(std::string_view bytes) {
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
              ::write(ends_[1], bytes.data(), bytes.size()));
  }
  void finish() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }
  // What the stream delivers of what was written so far.
  std::string take(std::size_t count) {
    const std::uint8_t* bytes = stream.take(count);
    if (bytes == nullptr) return "(end)" + stream.error();
    return {reinterpret_cast<const char*>(bytes), count};
  }

  input_stream stream;

 private:
  int ends_[2] = {-1, -1};
};

// The bytes of a gzip file with this content.
std::string gzip_bytes(std::string_view content) {
  const test_directory directory;
  directory.write("file", content, true);
  return directory.read_raw("file");
}

}  // namespace

// Were more than what is there waited for, this test would not end.
TEST(InputStream, DeliversWhatAPipeHolds) {
  open_pipe plain;
  plain.write("abc");
  EXPECT_EQ("ab", plain.take(2));
  EXPECT_EQ("c", plain.take(1));
  plain.write("d");
  EXPECT_EQ("d", plain.take(1));
  plain.finish();
  EXPECT_EQ("(end)", plain.take(1));

  open_pipe members;
  const std::string second = gzip_bytes("more");
  members.write(gzip_bytes("first") + second.substr(0, 1));
  EXPECT_EQ("first", members.take(5));
  members.write(second.substr(1));
  EXPECT_EQ("more", members.take(4));
  members.write(gzip_bytes("third") + "padding");
  EXPECT_EQ("third", members.take(5));
  members.finish();
  EXPECT_EQ("(end)", members.take(1));
  EXPECT_FALSE(members.stream.broke_off());
}

TEST(InputStream, TellsDamageFromATruncation) {
  const std::string whole = gzip_bytes("some text");
  open_pipe cut;
  cut.write(whole.substr(0, whole.size() - 1));
  cut.finish();
  EXPECT_EQ("some text", cut.take(9));
  EXPECT_EQ("(end)", cut.take(1));
  EXPECT_TRUE(cut.stream.broke_off());

  std::string wrong = whole;
  wrong[wrong.size() - 5] ^= 1;
  open_pipe damaged;
  damaged.write(wrong);
  damaged.finish();
  EXPECT_EQ("some text", damaged.take(9));
  EXPECT_EQ("(end)incorrect data check", damaged.take(1));
}

TEST(InputStream, GoesOnAfterAPause) {
  const test_directory directory;
  std::string content;
  for (std::uint32_t i = 0; i < 200000; ++i) content += u32_bytes(i);
  for (const bool compressed : {false, true}) {
    directory.write("file", content, compressed);
    input_stream stream;
    ASSERT_TRUE(stream.open(directory.path("file").c_str(), [] {}));
    ASSERT_TRUE(stream.skip(400000));
    stream.suspend();
    std::string rest(content.size() - 400000, '\0');
    ASSERT_TRUE(stream.read(
        {reinterpret_cast<std::uint8_t*>(rest.data()), rest.size()}));
    EXPECT_EQ(content.substr(400000), rest);
    EXPECT_EQ(nullptr, stream.take(1));
  }
}
