// The lines of events, each from its first to its last character.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/hex.h"
#include "tests/trail/event_fixture.h"
#include "tests/trail/event_reader.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex/trail/trail.h"
#include "util/chronex_trail/json/json_output.h"

namespace {

constexpr int ROMAN8 = 0;
constexpr int LATIN1 = 1;
// 2026-03-02 15:02:30 UTC.
constexpr std::uint32_t TIME = 1772463750;

constexpr std::string_view LOG_ACTION =
    R"("source":{"file":"shop.7-2","generation":7,"sequence":2,"action":8})";
constexpr std::string_view BOB =
    R"("session":{"id":4,"user":"BOB","program":"limits","host":"",)"
    R"("conntime":"2026-03-02T15:00:00Z"})";

class JsonEvents : public testing::Test {
 protected:
  JsonEvents() { fill_input(log_, "shop.7-2", FWLOG_FILE, LATIN1); }

  // All lines so far.
  std::string lines() {
    EXPECT_EQ(output_.end(0), 0);
    read_events(sink_.text);
    return sink_.text.substr(0, sink_.text.rfind("{\"v\":1,\"type\":\"end\""));
  }

  event_place place(std::uint32_t number) { return {&log_, number}; }

  session_entry& bob() {
    return tables_.make_session(
        4, {"user{BOB}program{limits}host{}", "text{not one",
            "USER{x}conntime{9}conn{a\\}b}"});
  }

  int change(const image_operation& operation) {
    return output_.operation(operation, place(8));
  }

  string_sink sink_;
  test_tables tables_;
  json_output output_{tables_.messages, sink_, nullptr};
  input_file log_{tables_.messages};
};

std::string line(std::string_view type, int n, std::string_view rest) {
  return R"({"v":1,"type":")" + std::string(type) + R"(","n":)" +
         std::to_string(n) + "," + std::string(rest) + "}\n";
}

void set_memo(session_entry& session, std::string_view text, std::uint32_t mode,
              const event_place& place) {
  const std::vector<std::uint8_t> bytes = bytes_of(std::string(text) + '\0');
  owned_bytes copy;
  ASSERT_TRUE(copy.copy_from(bytes));
  const auto size = static_cast<std::int32_t>(text.size());
  if (mode == MEMO_DBMEMO) {
    session_set_dbmemo(session, std::move(copy), size, TIME, place);
  } else {
    session_set_dbbegin_end(session, std::move(copy), size, mode, TIME, place);
  }
}

TEST_F(JsonEvents, OfFiles) {
  log_.audit_only = true;
  output_.file_begins(log_);
  input_file audit(tables_.messages);
  fill_input(audit, "caf\xE9.aud", AUDIT_FILE, ROMAN8);
  output_.file_begins(audit);
  input_file standard_input(tables_.messages);
  fill_input(standard_input, "stdin", AUDIT_FILE, 7);
  standard_input.is_standard_input = true;
  output_.file_begins(standard_input);
  output_.comment("new\nline \xDE", {&audit, 3});
  EXPECT_EQ(
      lines(),
      line("file", 1,
           R"("source":{"file":"shop.7-2","generation":7,"sequence":2},)"
           R"("format":"audit-only","version":"1.05",)"
           R"("character_set":"iso-8859-1","volume_set":74565,"release":1,)"
           R"("generation":7,"sequence":2)") +
          line("file", 1,
               "\"source\":{\"file\":\"caf\xEF\xBF\xBD.aud\"},"
               R"("format":"audit","version":"1.00",)"
               R"("character_set":"hp-roman8")") +
          line("file", 1,
               R"("source":{"file":"-"},"format":"audit","version":"1.00",)"
               R"("character_set":"unknown")") +
          line("comment", 2,
               "\"source\":{\"file\":\"caf\xEF\xBF\xBD.aud\",\"record\":3},"
               "\"text\":\"new\\nline \xC3\x9F\""));
}

TEST_F(JsonEvents, OfSessions) {
  session_entry& session = bob();
  session.conntime = 1772463600;
  output_.sign_on(session, sign_on_caller::memo, place(8));
  output_.memo({.session = session,
                .text = bytes_of("limit \"review\""),
                .mode = MEMO_DBBEGIN,
                .timestamp = TIME,
                .place = place(8)});
  output_.memo({.session = session,
                .text = bytes_of("x"),
                .mode = 0xFFFFFFFF,
                .stored = false,
                .timestamp = 0,
                .place = place(8)});
  output_.memo({.session = session, .mode = MEMO_DBEND, .place = place(8)});
  output_.sign_off(session, place(8));
  const std::string source(LOG_ACTION);
  const std::string who = "," + std::string(BOB);
  EXPECT_EQ(lines(),
            line("sign_on", 1,
                 source + who.substr(0, who.size() - 1) +
                     R"(,"attributes":[["user","BOB"],["program","limits"],)"
                     R"(["host",""],["USER","x"],["conntime","9"],)"
                     R"(["conn","a}b"]]})") +
                line("memo", 2,
                     R"("ts":"2026-03-02T15:02:30Z","ts_ms":1772463750000,)" +
                         source + who +
                         R"(,"mode":"DBBEGIN","text":"limit \"review\"")") +
                line("memo", 3,
                     R"("ts":"1970-01-01T00:00:00Z","ts_ms":0,)" + source +
                         who + R"(,"mode":-1,"text":"x")") +
                line("sign_off", 4, source + who));
}

