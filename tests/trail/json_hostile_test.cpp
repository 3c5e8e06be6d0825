// Texts and records that were made to break a line, or a buffer.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/trail/event_fixture.h"
#include "tests/trail/event_reader.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/values/utf8_text.h"

namespace {

std::string all_bytes() {
  std::string text;
  for (int byte = 0; byte < 256; ++byte) text += static_cast<char>(byte);
  return text;
}

std::string without(std::string text, std::string_view bytes) {
  std::erase_if(text, [bytes](char c) { return bytes.find(c) != bytes.npos; });
  return text;
}

std::string utf8(std::string_view text, int charset) {
  text_scratch scratch;
  return std::string(
      decode_text(text, character_table_of(charset), scratch).utf8);
}

std::string string_of(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

TEST(HostileTexts, ComeOutAsTheyWentIn) {
  for (const int charset : {0, 1, 9}) {
    test_tables tables;
    tables.charset = charset;
    const std::string every = all_bytes();
    // Braces and backslashes have a meaning in sign-on data, a zero byte ends
    // the name of a data set, and letters of it become upper case.
    const std::string key = without(every, "{");
    const std::string value = without(every, "}\\");
    const std::string name =
        without(every, {"\0abcdefghijklmnopqrstuvwxyz", 27});
    session_entry& session =
        tables.make_session(5, {key + "{" + value + "}user{" + value + "}"});
    node_entry& node = tables.make_data_set(
        3, name,
        {{every.substr(1), 'X', 1, 255, 0}, {every.substr(0, 255), 'X', 1, 1}});
    input_file file(tables.messages);
    fill_input(file, every, FWLOG_FILE, static_cast<std::uint16_t>(charset));
    string_sink sink;
    json_output output(tables.messages, sink, nullptr);
    output.file_begins(file);
    output.sign_on(session, sign_on_caller::memo, {&file, 1});
    const std::vector<std::uint8_t> bytes = bytes_of(every);
    output.memo({.session = session,
                 .text = bytes,
                 .mode = MEMO_DBMEMO,
                 .place = {&file, 1}});
    output.operation({.session = session,
                      .node = node,
                      .after = {bytes.data(), 256},
                      .op = OP_PUT},
                     {&file, 2});
    output.end(0);

    const auto events = read_events(sink.text);
    ASSERT_EQ(events.size(), 5U);
    EXPECT_EQ(string_of(events[0]["source"]["file"]), well_formed_utf8(every));
    const auto& pair = events[1]["session"]["attributes"][0];
    EXPECT_EQ(string_of(pair[0]), utf8(key, charset));
    EXPECT_EQ(string_of(pair[1]), utf8(value, charset));
    EXPECT_EQ(string_of(events[2]["text"]), utf8(every, charset));
    const auto& change = events[3];
    EXPECT_EQ(string_of(change["session"]["user"]), utf8(value, charset));
    EXPECT_EQ(string_of(change["dataset"]), utf8(name, charset));
    const auto& first_item = *change["after"].MemberBegin();
    EXPECT_EQ(string_of(first_item.name), utf8(every.substr(1), charset));
    EXPECT_EQ(string_of(first_item.value), utf8(every.substr(0, 255), charset));
  }
}

// Records as large as they may be, of what takes most room as text.
TEST(HostileRecords, AreWholeHoweverLargeTheirTexts) {
  struct {
    test_item item;
    std::uint8_t fill;
    std::size_t text_size;
  } const cases[] = {
      {{"T", 'X', 1, 32767, 0}, 0x01, 32767},
      {{"T", 'X', 1, 32767, 0}, 0xFF, 3 * 32767},
      {{"T", 'B', 1, 32767, 0}, 0xFF, 2 * 32767},
      {{"T", 'I', 1, 32767, 0}, 0xFF, 2 * 32767 + 1},
      {{"T", 'Z', 1, 32767, 0}, 'R', 0},
      {{"T", 'P', 32767, 1, 0}, 0x9D, 0},
  };
  test_tables tables;
  session_entry& session = tables.make_session(6, {"user{A}"});
  input_file file(tables.messages);
  fill_input(file, "big", FWLOG_FILE, 0);
  for (const auto& test : cases) {
    node_entry& node = tables.make_data_set(4, "BIG", {test.item});
    const std::vector<std::uint8_t> before(32767, test.fill);
    std::vector<std::uint8_t> after = before;
    after[0] ^= 1;
    string_sink sink;
    json_output output(tables.messages, sink, nullptr);
    for (std::uint32_t i = 1; i <= 3; ++i) {
      output.operation({.session = session,
                        .node = node,
                        .before = before,
                        .after = after,
                        .op = OP_UPDATE},
                       {&file, i});
    }
    output.end(0);
    const auto events = read_events(sink.text);
    ASSERT_EQ(events.size(), 4U);
    for (int i = 0; i < 3; ++i) {
      const auto& value = events[static_cast<std::size_t>(i)]["before"]["T"];
      EXPECT_EQ(value.IsString() ? value.GetStringLength() : 0, test.text_size);
      EXPECT_EQ(events[static_cast<std::size_t>(i)]["changed"].Size(), 1U);
    }
  }
}

// Takes a number of bytes and then no more.
class full_sink : public byte_sink {
 public:
  explicit full_sink(std::size_t room) : room_(room) {}
  int write(std::string_view bytes) override {
    if (bytes.size() > room_) return -1;
    room_ -= bytes.size();
    text += bytes;
    return 0;
  }
  std::string text;

 private:
  std::size_t room_;
};

TEST(FullSink, IsToldAndGetsNothingMore) {
  test_tables tables;
  input_file file(tables.messages);
  fill_input(file, "log", FWLOG_FILE, 0);
  session_entry& session = tables.make_session(7, {"user{A}"});
  full_sink sink(100000);
  json_output output(tables.messages, sink, nullptr);
  int failures = 0;
  for (std::uint32_t i = 1; i < 5000; ++i) {
    if (output.sign_off(session, {&file, i}) != 0) ++failures;
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(output.end(1), -1);
  EXPECT_EQ(sink.text.find("\"end\""), std::string::npos);
}

}  // namespace
