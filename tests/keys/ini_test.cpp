#include "util/libmkey/ini.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <span>
#include <string>

#include "tests/support/run_program.h"

namespace {

class ini_file : public testing::Test {
 protected:
  ~ini_file() override { ini_cleanup(); }

  int open(const std::string& text, const char* section = "") {
    dir_.write("ini", text);
    return ini_open_file(dir_.path("ini").c_str(), section);
  }
  // The next entry as "KEY|value", or the result when there is none.
  static std::string next(int handle) {
    std::array<char, 1024> key{};
    std::array<char, 1024> value{};
    const int result = ini_next_entry(handle, key, value);
    if (result != 0) return std::to_string(result);
    return std::string(key.data()) + "|" + value.data();
  }

 private:
  test_directory dir_;
};

TEST_F(ini_file, entries) {
  const std::string value(1021, 'x');
  const struct {
    std::string text;
    std::string entry;       // "1": the line is not an entry
    std::string next = "1";  // what follows
  } cases[] = {
      {"keyt = aes128-cbc   ; a remark", "KEYT|aes128-cbc"},
      {"a='two  blanks' rest", "A|two  blanks"},
      {"a=\" a#b \"", "A| a"},
      {"a=\"it's\"", "A|it's"},
      {"a=\"open end  \r\n", "A|open end  "},
      {"a=one\rtwo", "A|one"},
      {"a=b=c", "A|b=c"},
      {"  ;x=1", ";X|1"},
      {";x=1", "1"},
      {"#x=1", "1"},
      {"\t Mixed Case \t=\t Value \t\r\n", "MIXED CASE|Value"},
      {"=v", "|v"},
      {" [k]=v", "[K]|v"},
      {"no entry\n\n", "1"},
      {"k\xe9=\xff", "K\xe9|\xff"},
      {std::string("k=a\0b", 5), "K|a"},
      // Long lines are read in pieces.
      {"a=" + value + "tail=1\n", "A|" + value, "TAIL|1"},
      {"a=" + value + "tail\nb=2\n", "A|" + value, "B|2"},
  };
  for (const auto& c : cases) {
    const int handle = open(c.text);
    EXPECT_EQ(next(handle), c.entry) << c.text;
    EXPECT_EQ(next(handle), c.next) << c.text;
    ini_close_file(handle);
  }
}

TEST_F(ini_file, sections_are_found_and_walked) {
  const std::string text =
      "top=0\n[bad=1\n[ Master 1 ] x\na=1\n;[remark]\nb=2\n[two]\nc=3\n";
  const int handle = open(text + "[MASTER 1]\nd=4\n", "master 1");
  for (const char* entry : {"A|1", "B|2", "1", "1"}) {
    EXPECT_EQ(next(handle), entry);
  }
  std::array<char, 32> name{};
  EXPECT_EQ(ini_next_section(handle, name), 0);
  EXPECT_STREQ(name.data(), "TWO");
  EXPECT_EQ(next(handle), "C|3");
  EXPECT_EQ(ini_next_section(handle, name), 0);
  EXPECT_EQ(ini_next_section(handle, name), 1);
  EXPECT_EQ(ini_find_section(handle, "three"), 1);
  EXPECT_EQ(ini_find_section(handle, ""), 0);
  EXPECT_EQ(next(handle), "TOP|0");
  EXPECT_EQ(next(handle), "1");  // the unfinished header ends the top
  // A handle is returned even when the section is not found.
  EXPECT_EQ(next(open("[one]\na=1\n", "two")), "1");
}

TEST_F(ini_file, results_are_cut_to_the_buffers) {
  const int handle = open("abcdef=123456\nlong line\n[section]\n");
  std::array<char, 4> key{};
  std::array<char, 8> value{};
  EXPECT_EQ(ini_next_entry(handle, key, std::span<char>()), -1);
  EXPECT_EQ(ini_next_entry(handle, key, std::span(value).first(3)), 0);
  EXPECT_STREQ(key.data(), "ABC");
  EXPECT_STREQ(value.data(), "12");
  for (const char* line : {"long li", "ne\n"}) {
    EXPECT_EQ(ini_next_line(handle, value), 0);
    EXPECT_STREQ(value.data(), line);
  }
  for (int i = 0; i < 2; ++i) EXPECT_EQ(ini_next_line(handle, value), 2);
  EXPECT_EQ(ini_next_section(handle, key), 0);
  EXPECT_STREQ(key.data(), "SEC");
  EXPECT_EQ(ini_next_line(handle, value), 1);
}

TEST_F(ini_file, handles_and_errors) {
  EXPECT_EQ(next(0), "-1");  // the table is not set up yet
  for (const int handle : {0, 1, 2, -1}) EXPECT_EQ(open("a=1\n"), handle);
  EXPECT_EQ(errno, ENOSPC);
  std::time_t mtime = 0;
  EXPECT_EQ(ini_mtime(2, &mtime), 0);
  EXPECT_LE(std::time(nullptr) - mtime, 60);
  EXPECT_EQ(ini_close_file(1), 0);
  for (const int handle : {-1, 1, 3}) {
    errno = 0;
    EXPECT_EQ(ini_close_file(handle), -1);
    EXPECT_EQ(errno, EINVAL);
  }
  // A directory can be opened, but not read.
  EXPECT_EQ(ini_open_file("/", "s"), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(next(ini_open_file("/", "")), "-1");
  EXPECT_EQ(ini_cleanup(), 0);
  EXPECT_EQ(next(0), "-1");
}

}  // namespace