TEST_F(JsonEvents, OfSchemas) {
  tables_.charset = ROMAN8;
  node_entry& node = tables_.make_data_set(2, "customer",
                                           {{"A", 'X', 1, 4, 0},
                                            {"A", 'P', 3, 2, 0x100000},
                                            {"A_2", 'Z', 1, 1, 1},
                                            {"A", '\xE9', 1, 1, 0},
                                            {"A\xFF", 'X', 1, 1, 0}});
  output_.schema(node, place(8));
  EXPECT_EQ(
      lines(),
      line("schema", 1,
           std::string(LOG_ACTION) +
               R"(,"database":"SHOP","dataset":"CUSTOMER","node":2,)"
               R"("record_size":13,"items":[)"
               R"({"name":"A","type":"X","count":1,"size":4,"format":0},)"
               R"({"name":"A_3","type":"P","count":3,"size":2,)"
               R"("format":1048576},)"
               R"({"name":"A_2","type":"Z","count":1,"size":1,"format":1},)"
               "{\"name\":\"A_4\",\"type\":\"\xC3\x95\",\"count\":1,"
               R"("size":1,"format":0},)"
               "{\"name\":\"A\xEF\xBF\xBD\",\"type\":\"X\",\"count\":1,"
               R"("size":1,"format":0}],)"
               "\"notes\":[{\"field\":\"items.A\xEF\xBF\xBD\","
               R"("why":"undecodable","raw":"41ff"}])"));
}

TEST_F(JsonEvents, OfChanges) {
  session_entry& session = bob();
  session.conntime = 1772463600;
  node_entry& node = tables_.make_data_set(
      2, "CUSTOMER", {{"CUSTNO", 'I', 1, 4, 0}, {"LIMIT", 'P', 1, 3, 0}});
  const auto before = from_hex("e9030000 05000c");
  const auto after = from_hex("e9030000 12000c");
  change({.session = session,
          .node = node,
          .before = before,
          .after = after,
          .timestamp = TIME,
          .op = OP_UPDATE,
          .recno = 1});
  set_memo(session, "limit review", MEMO_DBBEGIN, place(3));
  set_memo(session, "more\xE9", MEMO_DBMEMO, place(4));
  change({.session = session,
          .node = node,
          .after = after,
          .timestamp = TIME,
          .op = OP_PUT,
          .recno = 4294967295});
  const std::string head =
      R"("ts":"2026-03-02T15:02:30Z","ts_ms":1772463750000,)" +
      std::string(LOG_ACTION) +
      R"(,"database":"SHOP","dataset":"CUSTOMER","node":2,)";
  EXPECT_EQ(lines(),
            line("change", 1,
                 R"("op":"u",)" + head + R"("recno":1,)" + std::string(BOB) +
                     R"(,"before":{"CUSTNO":1001,"LIMIT":"5000"},)"
                     R"("after":{"CUSTNO":1001,"LIMIT":"12000"},)"
                     R"("changed":["LIMIT"])") +
                line("change", 2,
                     R"("op":"c",)" + head + R"("recno":4294967295,)" +
                         std::string(BOB) +
                         R"(,"memo":{"begin":"limit review","text":"more)"
                         "\xC3\xA9\"},"
                         R"("before":null,)"
                         R"("after":{"CUSTNO":1001,"LIMIT":"12000"})"));
}

// What a change says of its images, from "before" on.
struct image_case {
  std::string why;
  int op = OP_UPDATE;
  std::string before, after;
  bool before_sealed = false, after_sealed = false;
  int file_type = FWLOG_FILE;
  std::string expected;
};

