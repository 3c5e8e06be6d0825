// Lets every allocation and every system call of a run fail, one run for each,
// by means of the interposer, and looks at how the run ends.
//
//   fault_test INTERPOSER KEY_FILE_MAKER alloc|io [full]
//
// Without "full" the steps from one failing call to the next grow.

#include <fcntl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "robustness/rich_log.h"
#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

struct scenario {
  const char* name;
  std::vector<std::string> arguments;
  std::vector<std::string> environment = {};
  std::string input = {};
  // Forward logs go on with what can be had; audit files never do.
  bool forward = true;
  bool terminal = false;
};

struct fault {
  const char* call;
  int error;  // 0: a short transfer
  bool sticky = false;

  std::string text(long n) const {
    return std::string("FAULT=") + call + ":" + std::to_string(n) +
           (sticky ? "+:" : ":") +
           (error != 0 ? std::to_string(error) : std::string("short"));
  }
  // The call is made again until it succeeds, or the transfer goes on.
  bool harmless() const { return error == 0 || error == EINTR; }
};

struct observation {
  program_result result;
  std::string audit;
  bool hit = false;
  bool hit_output = false;
  long left = -1;
};

const std::vector<fault> ALLOCATION_FAULTS = {
    {"alloc", ENOMEM}, {"alloc", ENOMEM, true}, {"libcrypto", ENOMEM}};
const std::vector<fault> CALL_FAULTS = {
    {"read", EIO},         {"read", EIO, true}, {"read", 0},
    {"read", 0, true},     {"read", EINTR},     {"write", ENOSPC},
    {"write", EIO, true},  {"write", 0},        {"write", 0, true},
    {"write", EINTR},      {"open", EMFILE},    {"open", EACCES, true},
    {"close", EIO},        {"lseek", EINVAL},   {"lseek", EINVAL, true},
    {"fstat", EIO},        {"stat", EIO},       {"dup", EMFILE},
    {"dup", EMFILE, true}, {"isatty", ENOTTY},  {"tcgetattr", EIO},
    {"tcsetattr", EIO},    {"fopen", EMFILE},   {"fread", EIO},
    {"fgets", EIO},        {"fgets", EIO, true}};

const std::vector<scenario> SCENARIOS = {
    {"report", {"-r", "-m", "-v", "-o", "audit", "log.2", "log.1"}},
    {"dump", {"-x", "-c", "remark", "-o", "audit", "log.1", "log.2"}},
    {"gzip", {"-r", "-i", "3", "-Z", "-o", "audit", "log.2", "log.1.gz"}},
    {"filter",
     {"-r", "-f", "filter", "-e", "*.STOCK OR dbmemo = {*17}", "-I",
      "CODE,PRICE,LIMIT", "log.1", "log.2"}},
    {"stdin", {"-o", "-", "-"}, {}, "log.1.gz"},
    {"audit", {"-r", "-m", "-v", "-o", "audit", "trail"}, {}, {}, false},
    {"audit gzip", {"-x", "-Z", "-o", "audit", "trail.gz"}, {}, {}, false},
    {"keys", {"-r", "-v", "-o", "audit", "xor", "aes"}},
    {"unlock",
     {"-M", "-r", "-v", "-o", "audit", "mkey"},
     {"KO_MKEYID=aes"},
     {},
     true,
     true}};

// What lets a run go on after a failed allocation.
constexpr std::array<const char*, 4> LOSSES = {
    "Unable to allocate session entry", "Unable to allocate node entry",
    "Unable to allocate node name",
    "is ignored: required master key not present"};
// The loader keeps blocks of a library that it could not load.
constexpr const char* NOT_LOADED = "Failed to load crypto library";

