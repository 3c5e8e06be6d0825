#include "util/libmkey/ini.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

namespace {

class ini_file : public testing::Test {
 protected:
  ini_file()
      : path_(testing::TempDir() + "ini_test." + std::to_string(getpid())) {}
  ~ini_file() override {
    ini_cleanup();
    std::filesystem::remove(path_);
  }

  int open(const std::string& text, const char* section = "") {
    std::ofstream(path_, std::ios::binary) << text;
    return ini_open_file(path_.c_str(), section);
  }
  // The next entry as "KEY|value", or the result when there is none.
  static std::string next(int handle) {
    std::array<char, 1024> key{};
    std::array<char, 1024> value{};
    const int result = ini_next_entry(handle, key, value);
    if (result != 0) return std::to_string(result);
    return std::string(key.data()) + "|" + value.data();
  }
  static std::string next_section(int handle) {
    std::array<char, 32> name{};
    const int result = ini_next_section(handle, name);
    return result != 0 ? std::to_string(result) : name.data();
  }

  std::string path_;
};

TEST_F(ini_file, entries) {
  const struct {
    std::string line;
    std::string entry;  // "1": the line is not an entry
  } cases[] = {
      {"keyt = aes128-cbc   ; a remark", "KEYT|aes128-cbc"},
      {"a='two  blanks' rest", "A|two  blanks"},
      {"a=\" a#b \"", "A| a"},
      {"a=\"it's\"", "A|it's"},
      {"a=\"open end  \r\n", "A|open end  "},
      {"a=x'y'", "A|x'y'"},
      {"a=one\rtwo", "A|one"},
      {"a=b=c", "A|b=c"},
      {"  ;x=1", ";X|1"},
      {";x=1", "1"},
      {"#x=1", "1"},
      {"\t Mixed Case \t=\t Value \t\r\n", "MIXED CASE|Value"},
      {"=v", "|v"},
      {"k=", "K|"},
      {" [k]=v", "[K]|v"},
      {"no entry\n\n", "1"},
      {"k\xe9=\xff", "K\xe9|\xff"},
      {std::string("k=a\0b", 5), "K|a"},
  };
  for (const auto& each : cases) {
    const int handle = open(each.line);
    EXPECT_EQ(next(handle), each.entry) << each.line;
    EXPECT_EQ(next(handle), "1") << each.line;
    ini_close_file(handle);
  }
}

TEST_F(ini_file, sections_are_found_and_walked) {
  const int handle = open(
      "top=0\n[bad=1\n[ Master 1 ] x\na=1\n;[remark]\nb=2\n[two]\nc=3\n"
      "[MASTER 1]\nd=4\n",
      "master 1");
  for (const char* entry : {"A|1", "B|2", "1", "1"}) {
    EXPECT_EQ(next(handle), entry);
  }
  EXPECT_EQ(next_section(handle), "TWO");
  EXPECT_EQ(next(handle), "C|3");
  EXPECT_EQ(next_section(handle), "MASTER 1");
  EXPECT_EQ(next_section(handle), "1");
  EXPECT_EQ(ini_find_section(handle, "three"), 1);
  EXPECT_EQ(next(handle), "1");
  EXPECT_EQ(ini_find_section(handle, ""), 0);
  EXPECT_EQ(next(handle), "TOP|0");
  EXPECT_EQ(next(handle), "1");  // the unfinished header ends the top
  // A handle is returned even when the section is not found.
  EXPECT_EQ(next(open("[one]\na=1\n", "two")), "1");
}

TEST_F(ini_file, long_lines_are_read_in_pieces) {
  const std::string value(1021, 'x');
  const int handle = open("a=" + value + "tail=1\na=" + value + "tail\nb=2\n");
  for (const std::string& entry : {"A|" + value, std::string("TAIL|1"),
                                   "A|" + value, std::string("B|2")}) {
    EXPECT_EQ(next(handle), entry);
  }
}

TEST_F(ini_file, results_are_cut_to_the_buffers) {
  const int handle = open("abcdef=123456\n[section]\n");
  std::array<char, 4> key{};
  std::array<char, 3> value{};
  EXPECT_EQ(ini_next_entry(handle, key, std::span<char>()), -1);
  ASSERT_EQ(ini_next_entry(handle, key, value), 0);
  EXPECT_STREQ(key.data(), "ABC");
  EXPECT_STREQ(value.data(), "12");
  ASSERT_EQ(ini_next_section(handle, value), 0);
  EXPECT_STREQ(value.data(), "SE");
}

TEST_F(ini_file, raw_lines) {
  const int handle = open(";c\nlong line\n[s]\nk=v");
  std::array<char, 8> line{};
  for (const char* text : {";c\n", "long li", "ne\n"}) {
    EXPECT_EQ(ini_next_line(handle, line), 0);
    EXPECT_STREQ(line.data(), text);
  }
  EXPECT_EQ(ini_next_line(handle, line), 2);
  EXPECT_EQ(ini_next_line(handle, line), 2);
  EXPECT_EQ(next_section(handle), "S");
  EXPECT_EQ(ini_next_line(handle, line), 0);
  EXPECT_EQ(ini_next_line(handle, line), 1);
}

TEST_F(ini_file, handles_and_errors) {
  std::time_t mtime = 0;
  EXPECT_EQ(ini_mtime(0, &mtime), -1);  // the table is not set up yet
  for (const int handle : {0, 1, 2, -1}) EXPECT_EQ(open("a=1\n"), handle);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(ini_mtime(2, &mtime), 0);
  EXPECT_LE(std::time(nullptr) - mtime, 60);
  EXPECT_EQ(ini_close_file(1), 0);
  for (const int handle : {-1, 1, 3}) {
    errno = 0;
    EXPECT_EQ(ini_find_section(handle, ""), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(ini_close_file(handle), -1);
  }
  // A directory can be opened, but not read.
  EXPECT_EQ(ini_open_file("/", "s"), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(ini_open_file("/", ""), 1);
  EXPECT_EQ(next(1), "-1");
  EXPECT_EQ(ini_cleanup(), 0);
  EXPECT_EQ(next(0), "-1");
}

}  // namespace
