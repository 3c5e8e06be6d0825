#ifndef CHRONEX_TESTS_TRAIL_PAGE_READER_H
#define CHRONEX_TESTS_TRAIL_PAGE_READER_H

// Takes pages apart as their script does.

#include <rapidjson/document.h>

#include <string>
#include <string_view>
#include <vector>

// The texts of all data blocks of a kind.
std::vector<std::string> page_blocks(std::string_view page,
                                     std::string_view kind);

// The first block of a kind as JSON.
rapidjson::Document page_json(std::string_view page, std::string_view kind);

// The lines of all blocks of values, each as JSON.
std::vector<rapidjson::Document> page_values(std::string_view page);

// What stands between two texts, as often as they come.
std::vector<std::string> all_between(std::string_view text,
                                     std::string_view begin,
                                     std::string_view end);

#endif  // CHRONEX_TESTS_TRAIL_PAGE_READER_H