const image_case IMAGE_CASES[] = {
    {.why = "an update without before-image",
     .after = "41 01 310f",
     .expected = R"("before":null,"after":{"A":"A","S":1,"P":[null,"0"]},)"
                 R"("notes":[{"image":"before","why":"no_before_image"},)"
                 R"({"image":"after","item":"P","element":1,)"
                 R"("why":"bad_digits","raw":"31"}])"},
    {.why = "a deletion with nothing",
     .op = OP_DELETE,
     .expected = R"("before":null,"after":null,)"
                 R"("notes":[{"image":"before","why":"no_before_image"}])"},
    {.why = "a put with both images has no changed",
     .op = OP_PUT,
     .before = "41 01 0c0c",
     .after = "42 01 0c0c",
     .expected = R"("before":{"A":"A","S":1,"P":["0","0"]},)"
                 R"("after":{"A":"B","S":1,"P":["0","0"]})"},
    {.why = "bad values that stay are noted in both images",
     .before = "41 01 31 0c",
     .after = "41 01 31 0c",
     .expected = R"("before":{"A":"A","S":1,"P":[null,"0"]},)"
                 R"("after":{"A":"A","S":1,"P":[null,"0"]},"changed":[],)"
                 R"("notes":[{"image":"before","item":"P","element":1,)"
                 R"("why":"bad_digits","raw":"31"},)"
                 R"({"image":"after","item":"P","element":1,)"
                 R"("why":"bad_digits","raw":"31"}])"},
    {.why = "one image lacks its key",
     .before = "41 00 0f0f",
     .after = "42 05 1c0d",
     .before_sealed = true,
     .expected = R"("before":{"A":"A","S":null,"P":null},)"
                 R"("after":{"A":"B","S":5,"P":["1","0"]},"changed":["A"],)"
                 R"("notes":[)"
                 R"({"image":"before","item":"S","why":"encrypted"},)"
                 R"({"image":"before","item":"P","why":"encrypted"}])"},
    {.why = "both images lack their keys",
     .before = "41 00 0f0f",
     .after = "41 00 0f0f",
     .before_sealed = true,
     .after_sealed = true,
     .expected = R"("before":{"A":"A","S":null,"P":null},)"
                 R"("after":{"A":"A","S":null,"P":null},"changed":[],)"
                 R"("notes":[)"
                 R"({"image":"before","item":"S","why":"encrypted"},)"
                 R"({"image":"before","item":"P","why":"encrypted"},)"
                 R"({"image":"after","item":"S","why":"encrypted"},)"
                 R"({"image":"after","item":"P","why":"encrypted"}])"},
    {.why = "an audit file does not say whether keys were lacking",
     .before = "20 00 0f0f",
     .after = "20 01 0f0c",
     .file_type = AUDIT_FILE,
     .expected = R"("before":{"A":"","S":0,"P":["0","0"]},)"
                 R"("after":{"A":"","S":1,"P":["0","0"]},"changed":["S","P"],)"
                 R"("notes":[)"
                 R"({"image":"before","item":"S","why":"maybe_encrypted"},)"
                 R"({"image":"before","item":"P","why":"maybe_encrypted"}])"},
};

TEST_F(JsonEvents, TellWhatImagesLack) {
  session_entry& session = bob();
  node_entry& node =
      tables_.make_data_set(2, "SEALED",
                            {{"A", 'X', 1, 1, 0},
                             {"S", 'I', 1, 1, ITEM_FMT_ENCRYPTED},
                             {"P", 'P', 2, 1, ITEM_FMT_ENCRYPTED}});
  for (const image_case& test : IMAGE_CASES) {
    const auto before = from_hex(test.before);
    const auto after = from_hex(test.after);
    log_.type = test.file_type;
    sink_.text.clear();
    change({.session = session,
            .node = node,
            .before = before,
            .after = after,
            .before_sealed = test.before_sealed,
            .after_sealed = test.after_sealed,
            .op = test.op});
    const std::string text = lines();
    EXPECT_EQ(text.substr(text.find("\"before\"")), test.expected + "}\n")
        << test.why;
  }
}

TEST_F(JsonEvents, TakeAuditFileNamesApartAtTheLastDot) {
  session_entry& session = bob();
  log_.type = AUDIT_FILE;
  const std::pair<std::string, std::string> cases[] = {
      {"A.B.C", R"("database":"A.B","dataset":"C",)"},
      {"PLAIN", R"("database":null,"dataset":"PLAIN",)"},
      {"X.\xFF", "\"database\":\"X\",\"dataset\":\"\xEF\xBF\xBD\","},
  };
  tables_.charset = ROMAN8;
  for (const auto& [name, expected] : cases) {
    node_entry& node = tables_.make_data_set(2, name, {{"A", 'X', 1, 1, 0}});
    sink_.text.clear();
    change({.session = session, .node = node, .op = OP_DELETE});
    EXPECT_NE(lines().find(expected), std::string::npos) << lines();
  }
  EXPECT_NE(
      lines().find(R"({"field":"dataset","why":"undecodable","raw":"ff"})"),
      std::string::npos);
}

