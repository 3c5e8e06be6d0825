#include "tests/trail/event_reader.h"

#include <gtest/gtest.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>

#include <fstream>
#include <sstream>

namespace {

constexpr unsigned STRICT =
    rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag;

const rapidjson::SchemaDocument& event_schema() {
  static const rapidjson::SchemaDocument schema = [] {
    std::stringstream text;
    text << std::ifstream(EVENT_SCHEMA).rdbuf();
    rapidjson::Document document;
    document.Parse(text.str().c_str());
    EXPECT_FALSE(document.HasParseError()) << EVENT_SCHEMA;
    return rapidjson::SchemaDocument(document);
  }();
  return schema;
}

void read_line(std::string_view line, rapidjson::Document& event) {
  event.Parse<STRICT>(line.data(), line.size());
  ASSERT_FALSE(event.HasParseError()) << line;
  rapidjson::SchemaValidator validator(event_schema());
  if (event.Accept(validator)) return;
  rapidjson::StringBuffer place;
  validator.GetInvalidDocumentPointer().StringifyUriFragment(place);
  FAIL() << "against the schema at " << place.GetString() << ": " << line;
}

}  // namespace

std::vector<rapidjson::Document> read_events(std::string_view lines) {
  std::vector<rapidjson::Document> events;
  while (!lines.empty()) {
    const std::size_t end = lines.find('\n');
    EXPECT_NE(end, lines.npos) << "a line without end: " << lines;
    read_line(lines.substr(0, end), events.emplace_back());
    lines.remove_prefix(end == lines.npos ? lines.size() : end + 1);
  }
  return events;
}
