#ifndef CHRONEX_TESTS_TRAIL_SQL_FIXTURE_H
#define CHRONEX_TESTS_TRAIL_SQL_FIXTURE_H

#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/identifiers.h"

// The rows of an answer; values have a blank between them, a NULL is "NULL",
// and a BLOB is x'...'.
std::vector<std::string> answer_of(const std::string& database,
                                   std::string_view query);

// All rows of a trail's database but those that tell of runs, and its indexes.
std::string rows_of(const std::string& database);

#endif  // CHRONEX_TESTS_TRAIL_SQL_FIXTURE_H
