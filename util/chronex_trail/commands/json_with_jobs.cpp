// chronex-trail json --jobs: pieces of the trail side by side.
//
// Each job goes over all inputs and knows at each border of a piece all that
// the run knows there. It writes the events of the pieces that it claims, and
// counts those of the others, which takes a small part of the time. A piece
// ends between two actions, where the same measure says so to all. What is
// compressed is decompressed once for all jobs, by one of them, which makes the
// fewer pieces.

#include "util/chronex_trail/commands/json_with_jobs.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/json/event_counter.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/job_pool.h"

namespace {

constexpr std::size_t KIB = 1024;
constexpr std::uint32_t NO_PIECE = std::numeric_limits<std::uint32_t>::max();

// What is set for tests, which have small logs.
std::size_t size_of(const char* variable, std::size_t default_size) {
  const char* const size = std::getenv(variable);
  return size != nullptr ? std::strtoull(size, nullptr, 10) : default_size;
}

// Bytes of input, decompressed, that make a piece. Small pieces stay in the
// processor's caches until they are written; but each of a compressed output
// ends with a member that is not full.
std::size_t piece_size(const shared_options& options) {
  return size_of("CHRONEX_PIECE_SIZE",
                 options.output.ends_with(".gz") ? 4096 * KIB : 512 * KIB);
}

// Bytes of the ring of compressed inputs: far enough ahead for the jobs not to
// wait for what takes its time.
std::size_t ring_size(std::size_t jobs, std::size_t piece) {
  return size_of("CHRONEX_RING_SIZE",
                 std::max(2048 * KIB * (jobs + 2), 4 * piece));
}

// Bytes that wait for the turn of a job: more than most pieces make.
std::size_t room_size(std::size_t piece) {
  constexpr std::size_t FACTOR = 8;
  return std::clamp(FACTOR * piece, std::size_t{1}, 16 * KIB * KIB);
}

// Measures pieces as they are read.
class piece_measure {
 public:
  explicit piece_measure(std::uint64_t size) : size_(size) {}

  // The piece ends behind the first action that reaches this place of the file
  // that is being read.
  std::uint64_t end_in(const input_file& file) {
    if (&file != file_) {
      if (file_ != nullptr) before_ += file_->stream.position() - begin_;
      file_ = &file;
      begin_ = 0;
    }
    return begin_ + size_ - std::min(size_, before_);
  }
  // The next piece begins at this place of the same file.
  void begin(std::uint64_t place) {
    before_ = 0;
    begin_ = place;
  }

 private:
  std::uint64_t size_;
  const input_file* file_ = nullptr;
  std::uint64_t begin_ = 0;
  // Bytes of the files before.
  std::uint64_t before_ = 0;
};

// The trail as one of the jobs makes it.
class json_job {
 public:
  json_job(trail_run& run, job_pool& pool, result_file& file, std::size_t piece)
      : run_(run),
        pool_(pool),
        voice_(pool, file),
        sink_(pool.turns(), voice_, room_size(piece)),
        measure_(piece),
        counter_(*this),
        writer_(*this, file) {
    file.divert(sink_);
  }
  json_job(const json_job&) = delete;
  json_job& operator=(const json_job&) = delete;

  // In the process of the job.
  [[noreturn]] void work();

 private:
  // Of the pieces of others.
  class counting_output final : public event_counter {
   public:
    explicit counting_output(json_job& job) : job_(job) {}
    bool only_counts_operations() const override { return true; }
    void action_done() override { job_.look_for_border(); }

   private:
    json_job& job_;
  };
  class writing_output final : public json_output {
   public:
    writing_output(json_job& job, result_file& file)
        : json_output(job.run_.messages, file, &job.run_.item_names),
          job_(job) {}
    void action_done() override { job_.look_for_border(); }

   private:
    json_job& job_;
  };

  // Writes to a file, and tells messages, as the pool does.
  class job_voice final : public turn_voice {
   public:
    job_voice(job_pool& pool, result_file& file) : pool_(pool), file_(file) {}
    std::string take_messages() override { return pool_.take_messages(); }
    void begin_turn(std::string_view messages) override {
      pool_.tell_messages(messages);
    }
    void begin_turn() override { pool_.tell_messages(pool_.take_messages()); }
    void end_turn() override { pool_.keep_messages(); }
    int write_now(std::string_view bytes) override {
      return file_.write_now(bytes);
    }

   private:
    job_pool& pool_;
    result_file& file_;
  };

  void look_for_border();
  void pass_border();
  void choose_piece();
  void begin_piece();
  void end_piece();
  [[noreturn]] void leave(int status);

