// The unlock as a user meets it: a probe program on a pseudo-terminal, with the
// keys of a key file that the openssl command has made.

#include <pty.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/keys/terminal.h"
#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

// "a master key of thirty-two chars"
const std::string STORED =
    "1 state=0 type=1 crypt=1:"
    "61206d6173746572206b6579206f66207468697274792d74776f206368617273\n";
const std::string ACTIVATED = "compat: Master key activated\n";
const std::string UNLOCKED = ACTIVATED + STORED + "result 0\n";
const std::string RIGHT = "secret of compat\n";
const std::string BAD = "Bad passphrase -- failed\n";

struct outcome {
  std::string text;  // standard error, then standard output
  std::string tty;
  int status = -1;
};

class mkey : public testing::Test {
 protected:
  mkey() { EXPECT_EQ(shell(MAKE_KEY_FILE " >kodb.key"), 0); }

  int shell(const std::string& command) const {
    // NOLINTNEXTLINE(cert-env33-c)
    return std::system(("cd " + dir_.path("") + " && " + command).c_str());
  }

  // Runs the probe on a terminal of its own. A prompt is answered by a text, or
  // by SIGTERM when the text is empty, or by SIGUSR1 and a text when it begins
  // with '!'. Echo must be off at every prompt and on in the end.
  outcome run(const char* ids, const std::vector<std::string>& replies,
              const char* files = nullptr,
              const std::string& program = MKEY_PROBE) const {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
      alarm(30);  // ends a probe whose prompt is not answered
      for (const char* name : {"KO_MKEYID", "KO_MKEYFILE"}) unsetenv(name);
      if (ids != nullptr) setenv("KO_MKEYID", ids, 1);
      if (files != nullptr) setenv("KO_MKEYFILE", files, 1);
      const std::string command =
          "cd " + dir_.path("") + " && exec " + program + " >stdout 2>stderr";
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(99);
    }
    outcome result;
    for (std::string reply : replies) {
      if (!await_prompt(terminal, result.tty)) break;
      EXPECT_FALSE(echo_is_on(terminal));
      if (reply.empty()) kill(child, SIGTERM);
      if (reply.starts_with('!')) {
        kill(child, SIGUSR1);
        reply.erase(0, 1);
      }
      type(terminal, reply);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    EXPECT_TRUE(echo_is_on(terminal));
    close(terminal);
    result.text = dir_.read_raw("stderr") + dir_.read_raw("stdout");
    return result;
  }

  void expect_run(const char* ids, const std::vector<std::string>& replies,
                  int status, const std::string& text,
                  const char* files = nullptr) const {
    const outcome result = run(ids, replies, files);
    EXPECT_EQ(result.text, text);
    EXPECT_EQ(result.status, status) << text;
  }

  test_directory dir_;
};

TEST_F(mkey, every_cipher_unlocks_the_key) {
  for (const std::string id :
       {"compat", "des-pad", "aes128", "aes256", "aes128-pad", "aes256-pad"}) {
    const outcome result = run((" :" + id).c_str(), {"secret of " + id + "\n"});
    EXPECT_EQ(result.text,
              id + ": Master key activated\n" + STORED + "result 0\n");
    EXPECT_EQ(result.tty, "Enter passphrase for " + id + ":\r\n");
  }
  expect_run(
      "aes", {"secret of aes\n"}, 0,
      "aes: Master key activated\n1 state=0 type=2 crypt=1:"
      "dd64fb99a60dffb7750175f7f12bf49accd2ab6f18f4e61e911bec19df3cd8a2\n"
      "result 0\n");
}

