// chronex-trail page as its users run it. What the page looks like in a browser
// is checked by scripts/check-page.

#include <gtest/gtest.h>
#include <nettle/base64.h>
#include <nettle/sha2.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <unistd.h>

#include <limits>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/page_reader.h"

namespace {

using arguments = std::vector<std::string>;

// Five changes by BOB, of records with an item A; the second is changed and
// changed back.
log_builder sample() {
  log_builder log({.generation = 7});
  log.database(1, "shop").data_set(2, 1, "orders", {{"A", 'I', 1, 4}});
  log.sign_on(5, {"user{BOB}"});
  log.put(5, 2, 1, u32_bytes(1)).put(5, 2, 2, u32_bytes(2));
  log.update(5, 2, 2, u32_bytes(2), u32_bytes(7));
  log.update(5, 2, 2, u32_bytes(7), u32_bytes(2));
  log.remove(5, 2, 1, u32_bytes(1));
  return log;
}

std::string text_of(const rapidjson::Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return buffer.GetString();
}

std::string page_of(const test_directory& directory, arguments options = {}) {
  arguments words{"page", "-o", "page.html", "log"};
  words.insert(words.end(), options.begin(), options.end());
  const program_result result = directory.run_trail(words);
  EXPECT_EQ(result.status, 0) << result.err;
  return directory.read_raw("page.html");
}

TEST(PageProgram, TellsOfMistakes) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const struct {
    arguments words;
    int status;
    std::string said;
  } cases[] = {
      {{"page", "--help"}, 0, "usage: chronex-trail page"},
      {{"page", "log"}, 2, "No page specified: -o PAGE\n"},
      {{"page", "log", "-o", "p", "--rows", "ten"}, 2, "--rows takes a number"},
      {{"page", "log", "-o", "p", "--rows", "1000001"}, 2, "--rows takes"},
      {{"page", "log", "-o", "p", "--keep", "some"}, 2, "evenly or latest\n"},
      {{"page", "log", "-o", "p", "--office-hours", "18-8"}, 2, "two hours"},
      {{"page", "log", "-o", "p", "--office-hours", "8-25"}, 2, "two hours"},
      {{"page", "log", "-o", "p", "--office-days", "0-5"}, 2, "two days"},
      {{"page", "log", "-o", "log"}, 1, "log"},
      {{"page", "log", "-o", "/dev/full"}, 1, "/dev/full"},
  };
  for (const auto& test : cases) {
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, test.status) << result.err;
    EXPECT_NE((result.out + result.err).find(test.said), std::string::npos)
        << result.err;
  }
  EXPECT_NE(access(directory.path("p").c_str(), F_OK), 0);
  EXPECT_EQ(directory.read_raw("log"), sample().end().bytes());
}

TEST(PageProgram, GetsItsNameOnlyWhenItIsComplete) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  directory.run({"-o", "audit", "log"});
  const std::string audit = directory.read_raw("audit");
  directory.write("cut", audit.substr(0, audit.size() - 3));
  directory.write("page.html", "old");
  EXPECT_EQ(directory.run_trail({"page", "cut", "-o", "page.html"}).status, 1);
  EXPECT_EQ(directory.read_raw("page.html"), "old");
  // What there is of it says that it is not complete.
  const auto summary =
      page_json(directory.read_raw("page.html.partial"), "summary");
  EXPECT_FALSE(summary["figures"]["completeness"]["complete"].GetBool());
  EXPECT_EQ(summary["figures"]["completeness"]["status"].GetInt(), 1);
}

std::string source_of(const std::string& text) {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest;
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, text.size(),
                reinterpret_cast<const std::uint8_t*>(text.data()));
  sha256_digest(&context, digest.size(), digest.data());
  std::string source(BASE64_ENCODE_RAW_LENGTH(digest.size()), '\0');
  base64_encode_raw(source.data(), digest.size(), digest.data());
  return "'sha256-" + source + "'";
}

TEST(PageProgram, RunsWhatItsPolicyListsAndNothingElse) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const std::string page = page_of(directory);
  const std::string policy =
      all_between(page, "Content-Security-Policy\" content=\"", "\"").at(0);
  const auto scripts = all_between(page, "<script>", "</script>");
  const auto styles = all_between(page, "<style>", "</style>");
  ASSERT_EQ(scripts.size(), 2U);
  ASSERT_EQ(styles.size(), 1U);
  EXPECT_EQ(policy, "default-src 'none'; script-src " + source_of(scripts[0]) +
                        " " + source_of(scripts[1]) + "; style-src " +
                        source_of(styles[0]) +
                        "; base-uri 'none'; form-action 'none'");
  EXPECT_NE(scripts[0].find("Permission is hereby granted"), std::string::npos);
  for (const char* const wrong :
       {"innerHTML", "insertAdjacentHTML", "document.write", "eval("}) {
    EXPECT_EQ(scripts[1].find(wrong), std::string::npos) << wrong;
  }
}

TEST(PageProgram, HasNoTextOfTheTrailAsMarkup) {
  const test_directory directory;
  const std::string hostile = "</script><b>HOSTILE\"'\x01";
  log_builder log({.generation = 7});
  log.database(1, hostile).data_set(2, 1, hostile, {{hostile, 'X', 1, 40}});
  log.sign_on(5, {"user{" + hostile + "}" + hostile + "{" + hostile + "}"});
  log.memo(5, 'b', hostile).put(5, 2, 1, text_bytes(hostile, 40));
  directory.write("log", log.end().bytes());
  const std::string page = page_of(directory, {"-e", "NOT A = '<b>HOSTILE'"});
  EXPECT_EQ(page.find("HOSTILE"), std::string::npos);
  const auto summary = page_json(page, "summary");
  EXPECT_EQ(summary["users"][0].GetString(), hostile);
  EXPECT_EQ(summary["options"][0], "NOT A = '<b>HOSTILE'");
  EXPECT_EQ(page_values(page)[0][0][0].GetString(), hostile);
}

