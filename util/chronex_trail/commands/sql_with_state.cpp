// chronex-trail sql --append --state: a database that goes on from run to run.
//
// Rows and state become valid together: the new state is put beside the old
// one, the transaction that adds the rows also notes the new state's check sum,
// and then the new state takes the old one's name. A run finds the state that
// the database knows, wherever the run before was killed.

#include "util/chronex_trail/commands/sql_with_state.h"

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex/state/state_file.h"
#include "util/chronex_trail/commands/check_output.h"
#include "util/chronex_trail/follow/follow_run.h"
#include "util/chronex_trail/follow/state_pace.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_state.h"
#include "util/chronex_trail/sql/database_file.h"
#include "util/chronex_trail/sql/input_digest.h"
#include "util/chronex_trail/sql/sqlite_engine.h"

namespace {

// How often a run that follows logs adds its rows: see state_pace. They are to
// be seen within a second.
constexpr std::chrono::milliseconds SHORTEST_PAUSE{250};
constexpr int SHARE = 1;

constexpr const char* CREATE_STATE_TABLE =
    "CREATE TABLE IF NOT EXISTS chronex_state("
    "id INTEGER PRIMARY KEY, check_sum BLOB)";
constexpr const char* FIND_STATE_TABLE =
    "SELECT count(*) FROM sqlite_schema WHERE name = 'chronex_state'";

class sql_with_state_run {
 public:
  sql_with_state_run(trail_run& run, const shared_options& options,
                     std::string state_name, bool follows)
      : run_(run),
        options_(options),
        state_name_(std::move(state_name)),
        state_(run, options),
        file_(run.messages),
        pace_(run, SHORTEST_PAUSE, SHARE) {
    if (follows) followed_.emplace(run);
  }

  // Returns the exit status.
  int make(const run_facts& facts);

 private:
  int begin(const run_facts& facts);
  int prepare();
  int process();
  std::chrono::milliseconds settle();
  int read_state();
  int restore_output();
  void note_growth(const input_file& file);
  void note_end_of_log();
  int finish(int status);
  void note_state();
  void adopt_state();

  trail_run& run_;
  const shared_options& options_;
  std::string state_name_;
  trail_state state_;
  database_file file_;
  std::unique_ptr<sqlite_engine> engine_;
  std::unique_ptr<sql_output> output_;
  state_pace pace_;
  // Nothing: the inputs are whole, or end where they end now.
  std::optional<follow_run> followed_;
  // The log whose size was noted last.
  const input_file* noted_ = nullptr;
};

int sql_with_state_run::read_state() {
  sql_database& database = file_.database();
  if (database.number(FIND_STATE_TABLE) > 0) {
    sql_statement known =
        database.prepare("SELECT check_sum FROM chronex_state");
    if (known.step()) return state_.read(state_name_, known.bytes(0));
  }
  if (state_.read(state_name_) != 0) return -1;
  if (state_.is_new()) return 0;
  run_.messages.print(
      "%s: is not the state of this database; name its own, or remove it to "
      "begin again\n",
      state_name_.c_str());
  return -1;
}

// The latest input's row is that of a smaller file.
void sql_with_state_run::note_growth(const input_file& file) {
  const auto digest = digest_of_file(file.name);
  if (!digest || file.is_standard_input) return;
  sql_statement update = file_.database().prepare(
      "UPDATE input SET size = ?, sha256 = ? WHERE id = ?");
  update.bind(1, static_cast<std::int64_t>(digest->size));
  update.bind_text(2, digest->sha256);
  update.bind(3, output_->input());
  update.run();
}

int sql_with_state_run::restore_output() {
  if (state_.is_new()) return 0;
  state_reader& state = state_.output();
  if (!output_->restore(state) || !state.is_at_end()) return state_.damaged();
  const input_file* const last = run_.forward_logs.position.file;
  if (run_.forward_logs.position.is_done) noted_ = last;
  for (const std::unique_ptr<input_file>& file : run_.inputs.files()) {
    if (turn_of(run_, *file) != input_turn::processed && last != nullptr &&
        is_same_log(*file, *last)) {
      note_growth(*file);
    }
  }
  return 0;
}

// The row of a log that was followed has its size of when it was begun.
void sql_with_state_run::note_end_of_log() {
  const input_file* const last = run_.forward_logs.position.file;
  if (last == nullptr || last == noted_) return;
  noted_ = last;
  note_growth(*last);
}

int sql_with_state_run::prepare() {
  if (!followed_) {
    return prepare_run(run_, options_) == 0 ? state_.restore() : -1;
  }
  followed_->follower.check_log = check_of_logs(run_, options_);
  return followed_->prepare(options_, &state_);
}

int sql_with_state_run::begin(const run_facts& facts) {
  if (options_.output == state_name_) {
    run_.messages.print("%s: cannot be database and state\n",
                        state_name_.c_str());
    return -1;
  }
  if (file_.open_in_place(options_.output, options_.use_master_keys,
                          followed_.has_value()) != 0 ||
      read_state() != 0 || prepare() != 0) {
    return -1;
  }
  run_.expects_growth = true;
  engine_ = std::make_unique<sqlite_engine>(
      file_.database(), file_.is_continued(),
      followed_ ? database_use::followed : database_use::shared);
  output_ =
      std::make_unique<sql_output>(run_.messages, *engine_, &run_.item_names);
  output_->begin(facts);
  return restore_output();
}

void sql_with_state_run::note_state() {
  state_writer section;
  output_->save(section);
  const std::vector<std::uint8_t> bytes = state_.bytes(section);
  if (write_next_state(state_name_, bytes, run_.messages) != 0) {
    throw run_failed();
  }
  sql_database& database = file_.database();
  database.run(CREATE_STATE_TABLE);
  sql_statement note =
      database.prepare("INSERT OR REPLACE INTO chronex_state VALUES(1, ?)");
  note.bind_bytes(1, state_check_sum(bytes), true);
  note.run();
}

void sql_with_state_run::adopt_state() {
  if (adopt_next_state(state_name_, run_.messages) != 0) throw run_failed();
}

// What a run that follows logs has added so far stays, whatever comes then.
std::chrono::milliseconds sql_with_state_run::settle() {
  if (run_.forward_logs.position.is_done) note_end_of_log();
  return pace_.settle([this] {
    output_->commit_so_far([this] { note_state(); });
    adopt_state();
  });
}

int sql_with_state_run::process() {
  if (!followed_) return process_inputs(run_);
  followed_->follower.before_wait = [this] { return settle(); };
  followed_->follower.on_the_way = [this] { settle(); };
  return followed_->process();
}

// Of a run that fails nothing stays, but for what it has added before.
int sql_with_state_run::finish(int status) {
  if (status == EXIT_ERROR || !output_->failure().empty()) return EXIT_ERROR;
  if (followed_) note_end_of_log();
  output_->end(status, [this] { note_state(); });
  adopt_state();
  if (followed_) file_.end_following();
  return status;
}

int sql_with_state_run::make(const run_facts& facts) {
  try {
    if (begin(facts) != 0) return EXIT_ERROR;
    run_.events.add_output(*output_);
    return finish(process());
  } catch (const sql_error& error) {
    run_.messages.print("The database could not be filled: %s\n", error.what());
  } catch (const run_failed&) {
    // The message has been printed.
  }
  return EXIT_ERROR;
}

}  // namespace

int sql_with_state(trail_run& run, const shared_options& options,
                   const std::string& state_name, const run_facts& facts,
                   bool follows) {
  sql_with_state_run with_state(run, options, state_name, follows);
  return with_state.make(facts);
}