TEST_F(mkey, wrong_passphrases) {
  expect_run("compat", {"wrong\n", "\n", RIGHT}, 0, BAD + BAD + UNLOCKED);
  // With padding, the last step of the decryption fails.
  const outcome result = run("aes128-pad", {"wrong\n"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.text.starts_with("Decrypt failed")) << result.text;
  EXPECT_NE(result.text.find("bad decrypt"), std::string::npos) << result.text;
}

TEST_F(mkey, overlong_replies_are_cut) {
  const std::string id(245, '0');
  for (const char* end : {"\n", "the rest\n"}) {
    expect_run((id + ":compat").c_str(), {"secret of " + id + end, RIGHT}, 0,
               id + ": Master key activated\n" +
                   "compat: Master key already present\n"
                   "Failed to add master key compat\n" +
                   STORED + "result 1\n");
  }
}

TEST_F(mkey, parts) {
  const std::string first = "one: Master key part added, key is incomplete\n";
  expect_run("one", {"secret of one\n"}, 0, first + "result 0\n");
  expect_run("one:TWO", {"secret of one\n", "secret of two\n"}, 0,
             first + "TWO: Partial master key added, master key activated\n" +
                 STORED + "result 0\n");
}

TEST_F(mkey, end_of_input_and_signals) {
  expect_run("compat", {"\x04", RIGHT}, 0, UNLOCKED);
  expect_run("compat", {"\x04", "\x04"}, 1,
             "Unable to read passphrase -- giving up\n");
  expect_run("compat", {"wrong\n", "\x03"}, 128 + SIGINT,
             BAD + "Trapped signal #2 -- exiting\n");
  expect_run("compat", {"wrong\n", ""}, 128 + SIGTERM,
             BAD + "Trapped signal #15 -- exiting\n");
}

// "found" is how often in guarded memory, and elsewhere: the halves of the
// master key, a passphrase, and the key made from one.
TEST_F(mkey, secrets_are_in_guarded_memory_only_and_no_longer_than_needed) {
  const outcome result =
      run("aes:aes256:compat",
          {"!wrong\n", "!secret of aes\n", "!secret of aes256\n"}, nullptr,
          MKEY_PROBE " -scan");
  EXPECT_EQ(result.text,
            "found 0/0 0/0 0/0 0/0\n" + BAD +
                "found 0/0 0/0 0/0 0/0\n"
                "aes: Master key activated\n"
                "found 1/0 1/0 0/0 0/0\n"
                "aes256: Master key already present\n"
                "Failed to add master key aes256\n"
                "found 1/0 1/0 0/0 0/0\n"
                "core 0 0 dumpable 0\n"
                "1 state=0 type=2 crypt=1:"
                "dd64fb99a60dffb7750175f7f12bf49accd2ab6f18f4e61e911bec19df3cd8"
                "a2\nresult 1\n");
}

TEST_F(mkey, key_files_are_opened_for_each_id_in_turn) {
  dir_.write("empty", "");
  const std::pair<const char*, std::string> cases[] = {
      {"empty:kodb.key", "Key none not found in key file\n"},
      {"kodb.key:no",
       "no: No such file or directory\nUnable to open key file\n"},
      {"kodb.key:/", "/: Is a directory\nUnable to read key file\n"},
  };
  for (const auto& [files, text] : cases) {
    expect_run("compat:none", {RIGHT}, 1, ACTIVATED + text, files);
  }
}

TEST_F(mkey, lists_that_are_refused) {
  const std::string none = "No valid key file or key id specified\nresult 1\n";
  expect_run(nullptr, {}, 0, "No master key id specified\nresult 1\n");
  expect_run(" : ", {}, 0, none);
  expect_run("a", {}, 0, none, "");
  expect_run("1:2:3:4:5:6:7", {}, 1, "Number of key id exceeds maximum (6)\n");
  expect_run("1", {}, 1, "Number of key files exceeds maximum (3)\n",
             "1:2:3: 4");
}

// What the program itself does with -M.
TEST_F(mkey, keys_and_decrypted_trails_are_not_given_away) {
  dir_.write("log", log_builder().end().bytes());
  EXPECT_EQ(shell("cp kodb.key copy && ln -s kodb.key link && umask 022 && "
                  "touch there && chmod 644 there"),
            0);
  const std::string same = " and audit output are the same file\n";
  const struct {
    const char* files;
    std::string output;
    std::string text;
  } cases[] = {
      {nullptr, "link", "kodb.key: key file" + same},
      {"copy: kodb.key", "kodb.key", "kodb.key: key file" + same},
      {nullptr, "trail", ""},
      {nullptr, "there", ""},
  };
  for (const auto& test : cases) {
    const outcome result =
        run("compat", {RIGHT}, test.files,
            CHRONEX_PROGRAM " -M -o " + test.output + " log");
    EXPECT_EQ(result.text, ACTIVATED + test.text);
    EXPECT_EQ(result.status, test.text.empty() ? 0 : 1);
  }
  EXPECT_EQ(shell("cmp kodb.key copy"), 0);
  EXPECT_EQ(shell("stat -c %a trail there >modes"), 0);
  EXPECT_EQ(dir_.read_raw("modes"), "600\n644\n");
  // A key file that is not read is a file like any other.
  EXPECT_EQ(shell(CHRONEX_PROGRAM " -o kodb.key log"), 0);
}

TEST_F(mkey, without_a_terminal) {
  const std::string prompt = "Enter passphrase for compat:\n";
  dir_.write("in", "wrong\nsecret of compat\r\n");
  const std::string probe = "KO_MKEYID=compat setsid -w " MKEY_PROBE " <in ";
  EXPECT_NE(shell(probe + "2>err"), 0);
  EXPECT_EQ(dir_.read_raw("err"), "Unable to open tty -- failed\n");
  EXPECT_EQ(shell(probe + "-stdio >out 2>err"), 0);
  EXPECT_EQ(dir_.read_raw("err"), prompt + BAD + prompt + ACTIVATED);
}

TEST_F(mkey, sections_that_are_refused) {
  expect_run("short", {"any passphrase\n"}, 0,
             "Bad key size: 24 -- failed\nresult 1\n");
  const std::string sum = "cksum=00112233445566778899aabbccddeeff\n";
  const std::string key = "key" + sum.substr(5);
  const std::string part = "keyp=00\ncksump" + sum.substr(5);
  const std::string failed = "Failed to read key file\n";
  const std::pair<std::string, std::string> cases[] = {
      {sum, "Inconsistent key file (p:0111)\n"},
      {key, "Inconsistent key file (p:1011)\n"},
      {sum + "keyp=00\n", "Inconsistent key file (p:0101)\n"},
      {sum + "cksump=00\n", "Inconsistent key file (p:0110)\n"},
      {key + sum + "cksum=00\n", "Inconsistent key file (p:0011)\n"},
      {sum + "key=" + std::string(30, '0'), "Inconsistent key file (s:15)\n"},
      {sum + key + part, "Inconsistent key file (s:1)\n"},
      {sum + key + "keyt=DES\n", "Inconsistent key file (t:DES128)\n"},
      {sum + "key=00AA\n", "key: Bad hex value" + failed},
      {"keyp=1GG\ncksump=GG\n",
       "3: Bad entry value sizecksump: Bad hex value" + failed},
      {"key=" + std::string(98, '0'), "98: Bad entry value size" + failed},
  };
  for (const auto& [section, text] : cases) {
    dir_.write("kodb.key", "[a]\n" + section);
    expect_run("a", {}, 1, text);
  }
  for (const std::string cipher :
       {"none", "HMAC-SHA1:aes128-cbc:01:1", "hmac-sha1:aes192-cbc:01:1",
        "hmac-sha1:aes128-cbc-padded:01:1", "hmac-sha1:aes128-cbc:01",
        "hmac-sha1:aes128-cbc::1", "hmac-sha1:aes128-cbc:AA:1",
        "hmac-sha1:aes128-cbc:010203040506070809:1",
        "hmac-sha1:aes128-cbc:01:0", "hmac-sha1:aes128-cbc:01:-1"}) {
    dir_.write("kodb.key", "[a]\n" + sum + key + "cipher=" + cipher);
    expect_run("a", {}, 1, cipher + ": Unsupported cipher argument\n");
  }
}

}  // namespace
