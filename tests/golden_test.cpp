// Whole runs on the sample logs, compared to the letter with what is on file.
//
// A file in tests/golden holds the arguments of one run, one to a line after
// "arg:", and then its exit status, standard output and standard error.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tests/support/run_program.h"

namespace {

std::string read_text(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> arguments_of(const std::string& golden) {
  constexpr std::string_view MARK = "arg:";
  std::vector<std::string> arguments;
  std::istringstream lines(golden);
  for (std::string line; std::getline(lines, line) && line.starts_with(MARK);) {
    arguments.push_back(line.substr(MARK.size()));
  }
  return arguments;
}

std::string describe(const std::vector<std::string>& arguments,
                     const program_result& result) {
  std::string text;
  for (const std::string& argument : arguments)
    text += "arg:" + argument + "\n";
  return text + "status:" + std::to_string(result.status) + "\n--- output\n" +
         result.out + "--- errors\n" + result.err;
}

std::vector<std::string> golden_files() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(GOLDEN_DIR)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class golden_test : public testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(golden_test, RunsToTheLetter) {
  const test_directory directory;
  ASSERT_EQ(
      0, std::system(
             (std::string(MAKE_SAMPLES) + " " + directory.path(".")).c_str()));
  const std::string golden =
      read_text(std::filesystem::path(GOLDEN_DIR) / GetParam());
  const std::vector<std::string> arguments = arguments_of(golden);
  EXPECT_EQ(golden, describe(arguments, directory.run(arguments)));
}

INSTANTIATE_TEST_SUITE_P(samples, golden_test,
                         testing::ValuesIn(golden_files()),
                         [](const auto& file) {
                           std::string name = file.param;
                           std::ranges::replace_if(
                               name,
                               [](char c) { return std::isalnum(c) == 0; },
                               '_');
                           return name;
                         });
