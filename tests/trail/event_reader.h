#ifndef CHRONEX_TESTS_TRAIL_EVENT_READER_H
#define CHRONEX_TESTS_TRAIL_EVENT_READER_H

// Reads JSON Lines with a parser of another house, and holds each line against
// the schema of events.

#include <rapidjson/document.h>

#include <string>
#include <string_view>
#include <vector>

// The events of a text; failures of the test for lines that are no JSON, or
// that the schema does not know.
std::vector<rapidjson::Document> read_events(std::string_view lines);

#endif  // CHRONEX_TESTS_TRAIL_EVENT_READER_H
