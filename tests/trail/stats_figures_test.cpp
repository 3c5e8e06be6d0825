// What stands behind the figures: the watch over records, what is unreadable,
// and tables in windows of all widths.

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "tests/trail/event_fixture.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex_trail/stats/record_sketch.h"
#include "util/chronex_trail/stats/stats_output.h"
#include "util/chronex_trail/summary/summary.h"
#include "util/chronex_trail/values/terminal_text.h"

namespace {

constexpr int LATIN1 = 1;

TEST(RecordSketch, KeepsItsBounds) {
  constexpr std::size_t ROOM = 64;
  constexpr std::uint32_t CHANGES = 20'000;
  record_sketch sketch(ROOM);
  std::map<std::uint32_t, std::uint64_t> truth;
  std::uint32_t random = 1;
  for (std::uint32_t i = 0; i < CHANGES; ++i) {
    random = random * 1664525U + 1013904223U;
    // Three records in a crowd; one of them comes late.
    std::uint32_t recno = 1000 + (random >> 12U);
    if (i % 7 == 0) recno = 1;
    if (i % 11 == 0) recno = 2;
    if (i > CHANGES / 2 && i % 5 == 0) recno = 3;
    sketch.add(0, recno);
    ++truth[recno];
  }
  sketch.add_waiting();
  EXPECT_GT(sketch.bound(), 0U);
  EXPECT_LE(sketch.bound(), 2 * CHANGES / ROOM);
  EXPECT_LE(sketch.watched(), ROOM);
  const std::vector<record_figures> top = sketch.top(3);
  ASSERT_EQ(top.size(), 3U);
  for (std::size_t i = 0; i < top.size(); ++i) {
    EXPECT_LE(top[i].recno, 3U);
    EXPECT_LE(top[i].at_least, truth[top[i].recno]);
    EXPECT_GE(top[i].at_most, truth[top[i].recno]);
    EXPECT_GE(top[0].at_least, top[i].at_least);
  }
  // Records that go on being watched are counted to the last change.
  EXPECT_EQ(top[0].recno == 1 ? top[0].at_least : 0, truth[1]);
}

class StatsFigures : public testing::Test {
 protected:
  StatsFigures() {
    fill_input(log_, "shop\t\xC3\xBC.7-2", FWLOG_FILE, LATIN1);
    output_.file_begins(log_);
    output_.file_accepted(log_);
  }

  void change(session_entry& session, node_entry& node, std::uint32_t time) {
    output_.sign_on(session, sign_on_caller::image_operation, {&log_, 1});
    output_.operation({.session = session,
                       .node = node,
                       .after_sealed = &node == &sealed_,
                       .timestamp = time,
                       .op = OP_PUT,
                       .recno = time},
                      {&log_, 2});
  }

  test_tables tables_;
  input_file log_{tables_.messages};
  node_entry& sealed_ = tables_.make_data_set(2, "secret", {{"A"}});
  stats_output output_{tables_.messages, 10};
};

TEST_F(StatsFigures, NameTheDataSetsThatCannotBeRead) {
  session_entry& session = tables_.make_session(3, {"user{BOB}"});
  change(session, sealed_, 100);
  change(session, tables_.make_data_set(4, "open", {{"A"}}), 50);
  const trail_figures& figures = output_.end(0);
  ASSERT_EQ(figures.data_sets.size(), 2U);
  EXPECT_EQ(figures.data_sets[0].unreadable, 1U);
  EXPECT_EQ(figures.data_sets[1].unreadable, 0U);
  EXPECT_EQ(figures.completeness.unreadable, 1U);
  EXPECT_FALSE(figures.completeness.is_complete());
  // The order of times is not that of the trail.
  EXPECT_EQ(figures.changes.first, 50U);
  EXPECT_EQ(figures.changes.last, 100U);
}

TEST_F(StatsFigures, FitTheWindow) {
  const std::string name(60, 'N');
  change(tables_.make_session(3, {"user{" + name + "\xFC}program{\x1b[2J}"}),
         sealed_, 100);
  change(tables_.make_session(4, {"user{\x9B"
                                  "1m}host{" +
                                  name + "}"}),
         sealed_, 200);
  const trail_figures& figures = output_.end(0);
  for (std::size_t width = 60; width < 300; ++width) {
    string_sink sink;
    ASSERT_EQ(write_summary_tables(figures, {.width = width}, sink), 0);
    std::istringstream text(sink.text);
    for (std::string line; std::getline(text, line);) {
      EXPECT_LE(terminal_width(line), width) << line;
      EXPECT_EQ(line, terminal_text(line));
    }
    EXPECT_NE(sink.text.find("NNNN"), sink.text.npos);
    EXPECT_NE(sink.text.find("\\x1b[2J"), sink.text.npos) << sink.text;
  }
}

TEST(TerminalText, TakesWhatItShows) {
  struct {
    std::string_view text;
    std::string_view shown;
    std::size_t width;
    // In four columns.
    std::string_view cut;
  } const cases[] = {
      {"abc", "abc", 3, "abc"},
      {"abcde", "abcde", 5, "abc…"},
      {"äöüßé", "äöüßé", 5, "äöü…"},
      {"a\x1b[0m\x7f", "a\\x1b[0m\\x7f", 12, "a\\x…"},
      {"\xC2\x9B"
       "1m",
       "\\x9b1m", 6, "\\x9…"},
      // A mark that turns the direction, wide characters, and an accent that
      // stands on its letter.
      {"a\xE2\x80\xAE"
       "b",
       "a\\u202eb", 8, "a\\u…"},
      {"日本語", "日本語", 6, "日…"},
      {"e\xCC\x81xyzw", "e\xCC\x81xyzw", 5, "e\xCC\x81xy…"},
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", 2, "\xF0\x9F\x98\x80"},
  };
  for (const auto& test : cases) {
    const std::string shown = terminal_text(test.text);
    EXPECT_EQ(shown, test.shown);
    EXPECT_EQ(terminal_width(shown), test.width) << shown;
    EXPECT_EQ(cut_to_width(shown, 4), test.cut);
  }
}

}  // namespace