void make_inputs(const test_directory& directory, const char* key_file_maker) {
  directory.write("log.1", rich_log(false));
  directory.write("log.1.gz", rich_log(true), true);
  directory.write("log.2", rich_log_2());
  directory.write("xor", encrypted_log(data_key::plain_xor));
  std::string aes = encrypted_log(data_key::plain_aes);
  directory.write("aes", aes.replace(32, 4, u32_bytes(2)));
  directory.write("mkey", encrypted_log(data_key::under_master_key));
  directory.write("filter",
                  "(NOT DBDELETE OR RECNO < 3) AND TIMESTAMP > 1999-12-31 AND "
                  "(PRICE >= -100 OR CODE = 'f*' OR user = {AL?CE})");
  for (const char* option : {"-vo", "-Zvo"}) {
    directory.run(
        {option, option[1] == 'Z' ? "trail.gz" : "trail", "log.1", "log.2"});
  }
  const std::string command =
      std::string("sh ") + key_file_maker + " >" + directory.path("kodb.key");
  if (std::system(command.c_str()) != 0) std::abort();
}

// The terminal of this process and of the runs.
class terminal {
 public:
  terminal() {
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    grantpt(master_);
    unlockpt(master_);
    slave_ = open(ptsname(master_), O_RDWR | O_NONBLOCK);
    if (slave_ < 0) std::abort();
  }
  // Has a passphrase typed ahead, often enough for some that go wrong.
  void type_ahead() const {
    std::array<char, 4096> shown;
    while (read(master_, shown.data(), shown.size()) > 0) continue;
    tcflush(slave_, TCIOFLUSH);
    const std::string line = "secret of aes\n";
    for (int i = 0; i < 4; ++i) {
      if (write(master_, line.data(), line.size()) < 0) std::abort();
    }
  }
  // Whether echo was left on; turns it on.
  bool echoes() const {
    termios settings{};
    tcgetattr(slave_, &settings);
    const bool on = (settings.c_lflag & ECHO) != 0;
    settings.c_lflag |= ECHO | ECHOE;
    tcsetattr(slave_, TCSANOW, &settings);
    return on;
  }

 private:
  int master_;
  int slave_;
};

observation observe(const test_directory& directory, const scenario& s,
                    const std::string& interposer, const std::string& fault) {
  unlink(directory.path("audit").c_str());
  unlink(directory.path("faults").c_str());
  std::vector<std::string> environment = s.environment;
  environment.insert(environment.end(),
                     {"LD_PRELOAD=" + interposer, fault, "FAULT_LOG=faults"});
  const std::string input = s.input.empty() ? "" : directory.read(s.input);
  observation seen;
  seen.result = directory.run(s.arguments, input, environment);
  if (access(directory.path("audit").c_str(), F_OK) == 0) {
    seen.audit = directory.read("audit");
  }
  const std::string log = directory.read("faults");
  seen.hit = log.find("hit") != log.npos;
  seen.hit_output = log.find("hit output") != log.npos;
  const std::size_t left = log.find("left ");
  if (left != log.npos) seen.left = std::atol(log.c_str() + left + 5);
  return seen;
}

bool is_prefix(const std::string& part, const std::string& whole) {
  return whole.compare(0, part.size(), part) == 0;
}

// Whether messages tell of the loss that a failed call may cause.
bool tells_loss(const scenario& s, const std::string& messages,
                const fault& f) {
  if (f.error != ENOMEM) {
    return s.forward &&
           (messages.find("unexpected EOF") != messages.npos ||
            messages.find("damage detected") != messages.npos) &&
           messages.find(std::strerror(f.error)) != messages.npos;
  }
  for (const char* loss : LOSSES) {
    if (messages.find(loss) != messages.npos) return true;
  }
  return false;
}

