// The passphrase prompt among signals: a probe program as the job of a shell,
// which reads on from the same terminal when the job has ended or was stopped.

#include <pty.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "tests/keys/terminal.h"
#include "tests/support/run_program.h"

namespace {

const std::string PROMPT = "Enter passphrase for compat:\r\n";
const std::string RIGHT = "secret of compat\n";
constexpr const char* ACTIVATED = "compat: Master key activated\n";

// How the shell reports the status of a job.
std::string status_line(int status) { return std::to_string(status) + ":\r\n"; }

bool is_stopped(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string id;
  std::string name;
  char state = '\0';
  file >> id >> name >> state;
  return state == 'T';
}

class prompt : public testing::Test {
 protected:
  prompt() {
    const std::string command = MAKE_KEY_FILE " >" + dir_.path("kodb.key");
    // NOLINTNEXTLINE(cert-env33-c)
    EXPECT_EQ(std::system(command.c_str()), 0);
  }
  ~prompt() override { end_shell(); }

  // Starts the shell, which runs `setup` and the probe, and then the commands
  // that are typed. Returns with the prompt shown.
  void start(const std::string& setup = ":") {
    shell_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (shell_ == 0) {
      const std::string script =
          "cd " + dir_.path("") + "; export KO_MKEYID=compat; " + setup +
          "; " MKEY_PROBE
          " >stdout 2>stderr; echo $?:; "
          "while read -t 30 line; do echo \"$line\" >>lines; "
          "$line >/dev/null; echo $?:; done";
      execlp("bash", "bash", "-mc", script.c_str(), nullptr);
      _exit(99);
    }
    await(PROMPT);
    EXPECT_FALSE(echo_is_on(terminal_));
    job_ = tcgetpgrp(terminal_);
  }

  // Waits for the next prompt, of the probe or the shell, which must end what
  // is shown.
  void await(const std::string& expected) {
    shown_.clear();
    ASSERT_TRUE(await_prompt(terminal_, shown_)) << shown_;
    EXPECT_TRUE(shown_.ends_with(expected)) << shown_;
  }
  void await_stop() const {
    for (int i = 0; i < 500 && !is_stopped(job_); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(is_stopped(job_));
  }
  void end_shell() {
    if (shell_ <= 0) return;
    type(terminal_, "\nexit\n");
    EXPECT_EQ(waitpid(shell_, nullptr, 0), shell_);
    close(terminal_);
    shell_ = 0;
  }

  test_directory dir_;
  int terminal_ = -1;
  pid_t shell_ = 0;
  pid_t job_ = 0;
  std::string shown_;
};

TEST_F(prompt, signals_that_end_the_program_leave_echo_on_and_nothing_typed) {
  for (const int each :
       {SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGALRM, SIGPIPE, SIGTERM, SIGUSR1,
        SIGUSR2, SIGVTALRM, SIGPROF, SIGXCPU, SIGIO, SIGRTMIN}) {
    start();
    type(terminal_, "half of it");
    kill(-job_, each);
    await(status_line(128 + each));
    EXPECT_TRUE(echo_is_on(terminal_)) << each;
    end_shell();
    const bool is_trapped = each == SIGINT || each == SIGTERM;
    EXPECT_EQ(dir_.read_raw("stderr"),
              is_trapped
                  ? "Trapped signal #" + std::to_string(each) + " -- exiting\n"
                  : "");
    EXPECT_EQ(dir_.read_raw("lines"), "\nexit\n") << each;
    dir_.write("lines", "");
  }
}

TEST_F(prompt, is_shown_again_after_a_stop) {
  for (const int each : {0, SIGTSTP, SIGTTIN, SIGTTOU}) {
    start();
    type(terminal_, each == 0 ? "half of it\x1a" : "half of it");
    if (each != 0) kill(-job_, each);
    await(status_line(128 + (each != 0 ? each : SIGTSTP)));
    EXPECT_TRUE(echo_is_on(terminal_)) << each;
    // It does not touch the terminal in the background.
    type(terminal_, "bg\n");
    await(status_line(0));
    await_stop();
    EXPECT_TRUE(echo_is_on(terminal_)) << each;
    type(terminal_, "fg\n");
    await("fg\r\n" + PROMPT);
    EXPECT_FALSE(echo_is_on(terminal_)) << each;
    type(terminal_, RIGHT);
    await(status_line(0));
    EXPECT_EQ(shown_, status_line(0));
    EXPECT_TRUE(echo_is_on(terminal_)) << each;
    end_shell();
    EXPECT_EQ(dir_.read_raw("stderr"), ACTIVATED);
    EXPECT_EQ(dir_.read_raw("lines"), "bg\nfg\n\nexit\n") << each;
    dir_.write("lines", "");
  }
}

// SIGSTOP leaves no time for anything, but there is a way back.
TEST_F(prompt, is_shown_again_after_a_stop_that_nobody_can_catch) {
  start();
  kill(-job_, SIGSTOP);
  await(status_line(128 + SIGSTOP));
  type(terminal_, "stty echo\n");
  await(status_line(0));
  type(terminal_, "fg\n");
  await("fg\r\n" + PROMPT);
  EXPECT_FALSE(echo_is_on(terminal_));
  type(terminal_, RIGHT);
  await(status_line(0));
  EXPECT_EQ(dir_.read_raw("stderr"), ACTIVATED);
}

TEST_F(prompt, ignored_signals_stay_ignored) {
  start("trap '' HUP INT QUIT USR1");
  type(terminal_, "secret of ");
  for (const int each : {SIGHUP, SIGINT, SIGQUIT, SIGUSR1}) kill(-job_, each);
  type(terminal_, "compat\n");
  await(status_line(0));
  EXPECT_EQ(dir_.read_raw("stderr"), ACTIVATED);
}

}  // namespace
