// chronex-trail json --state: a trail that goes on from run to run.
//
// What a run has written reaches the disk before its state does. The state says
// how much of a file that was; what a run that was killed wrote behind it is
// cut off again, and made once more.

#include "util/chronex_trail/commands/json_with_state.h"

#include <sys/stat.h>

#include <chrono>
#include <memory>
#include <optional>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex_trail/commands/check_output.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/follow/follow_run.h"
#include "util/chronex_trail/follow/state_pace.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_state.h"

namespace {

// How often a run that follows logs leaves its state: see state_pace.
constexpr std::chrono::milliseconds SHORTEST_PAUSE{1000};
constexpr int SHARE = 20;

// The output's section of the state.
void save_output(const json_output& output, bool is_file,
                 const file_extent& written, state_writer& state) {
  output.save(state);
  state.flag(is_file);
  state.u64(written.size);
  state.bytes(written.tail_digest);
}

class json_with_state_run {
 public:
  json_with_state_run(trail_run& run, const shared_options& options,
                      std::string state_name, bool follows)
      : run_(run),
        options_(options),
        state_name_(std::move(state_name)),
        state_(run, options),
        file_(run.messages),
        output_(std::make_unique<json_output>(run.messages, file_,
                                              &run.item_names)),
        pace_(run, SHORTEST_PAUSE, SHARE) {
    if (follows) followed_.emplace(run);
  }

  int begin();
  int process();
  int finish(int status);
  json_output& output() { return *output_; }

 private:
  bool is_file() const { return options_.output != "-"; }
  int prepare();
  int restore_output();
  int begin_new();
  int open();
  int write_state();
  int keep();
  std::chrono::milliseconds keep_if_due();

  trail_run& run_;
  const shared_options& options_;
  std::string state_name_;
  trail_state state_;
  result_file file_;
  std::unique_ptr<json_output> output_;
  file_extent written_;
  state_pace pace_;
  // Nothing: the inputs are whole, or end where they end now.
  std::optional<follow_run> followed_;
};

int json_with_state_run::restore_output() {
  state_reader& state = state_.output();
  const bool is_known = output_->restore(state);
  const bool was_file = state.flag();
  written_.size = state.u64();
  const auto digest = state.bytes();
  written_.tail_digest.assign(digest.begin(), digest.end());
  if (!is_known || !state.is_at_end()) return state_.damaged();
  if (was_file == is_file()) return 0;
  run_.messages.print(
      was_file ? "%s: the output of this state is a file; name it with -o\n"
               : "%s: the output of this state is no file; leave out -o\n",
      state_name_.c_str());
  return -1;
}

// A file that is there belongs to another trail, or has lost its state. From
// the empty state on, what is found in the file is this trail's.
int json_with_state_run::begin_new() {
  if (!is_file()) return 0;
  struct stat status {};
  if (stat(options_.output.c_str(), &status) == 0 && status.st_size > 0) {
    run_.messages.print(
        "%s: is there already, but the state %s is not; put the state back, "
        "or remove the file to begin again\n",
        options_.output.c_str(), state_name_.c_str());
    return -1;
  }
  written_.tail_digest = file_extent::nothing().tail_digest;
  return write_state();
}

int json_with_state_run::open() {
  return is_file() ? file_.open_behind(options_.output, written_,
                                       options_.use_master_keys)
                   : file_.open(options_.output, options_.use_master_keys);
}

int json_with_state_run::prepare() {
  if (!followed_) {
    return prepare_run(run_, options_) == 0 ? state_.restore() : -1;
  }
  followed_->follower.check_log = check_of_logs(run_, options_);
  return followed_->prepare(options_, &state_);
}

int json_with_state_run::begin() {
  if (options_.output == state_name_) {
    run_.messages.print("%s: cannot be output and state\n",
                        state_name_.c_str());
    return -1;
  }
  if (state_.read(state_name_) != 0 || prepare() != 0) return -1;
  run_.expects_growth = true;
  const int known = state_.is_new() ? begin_new() : restore_output();
  return known == 0 ? open() : -1;
}

int json_with_state_run::write_state() {
  state_writer section;
  save_output(*output_, is_file(), written_, section);
  return state_.write(state_name_, section);
}

// Whatever the state knows of the output must be there first.
int json_with_state_run::keep() {
  if (output_->flush() != 0) return -1;
  if (is_file() && file_.reach_disk(written_) != 0) return -1;
  return write_state();
}

std::chrono::milliseconds json_with_state_run::keep_if_due() {
  return pace_.settle([this] {
    if (keep() != 0) throw run_failed();
  });
}

// Messages and events come in their order, as each is let out at once.
int json_with_state_run::process() {
  if (!followed_) return process_inputs(run_);
  followed_->follower.before_wait = [this] {
    output_->let_out();
    return keep_if_due();
  };
  followed_->follower.on_the_way = [this] { keep_if_due(); };
  run_.messages.set_let_out([this] { output_->let_out(); });
  const int status = followed_->process();
  run_.messages.set_let_out({});
  return status;
}

// The trail goes on: only a file, whose end the next run replaces, gets the
// event that ends it.
int json_with_state_run::finish(int status) {
  if (status != EXIT_ERROR && keep() != 0) status = EXIT_ERROR;
  const int ended = is_file() || status == EXIT_ERROR ? output_->end(status)
                                                      : output_->flush();
  if (ended != 0) status = EXIT_ERROR;
  return file_.close(status != EXIT_ERROR) == 0 ? status : EXIT_ERROR;
}

}  // namespace

int json_with_state(trail_run& run, const shared_options& options,
                    const std::string& state_name, bool follows) {
  json_with_state_run with_state(run, options, state_name, follows);
  if (with_state.begin() != 0) return EXIT_ERROR;
  run.events.add_output(with_state.output());
  return with_state.finish(with_state.process());
}