// What is wrong with a run in which a call failed; null when nothing is.
const char* complaint(const scenario& s, const fault& f,
                      const observation& whole, const observation& seen) {
  const int status = seen.result.status;
  // The library itself may crash without memory, which nobody outside can help,
  // or keep blocks. It must not be the cause of wrong output.
  const bool in_library = std::strcmp(f.call, "libcrypto") == 0;
  if (in_library && status == 256 + SIGSEGV) return nullptr;
  if (status > 2) return "ended by a signal";
  if (status != 0 && seen.result.err.empty()) return "failed without a word";
  if (seen.left > whole.left && !in_library &&
      seen.result.err.find(NOT_LOADED) == std::string::npos) {
    return "left more blocks allocated";
  }
  if (seen.hit_output && !f.harmless() && status != 1) {
    return "took a failed output for a success";
  }
  const bool same =
      seen.result.out == whole.result.out && seen.audit == whole.audit;
  if (status == 0 && !same && !tells_loss(s, seen.result.err, f)) {
    return "succeeded with other output";
  }
  if (f.error == 0 && status != 0) return "failed at a short transfer";
  if (status != 0 && !f.sticky &&
      !(is_prefix(seen.result.out, whole.result.out) &&
        is_prefix(seen.audit, whole.audit))) {
    return "left output that is no prefix";
  }
  return nullptr;
}

class fault_run {
 public:
  fault_run(const char* interposer, const char* key_file_maker, bool full)
      : interposer_(interposer), full_(full) {
    make_inputs(directory_, key_file_maker);
  }

  void run(const scenario& s, const std::vector<fault>& faults) {
    const observation whole = observe_one(s, "FAULT=none:1:0");
    if (whole.result.status != 0) {
      fail(s, "FAULT=none", "does not work at all", whole);
      return;
    }
    if (whole.left < 0) {
      fail(s, "FAULT=none", "runs without the interposer", whole);
      return;
    }
    for (const fault& f : faults) run_fault(s, f, whole);
  }
  int failures() const { return failures_; }

 private:
  observation observe_one(const scenario& s, const std::string& fault) {
    if (s.terminal) terminal_.type_ahead();
    return observe(directory_, s, interposer_, fault);
  }

  void run_fault(const scenario& s, const fault& f, const observation& whole) {
    std::map<int, int> statuses;
    long n = 1;
    for (;; n += full_ ? 1 : 1 + n / 12) {
      const observation seen = observe_one(s, f.text(n));
      if (!seen.hit && seen.result.status <= 2) break;
      ++statuses[seen.result.status];
      const char* problem = complaint(s, f, whole, seen);
      const bool about_terminal = std::strstr(f.call, "tty") != nullptr ||
                                  std::strncmp(f.call, "tc", 2) == 0;
      if (s.terminal && !terminal_.echoes() && !about_terminal) {
        problem = "left the terminal without echo";
      }
      if (problem != nullptr) fail(s, f.text(n), problem, seen);
    }
    std::printf("%-10s %-18s", s.name, f.text(n).c_str() + 6);
    for (const auto& [status, count] : statuses) {
      std::printf("  status %d: %d", status, count);
    }
    std::puts("");
  }

  void fail(const scenario& s, const std::string& fault, const char* problem,
            const observation& seen) {
    if (++failures_ > 40) return;
    std::printf("FAILED %s, %s: %s (status %d, left %ld)\n%.600s\n", s.name,
                fault.c_str(), problem, seen.result.status, seen.left,
                seen.result.err.c_str());
  }

  test_directory directory_;
  terminal terminal_;
  std::string interposer_;
  bool full_;
  int failures_ = 0;
};

int run_all(char** arguments, bool full) {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  const bool allocations = std::strcmp(arguments[3], "alloc") == 0;
  // The program runs in a directory of its own.
  const std::string interposer = std::filesystem::absolute(arguments[1]);
  fault_run run(interposer.c_str(), arguments[2], full);
  for (const scenario& s : SCENARIOS) {
    run.run(s, allocations ? ALLOCATION_FAULTS : CALL_FAULTS);
  }
  std::printf("%d failures\n", run.failures());
  return run.failures() == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 4) return 2;
  const bool full = argc > 4 && std::strcmp(argv[4], "full") == 0;
  // A terminal of its own takes a session of its own.
  const pid_t child = fork();
  if (child == 0) {
    setsid();
    std::exit(run_all(argv, full));
  }
  int status = 1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
