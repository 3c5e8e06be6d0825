#include "tests/support/run_program.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/log_builder.h"

namespace {

std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::string read_plain(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void redirect(const std::string& path, int flags, int descriptor) {
  const int opened = open(path.c_str(), flags, 0600);
  if (opened < 0 || dup2(opened, descriptor) < 0) _exit(126);
}

}  // namespace

test_directory::test_directory() {
  std::string name =
      (std::filesystem::temp_directory_path() / "chronex.XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) std::abort();
  root_ = name;
}

test_directory::~test_directory() { std::filesystem::remove_all(root_); }

std::string test_directory::path(std::string_view name) const {
  return root_ + "/" + std::string(name);
}

void test_directory::write(std::string_view name, std::string_view bytes,
                           bool compressed) const {
  write_file(path(name), bytes, compressed);
}

void test_directory::change_byte(std::string_view name, int position) const {
  std::fstream file(path(name),
                    std::ios::binary | std::ios::in | std::ios::out);
  file.seekg(position, std::ios::end);
  const int byte = file.get();
  file.seekp(position, std::ios::end);
  file.put(static_cast<char>(byte ^ 0x55));
}

std::string test_directory::read(std::string_view name) const {
  gzFile file = gzopen(path(name).c_str(), "rb");
  if (file == nullptr) return "(no such file)";
  std::string bytes;
  std::array<char, 65536> piece{};
  for (;;) {
    const std::size_t count = gzfread(piece.data(), 1, piece.size(), file);
    if (count == 0) break;
    bytes.append(piece.data(), count);
  }
  gzclose(file);
  return bytes;
}

std::string test_directory::read_raw(std::string_view name) const {
  return read_plain(path(name));
}

struct test_directory::start_settings {
  std::string_view input{};
  std::vector<std::string> environment{};
  // This descriptor is the terminal; -1: none is.
  int descriptor = -1;
  int terminal = -1;
};

int test_directory::start(const char* program,
                          const std::vector<std::string>& arguments,
                          const start_settings& settings) const {
  write("(in)", settings.input);
  std::vector<std::string> words{
      std::filesystem::path(program).filename().string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables{"TZ=UTC", "PATH=/usr/bin:/bin"};
  variables.insert(variables.end(), settings.environment.begin(),
                   settings.environment.end());
  const std::vector<char*> argv = pointers_to(words);
  const std::vector<char*> envp = pointers_to(variables);

  const pid_t child = fork();
  if (child != 0) return child;
  if (chdir(root_.c_str()) != 0) _exit(126);
  redirect("(in)", O_RDONLY, STDIN_FILENO);
  redirect("(out)", O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
  redirect("(err)", O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
  if (settings.descriptor >= 0) dup2(settings.terminal, settings.descriptor);
  execve(program, argv.data(), envp.data());
  _exit(127);
}

program_result test_directory::await(int child) const {
  int status = 0;
  waitpid(child, &status, 0);
  return {.out = read_plain(path("(out)")),
          .err = read_plain(path("(err)")),
          .status =
              WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status)};
}

program_result test_directory::run(
    const std::vector<std::string>& arguments, std::string_view input,
    const std::vector<std::string>& environment) const {
  return await(start(CHRONEX_PROGRAM, arguments,
                     {.input = input, .environment = environment}));
}

program_result test_directory::run_trail(
    const std::vector<std::string>& arguments, std::string_view input,
    const std::vector<std::string>& environment) const {
  return await(start(CHRONEX_TRAIL_PROGRAM, arguments,
                     {.input = input, .environment = environment}));
}

int test_directory::start_trail(
    const std::vector<std::string>& arguments) const {
  return start(CHRONEX_TRAIL_PROGRAM, arguments, {});
}

program_result test_directory::stop(int process, int signal) const {
  kill(process, signal);
  return await(process);
}

program_result test_directory::run_on_terminal(
    const std::vector<std::string>& arguments, int descriptor,
    int signal) const {
  termios raw{};
  cfmakeraw(&raw);
  int terminal = -1;
  int program_side = -1;
  if (openpty(&terminal, &program_side, nullptr, &raw, nullptr) != 0) {
    std::abort();
  }
  const int child = start(CHRONEX_PROGRAM, arguments,
                          {.descriptor = descriptor, .terminal = program_side});
  close(program_side);
  std::string shown;
  std::array<char, 4096> piece{};
  ssize_t count = 0;
  while ((count = ::read(terminal, piece.data(), piece.size())) > 0) {
    if (signal != 0 && shown.empty()) kill(child, signal);
    shown.append(piece.data(), static_cast<std::size_t>(count));
  }
  close(terminal);
  program_result result = await(child);
  (descriptor == STDOUT_FILENO ? result.out : result.err) = shown;
  return result;
}

int test_directory::shell(const std::string& command) const {
  // NOLINTNEXTLINE(cert-env33-c)
  return std::system(("cd " + root_ +
                      " && export CHRONEX=" CHRONEX_PROGRAM
                      " CHRONEX_TRAIL=" CHRONEX_TRAIL_PROGRAM " && " +
                      command)
                         .c_str());
}
