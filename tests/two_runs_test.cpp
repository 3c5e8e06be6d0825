// Runs share nothing: two of them take turns in one process, on inputs that use
// the same ids for different things, and each reports what it reports alone.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "util/chronex/run/run.h"

namespace {

// What a run reports, with item values, of its input files one by one.
class reporting_run {
 public:
  reporting_run(std::string first, std::string second, const char* filter)
      : names_{std::move(first), std::move(second)} {
    run_->report.report = {
        .fp = stream_.get(), .sign_on_level = 2, .image_level = 3};
    EXPECT_EQ(run_->filter.append_filter_expr(filter), 0);
    EXPECT_EQ(run_->filter.setup_filter_expr(), 0);
    char* operands[] = {names_[0].data(), names_[1].data()};
    EXPECT_EQ(run_->inputs.open(operands), 0);
  }
  ~reporting_run() { close(descriptor_); }
  reporting_run(const reporting_run&) = delete;
  reporting_run& operator=(const reporting_run&) = delete;

  void process(std::size_t file) {
    EXPECT_EQ(process_input(*run_, *run_->inputs.files()[file]), 0);
  }

  std::string report() {
    stream_->flush();
    std::string text(4096, '\0');
    const ssize_t size = pread(descriptor_, text.data(), text.size(), 0);
    EXPECT_GT(size, 0);
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return text;
  }

 private:
  int descriptor_ = memfd_create("report", 0);
  std::unique_ptr<report_stream> stream_ =
      std::make_unique<report_stream>(descriptor_);
  std::unique_ptr<chronex_run> run_ = std::make_unique<chronex_run>();
  std::string names_[2];
};

// A log in two files: the second goes on with what the first announced.
void write_logs(const test_directory& directory, const std::string& name,
                const char* user, const char* set, const log_item& item) {
  log_builder first({.generation = 4});
  first.database(1, "db").data_set(2, 1, set, {item});
  first.sign_on(3, {user});
  first.before_image({.session = 3,
                      .node = 2,
                      .recno = 9,
                      .op = 1,
                      .image = std::string(4, 'b'),
                      .image_key = 5});
  log_builder second({.generation = 4, .sequence = 2});
  second.number(1).operation({.session = 3,
                              .node = 2,
                              .recno = 9,
                              .op = 1,
                              .image = std::string(4, 'c'),
                              .image_key = 5});
  directory.write(name + ".1", first.end().bytes());
  directory.write(name + ".2", second.end().bytes());
}

}  // namespace

TEST(TwoRuns, ShareNothing) {
  const test_directory directory;
  write_logs(directory, "a", "user{ALICE}", "orders", {"CODE", 'X', 1, 4});
  write_logs(directory, "b", "user{BOB}", "stock", {"PIECES", 'I', 1, 4});
  const auto run_of = [&](const char* name, const char* filter) {
    const std::string path = directory.path(name);
    return std::make_unique<reporting_run>(path + ".1", path + ".2", filter);
  };
  const auto alone = [&](const char* name, const char* filter) {
    const auto run = run_of(name, filter);
    run->process(0);
    run->process(1);
    return run->report();
  };

  const char* const filter_a = "*.ORDERS AND user = {ALICE} AND CODE = 'b*'";
  const char* const filter_b = "*.STOCK AND user = {BOB} AND PIECES > 0";
  const auto a = run_of("a", filter_a);
  const auto b = run_of("b", filter_b);
  a->process(0);
  b->process(0);
  a->process(1);
  b->process(1);
  EXPECT_EQ(a->report(), alone("a", filter_a));
  EXPECT_EQ(b->report(), alone("b", filter_b));
  EXPECT_NE(a->report().find("-CODE"), std::string::npos);
  EXPECT_NE(b->report().find("-PIECES"), std::string::npos);
}