TEST_F(JsonEvents, OfNotices) {
  struct {
    notice_kind kind;
    std::string type, expected;
  } const cases[] = {
      {notice_kind::missing_generations, "gap",
       R"("kind":"generation","file":"shop.7-2","found":9,"expected":7,)"
       R"("missing":2)"},
      {notice_kind::missing_files, "gap",
       R"("kind":"sequence","file":"shop.7-2","found":9,"expected":7,)"
       R"("missing":2)"},
      {notice_kind::missing_actions, "gap",
       R"("kind":"action","file":"shop.7-2","found":9,"expected":7,)"
       R"("missing":2)"},
      {notice_kind::repeated_generation, "repeat",
       R"("kind":"generation","file":"shop.7-2","found":9,"expected":7)"},
      {notice_kind::repeated_actions, "repeat",
       R"("kind":"action","file":"shop.7-2","found":9,"expected":7)"},
      {notice_kind::unexpected_end, "damage",
       std::string(LOG_ACTION) + ",\"text\":\"caf\xEF\xBF\xBD\""},
      {notice_kind::role_change, "warning",
       R"("code":"role_change",)" + std::string(LOG_ACTION) +
           ",\"text\":\"caf\xEF\xBF\xBD\""},
      {notice_kind::filter_failed, "warning",
       R"("code":"filter_failed",)" + std::string(LOG_ACTION) +
           ",\"text\":\"caf\xEF\xBF\xBD\""},
  };
  std::string expected;
  int n = 0;
  for (const auto& test : cases) {
    output_.notice({.kind = test.kind,
                    .place = place(8),
                    .found = 9,
                    .expected = 7,
                    .missing = 2,
                    .problem = "caf\xE9"});
    expected += line(test.type, ++n, test.expected);
  }
  EXPECT_EQ(output_.end(1), 0);
  read_events(sink_.text);
  EXPECT_EQ(sink_.text, expected +
                            R"({"v":1,"type":"end","changes":0,"gaps":3,)"
                            R"("warnings":3,"status":1})"
                            "\n");
}

// The byte 0xCC is one character in the log and another in the audit file.
TEST_F(JsonEvents, DecodeTextsAsTheirFileHasThem) {
  log_.charset = ROMAN8;
  input_file audit(tables_.messages);
  fill_input(audit, "shop.aud", AUDIT_FILE, LATIN1);
  session_entry& model = tables_.make_session(4, {"user{J\xCCRG}"});
  node_entry& set =
      tables_.make_data_set(2, "B\xCCR.T\xCC", {{"I\xCC", 'X', 1, 1, 0}});
  run_filter no_filter(tables_.messages);
  trail events(tables_.messages, no_filter);
  const auto read_in = [&](const input_file& file) {
    std::string problem;
    owned_bytes data;
    ASSERT_TRUE(data.copy_from(model.sign_on.bytes()));
    events.place = {.file = &file};
    events.session_add_entry(4, std::move(data));
    events.node_add_entry(2, NODE_DATA_SET, set.name, 0,
                          node_create_set_context(set.set->list_bytes(),
                                                  problem, tables_.messages));
  };
  const auto value = from_hex("cc");
  const auto shown_in = [&](const input_file& file) {
    sink_.text.clear();
    output_.operation({.session = *events.sessions.session_get_entry(4),
                       .node = *events.nodes.node_get_entry(2),
                       .after = value,
                       .op = OP_PUT},
                      {&file, 1});
    return lines();
  };
  const std::string roman = "\xC3\xA4";
  const std::string latin = "\xC3\x8C";
  read_in(log_);
  for (const auto& [file, value_text] :
       {std::pair(&log_, roman), std::pair(&audit, latin)}) {
    const std::string change = shown_in(*file);
    EXPECT_NE(change.find("\"user\":\"J" + roman + "RG\""), change.npos);
    EXPECT_NE(change.find("T" + roman + "\",\"node\""), change.npos) << change;
    EXPECT_NE(change.find("{\"I" + roman + "\":\"" + value_text + "\"}"),
              change.npos)
        << change;
  }
  // The same bytes, read again.
  read_in(audit);
  const std::string change = shown_in(audit);
  EXPECT_NE(change.find("\"user\":\"J" + latin + "RG\""), change.npos);
  EXPECT_NE(change.find("\"dataset\":\"T" + latin + "\""), change.npos);
  EXPECT_NE(change.find("{\"I" + latin + "\":\"" + latin + "\"}"), change.npos)
      << change;
}

}  // namespace
