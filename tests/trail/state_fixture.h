#ifndef CHRONEX_TESTS_TRAIL_STATE_FIXTURE_H
#define CHRONEX_TESTS_TRAIL_STATE_FIXTURE_H

// What tests of trails that go on, or are made in pieces, have in common.

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/random_logs.h"

using arguments = std::vector<std::string>;

// Which random cases are tried: scripts/check-states asks for many.
std::uint64_t first_case();
std::uint64_t end_of_cases();

arguments with(arguments words, const arguments& more);
arguments names_of(const std::vector<random_log>& logs);
arguments random_filter(random_source& random);

// The first line that differs, of either text; empty = none does.
std::string first_difference(const std::string& one, const std::string& other);

#endif  // CHRONEX_TESTS_TRAIL_STATE_FIXTURE_H
