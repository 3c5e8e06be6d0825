// chronex-trail json --jobs: pieces of the trail side by side.
//
// This process reads the inputs and goes over them without writing anything,
// which takes an eighth of the time, and knows at each border of a piece all
// that the run knows there. There it divides: the copy writes the events of the
// piece that begins, out of the bytes that this one reads on its way to the
// next border. A piece ends between two actions, where the same measure says so
// to both.

#include "util/chronex_trail/commands/json_with_jobs.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/json/event_counter.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/job_pool.h"

namespace {

// What is set for tests, which have small logs.
std::size_t size_of(const char* variable, std::size_t default_size) {
  const char* const size = std::getenv(variable);
  return size != nullptr ? std::strtoull(size, nullptr, 10) : default_size;
}

// Bytes of input, decompressed, that make a piece.
std::size_t piece_size() {
  return size_of("CHRONEX_PIECE_SIZE", std::size_t{4} << 20);
}

// Bytes of the ring of inputs: a piece for each job, and one in which to go
// ahead of them.
std::size_t ring_size(std::size_t piece, std::size_t jobs) {
  constexpr std::size_t LARGEST = std::size_t{64} << 20;
  return size_of("CHRONEX_RING_SIZE", std::min(LARGEST, piece) * (jobs + 1));
}

// Bytes that wait for the turn of a job: what most pieces make.
std::size_t room_size(std::size_t piece) {
  constexpr std::size_t FACTOR = 4;
  constexpr std::size_t LARGEST = std::size_t{64} << 20;
  return std::clamp(FACTOR * piece, std::size_t{1}, LARGEST);
}

// Measures a piece as it is read.
class piece_measure {
 public:
  explicit piece_measure(std::uint64_t size) : size_(size) {}

  // To be asked behind every action: whether the piece ends there.
  bool is_full(const input_file& file) {
    const std::uint64_t position = file.stream.position();
    if (&file != file_) {
      before_ += last_ - begin_;
      file_ = &file;
      begin_ = 0;
    }
    last_ = position;
    return before_ + last_ - begin_ >= size_;
  }
  // The next piece begins here.
  void begin() {
    before_ = 0;
    begin_ = last_;
  }

 private:
  std::uint64_t size_;
  const input_file* file_ = nullptr;
  std::uint64_t begin_ = 0;
  std::uint64_t last_ = 0;
  // Bytes of the files before.
  std::uint64_t before_ = 0;
};

// Of a job, in its process: writes events until the piece ends.
class piece_output final : public json_output {
 public:
  piece_output(trail_run& run, job_pool& pool, const job_identity& job,
               result_file& file, const piece_measure& measure)
      : json_output(run.messages, file, &run.item_names),
        run_(run),
        turns_(pool.turns()),
        number_(job.number),
        file_(file),
        sink_(
            turns_, job.place, job.number,
            [&pool, place = job.place] { pool.tell_messages(place); },
            [&file](std::string_view bytes) { return file.write_now(bytes); }),
        measure_(measure) {
    file_.divert(sink_);
    if (number_ > 0) file_.go_on_behind_parts();
  }

  void action_done() override {
    if (measure_.is_full(*run_.events.place.file)) leave(job_end::border);
  }
  // All that is held in this process is a copy of what another holds.
  [[noreturn]] void leave(job_end end) {
    if (let_out() != 0 || sink_.take_turn() != 0) end = job_end::failed;
    if (end == job_end::border) turns_.pass_on(number_);
    _exit(static_cast<int>(end));
  }

 private:
  trail_run& run_;
  job_turns& turns_;
  std::uint32_t number_;
  result_file& file_;
  turn_sink sink_;
  piece_measure measure_;
};

class json_jobs {
 public:
  json_jobs(trail_run& run, const shared_options& options, result_file& file)
      : run_(run),
        file_(file),
        jobs_(static_cast<std::size_t>(options.jobs)),
        pool_(jobs_, run.messages),
        scout_(*this) {}
  ~json_jobs() { share_inputs(nullptr); }
  json_jobs(const json_jobs&) = delete;
  json_jobs& operator=(const json_jobs&) = delete;

  // Returns the exit status.
  int make();

 private:
  // Goes ahead of the jobs.
  class scout : public event_counter {
   public:
    explicit scout(json_jobs& jobs) : jobs_(jobs) {}
    void action_done() override { jobs_.look_for_border(); }

   private:
    json_jobs& jobs_;
  };

  void share_inputs(input_relay* relay);
  void look_for_border();
  void start_piece();
  void take_over(const job_identity& job);
  [[noreturn]] void leave(int status);

  trail_run& run_;
  result_file& file_;
  std::size_t jobs_;
  job_pool pool_;
  scout scout_;
  std::size_t piece_size_ = piece_size();
  piece_measure measure_{piece_size_};
  // That of a job, in its process.
  std::unique_ptr<piece_output> output_;
};

void json_jobs::share_inputs(input_relay* relay) {
  for (const std::unique_ptr<input_file>& file : run_.inputs.files()) {
    file->stream.share(relay);
  }
}

void json_jobs::look_for_border() {
  if (!measure_.is_full(*run_.events.place.file)) return;
  measure_.begin();
  start_piece();
}

void json_jobs::start_piece() {
  if (const auto job = pool_.start()) take_over(*job);
}

// This is the process of a job now.
void json_jobs::take_over(const job_identity& job) {
  output_ = std::make_unique<piece_output>(run_, pool_, job, file_, measure_);
  state_writer counters;
  scout_.save(counters);
  state_reader reader(counters.written());
  static_cast<void>(output_->restore(reader));
  run_.events.replace_output(scout_, *output_);
}

void json_jobs::leave(int status) {
  if (!output_ || output_->end(status) != 0) {
    status = static_cast<int>(job_end::failed);
  }
  const job_end end = status == 0 ? job_end::whole : job_end::failed;
  if (output_) output_->leave(end);
  _exit(static_cast<int>(end));
}

int json_jobs::make() {
  run_.events.watched = true;
  // The jobs are elsewhere than this process.
  run_.progress = progress_mode::never;
  run_.events.add_output(scout_);
  pool_.open(ring_size(piece_size_, jobs_), room_size(piece_size_));
  share_inputs(&pool_.relay());
  start_piece();
  const int status = process_inputs(run_);
  if (pool_.is_job()) leave(status);
  return pool_.finish();
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
    status = json_jobs(run, options, file).make();
    file.go_on_behind_parts();
  } catch (const run_failed&) {
    // The message has been printed.
  }
  return file.close(status == 0) == 0 ? status : EXIT_ERROR;
}