  trail_run& run_;
  job_pool& pool_;
  job_voice voice_;
  turn_sink sink_;
  piece_measure measure_;
  counting_output counter_;
  writing_output writer_;
  std::uint32_t piece_ = 0;
  // Among the pieces, the one that this job makes next, or now; NO_PIECE while
  // it has claimed none.
  std::uint32_t claimed_ = NO_PIECE;
};

void json_job::work() {
  run_.events.watched = true;
  // The jobs are elsewhere than the others.
  run_.progress = progress_mode::never;
  run_.events.add_output(counter_);
  choose_piece();
  // Others may have to wait for what this one has made.
  pool_.relay().set_while_waiting([this] {
    if (sink_.write_due() != 0) _exit(static_cast<int>(job_end::failed));
  });
  const int status = process_inputs(run_);
  pool_.relay().leave();
  leave(status);
}

void json_job::look_for_border() {
  const input_file& file = *run_.events.place.file;
  if (file.stream.position() >= measure_.end_in(file)) {
    measure_.begin(file.stream.position());
    pass_border();
  }
  run_.events.watched_from = measure_.end_in(file);
}

void json_job::pass_border() {
  if (piece_ == claimed_) {
    end_piece();
  } else if (sink_.write_due() != 0) {
    leave(EXIT_ERROR);
  }
  ++piece_;
  choose_piece();
}

// A job that has more urgent things to do claims no piece, except one that it
// would leave behind without anybody's making it.
void json_job::choose_piece() {
  if (claimed_ == NO_PIECE &&
      (pool_.relay().keep_ahead() || !pool_.turns().is_claimed(piece_))) {
    claimed_ = pool_.turns().claim();
  }
  if (piece_ == claimed_) begin_piece();
}

// Has one output go on behind the other.
template <typename Old, typename New>
void replace_output(trail& events, Old& old, New& output) {
  state_writer counters;
  old.save(counters);
  state_reader reader(counters.written());
  static_cast<void>(output.restore(reader));
  events.replace_output(old, output);
}

void json_job::begin_piece() {
  pool_.drop_messages();
  sink_.begin_part(piece_);
  replace_output(run_.events, counter_, writer_);
}

void json_job::end_piece() {
  if (writer_.let_out() != 0 || sink_.end_part() != 0) leave(EXIT_ERROR);
  replace_output(run_.events, writer_, counter_);
  claimed_ = NO_PIECE;
}

// All that is held in this process is a copy of what another holds.
void json_job::leave(int status) {
  if (piece_ != claimed_) {
    if (claimed_ != NO_PIECE) pool_.turns().give_up(claimed_);
    const bool is_written = sink_.write_ended() == 0;
    _exit(static_cast<int>(is_written ? job_end::idle : job_end::failed));
  }
  if (writer_.end(status) != 0 || writer_.let_out() != 0 ||
      sink_.take_turn() != 0) {
    status = EXIT_ERROR;
  }
  _exit(static_cast<int>(status == 0 ? job_end::whole : job_end::failed));
}

// Makes the inputs known to the relay as far as it is needed. Returns those, in
// their order.
std::vector<const input_file*> share_inputs(trail_run& run,
                                            input_relay& relay) {
  std::vector<const input_file*> relayed;
  for (const std::unique_ptr<input_file>& file : run.inputs.files()) {
    if (file->stream.share(relay, relayed.size()))
      relayed.push_back(file.get());
  }
  return relayed;
}

// Makes their sources, one after the other.
input_relay::next_input sources_of(
    const std::vector<const input_file*>& files) {
  return [left = std::deque(files.begin(), files.end())]() mutable
         -> std::unique_ptr<byte_source> {
    if (left.empty()) return nullptr;
    const input_file* const next = left.front();
    left.pop_front();
    return next->stream.shared_source();
  };
}

// Returns the exit status.
int make_trail(trail_run& run, const shared_options& options,
               result_file& file) {
  const auto jobs = static_cast<std::size_t>(options.jobs);
  job_pool pool(jobs, run.messages);
  const std::size_t piece = piece_size(options);
  pool.open(ring_size(jobs, piece));
  const input_relay::next_input relayed =
      sources_of(share_inputs(run, pool.relay()));
  const auto job = std::make_unique<json_job>(run, pool, file, piece);
  const std::optional<std::size_t> index = pool.start();
  if (index == 0) pool.relay().become_writer(relayed);
  if (index) job->work();
  return pool.finish();
}

}  // namespace

bool can_have_jobs(const trail_run& run) {
  return std::ranges::all_of(run.inputs.files(),
                             [](const std::unique_ptr<input_file>& file) {
                               return file->stream.is_regular();
                             });
}

int json_with_jobs(trail_run& run, const shared_options& options) {
  result_file file(run.messages);
  if (file.open(options.output, options.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  int status = EXIT_ERROR;
  try {
    status = make_trail(run, options, file);
    file.go_on_behind_parts();
  } catch (const run_failed&) {
    // The message has been printed.
  }
  return file.close(status == 0) == 0 ? status : EXIT_ERROR;
}