TEST(PageProgram, ListsAsManyChangesAsAskedAndCountsAll) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const struct {
    arguments options;
    std::string recnos;
    std::string ops;
  } cases[] = {
      {{}, "[1,2,2,2,1]", "ccuud"},
      {{"--rows", "5"}, "[1,2,2,2,1]", "ccuud"},
      {{"--rows", "2", "--keep", "latest"}, "[2,1]", "ud"},
      {{"--rows", "2"}, "[1,2]", "cu"},
      {{"--rows", "1", "--keep", "evenly"}, "[1]", "c"},
      {{"--rows", "0"}, "", ""},
  };
  for (const auto& test : cases) {
    const std::string page = page_of(directory, test.options);
    const auto summary = page_json(page, "summary");
    EXPECT_EQ(summary["rows"].GetUint(), test.ops.size());
    EXPECT_EQ(summary["left_out"].GetUint(), 5 - test.ops.size());
    EXPECT_EQ(summary["figures"]["changes"]["updates"].GetInt(), 2);
    EXPECT_EQ(text_of(summary["cube"]["mixes"]),
              R"([["c",0,0,0],["u",0,0,0],["d",0,0,0]])");
    EXPECT_EQ(page_values(page).size(), test.ops.size());
    if (test.ops.empty()) continue;
    const auto columns = page_json(page, "columns");
    EXPECT_EQ(columns["op"].GetString(), test.ops);
    EXPECT_EQ(text_of(columns["recno"]), test.recnos);
  }
}

TEST(PageProgram, FindsWhatWasChangedBack) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const auto summary = page_json(page_of(directory), "summary");
  const auto& back = summary["taken_back"];
  EXPECT_EQ(back["count"].GetInt(), 1);
  const auto& found = back["list"][0];
  EXPECT_EQ(found[1].GetInt(), 2);
  EXPECT_STREQ(found[2].GetString(), "A");
  EXPECT_LT(found[3].GetInt(), found[4].GetInt());
  EXPECT_EQ(found[6].GetInt(), 2);
  EXPECT_EQ(found[7].GetInt(), 7);
}

TEST(PageProgram, ShowsBeforeAndAfterAndWhatDiffers) {
  const test_directory directory;
  log_builder log({.generation = 7});
  log.database(1, "shop").data_set(2, 1, "orders",
                                   {{"T", 'X', 1, 500},
                                    {"N", 'K', 70, 1},
                                    {"E", 'E', 1, 8},
                                    {"P", 'P', 1, 2}});
  const std::string many(70, '\x01');
  const auto record = [&](const std::string& text, double number) {
    return text_bytes(text, 500) + many + double_bytes(number) + "\xAA\xAA";
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  log.sign_on(5, {"user{BOB}"}).memo(5, 'b', "why");
  log.update(5, 2, 1, record("a", 0.5), record("b", 0.5));
  log.operation({.session = 5,
                 .node = 2,
                 .recno = 1,
                 .op = 1,
                 .image = record(std::string(450, 'x'), nan)});
  directory.write("log", log.end().bytes());
  const auto rows = page_values(page_of(directory));
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(text_of(rows[0][1]), "[0]");
  EXPECT_EQ(text_of(rows[0][2]), R"(["a"])");
  EXPECT_EQ(text_of(rows[0][3]), R"("why")");
  EXPECT_EQ(rows[0][0][1].Size(), 65U);
  EXPECT_EQ(text_of(rows[0][0][1][64]), R"({"more":6})");
  EXPECT_EQ(text_of(rows[0][0][3]), R"({"why":"bad_digits","raw":"aaaa"})");
  // Without a before-image nothing differs, and nothing was before.
  EXPECT_EQ(text_of(rows[1][1]) + text_of(rows[1][2]), "00");
  EXPECT_EQ(rows[1][0][0]["size"].GetInt(), 450);
  EXPECT_EQ(rows[1][0][0]["cut"].GetStringLength(), 400U);
  EXPECT_STREQ(rows[1][0][2]["why"].GetString(), "nan");
}

TEST(PageProgram, TellsTheTimesOfItsZone) {
  const test_directory directory;
  log_builder log({.generation = 7});
  log.database(1, "shop").data_set(2, 1, "orders", {{"A", 'I', 1, 4}});
  // 2026-10-25 00:30 and 01:30 UTC: clocks in Berlin are put back in between.
  log.time(1792888200).pace(3600).sign_on(5, {"user{BOB}"});
  log.put(5, 2, 1, u32_bytes(1)).put(5, 2, 2, u32_bytes(2));
  directory.write("log", log.end().bytes());
  const struct {
    const char* zone;
    const char* hours;
    const char* offset;
  } cases[] = {
      {"Europe/Berlin", "[[1792890000,0,1],[1792893600,0,1]]",
       "[1792890000,3600]"},
      {"Asia/Kolkata", "[[1792891800,0,1],[1792895400,0,1]]", "19800]"},
      {"UTC", "[[1792890000,0,1],[1792893600,0,1]]", ",0]"},
  };
  for (const auto& test : cases) {
    const auto summary =
        page_json(page_of(directory, {"--time-zone", test.zone}), "summary");
    EXPECT_STREQ(summary["zone"]["name"].GetString(), test.zone);
    EXPECT_EQ(text_of(summary["cube"]["steps"]), test.hours);
    const std::string offsets = text_of(summary["zone"]["offsets"]);
    EXPECT_NE(offsets.find(test.offset), std::string::npos) << offsets;
  }
}

}  // namespace
