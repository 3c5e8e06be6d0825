#include "tests/trail/state_fixture.h"

#include <cstdlib>

namespace {

std::uint64_t number_from(const char* variable, std::uint64_t otherwise) {
  const char* const number = std::getenv(variable);
  return number != nullptr ? std::strtoull(number, nullptr, 10) : otherwise;
}

}  // namespace

std::uint64_t first_case() { return number_from("CHRONEX_FIRST_CASE", 1); }

std::uint64_t end_of_cases() {
  return first_case() + number_from("CHRONEX_RANDOM_CASES", 25);
}

arguments with(arguments words, const arguments& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

arguments names_of(const std::vector<random_log>& logs) {
  arguments names;
  for (const random_log& log : logs) names.push_back(log.name);
  return names;
}

arguments random_filter(random_source& random) {
  const arguments filters[] = {
      {}, {}, {"-e", "user={BOB}"}, {"-e", "QTY > 20"}, {"-e", "DBUPDATE"}};
  return random.one_of(filters);
}

std::string first_difference(const std::string& one, const std::string& other) {
  std::size_t at = 0;
  while (at < one.size() && at < other.size() && one[at] == other[at]) ++at;
  if (at == one.size() && at == other.size()) return {};
  const std::size_t line = at == 0 ? 0 : one.rfind('\n', at - 1) + 1;
  return one.substr(line, one.find('\n', at) - line) + "\n" +
         other.substr(line, other.find('\n', at) - line) + "\n";
}
