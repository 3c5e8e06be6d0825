// The unlock as a user meets it: a probe program on a pseudo-terminal, with the
// keys of a key file that the openssl command has made.

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

// "a master key of thirty-two chars"
#define KEY_HEX \
  "61206d6173746572206b6579206f66207468697274792d74776f206368617273"
constexpr const char* XOR_KEY_STORED = "1 state=0 type=1 crypt=1:" KEY_HEX "\n";
constexpr const char* BAD = "Bad passphrase -- failed\n";

// How a prompt is answered: by text, or by a signal when the text is empty.
struct reply {
  std::string text;
  int signal = 0;
};

struct outcome {
  std::string out, err, tty;
  int status = -1;
};

std::string read_file(const char* path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void write_file(const char* path, const std::string& text) {
  std::ofstream(path) << text;
}

int shell(const char* command) {
  return std::system(command);  // NOLINT(cert-env33-c)
}

bool echo_is_on(int terminal) {
  termios settings{};
  EXPECT_EQ(tcgetattr(terminal, &settings), 0);
  return (settings.c_lflag & ECHO) != 0;
}

// Reads what the terminal shows up to a line that asks for a reply.
bool await_prompt(int terminal, std::string& shown) {
  std::string text;
  pollfd wait{.fd = terminal, .events = POLLIN, .revents = 0};
  while (!text.ends_with(":\r\n") && !text.ends_with("again\r\n")) {
    std::array<char, 512> buffer{};
    if (poll(&wait, 1, 20000) <= 0) return false;
    const ssize_t size = read(terminal, buffer.data(), buffer.size());
    if (size <= 0) return false;
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  shown += text;
  return true;
}

[[noreturn]] void exec_probe(const char* ids, const char* files,
                             const char* secret) {
  unsetenv("KO_MKEYID");
  unsetenv("KO_MKEYFILE");
  if (ids != nullptr) setenv("KO_MKEYID", ids, 1);
  if (files != nullptr) setenv("KO_MKEYFILE", files, 1);
  if (std::freopen("stdout", "w", stdout) == nullptr ||
      std::freopen("stderr", "w", stderr) == nullptr) {
    _exit(99);
  }
  alarm(30);  // ends a probe whose prompt is not answered
  execl(MKEY_PROBE, MKEY_PROBE, secret, nullptr);
  _exit(99);
}

// Runs the probe on a terminal of its own. Echo must be off at every prompt and
// on in the end.
outcome run(const char* ids, const std::vector<reply>& replies = {},
            const char* files = nullptr, const char* secret = nullptr) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) exec_probe(ids, files, secret);
  outcome result;
  for (const reply& each : replies) {
    if (!await_prompt(terminal, result.tty)) break;
    EXPECT_FALSE(echo_is_on(terminal));
    if (each.text.empty()) kill(child, each.signal);
    EXPECT_GE(write(terminal, each.text.data(), each.text.size()), 0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  EXPECT_TRUE(echo_is_on(terminal));
  close(terminal);
  result.out = read_file("stdout");
  result.err = read_file("stderr");
  return result;
}

class mkey : public testing::Test {
 protected:
  mkey() : dir_(testing::TempDir() + "mkey." + std::to_string(getpid())) {
    std::filesystem::create_directory(dir_);
    std::filesystem::current_path(dir_);
    EXPECT_EQ(shell(MAKE_KEY_FILE " >kodb.key"), 0);
  }
  ~mkey() override {
    std::filesystem::current_path("/");
    std::filesystem::remove_all(dir_);
  }
  std::string dir_;
};

TEST_F(mkey, every_cipher_unlocks_the_key) {
  for (const std::string id :
       {"compat", "des-pad", "aes128", "aes128-pad", "aes256", "aes256-pad"}) {
    const outcome result =
        run((" :" + id).c_str(), {{"secret of " + id + "\n"}});
    EXPECT_EQ(result.out, XOR_KEY_STORED + std::string("result 0\n"));
    EXPECT_EQ(result.err, id + ": Master key activated\n");
    EXPECT_EQ(result.tty, "Enter passphrase for " + id + ":\r\n");
  }
  EXPECT_EQ(run("aes", {{"secret of aes\n"}}).out,
            "1 state=0 type=2 crypt=1:dd64fb99a60dffb7750175f7f12bf49accd2ab6f1"
            "8f4e61e911bec19df3cd8a2\nresult 0\n");
}

TEST_F(mkey, wrong_passphrases) {
  const std::string activated = "compat: Master key activated\n";
  EXPECT_EQ(run("compat", {{"wrong\n"}, {"\n"}, {"secret of compat\n"}}).err,
            BAD + (BAD + activated));
  // With padding, the last step of the decryption fails.
  const outcome result = run("aes128-pad", {{"wrong\n"}});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("Decrypt failed")) << result.err;
  EXPECT_NE(result.err.find("bad decrypt"), std::string::npos) << result.err;
}

TEST_F(mkey, overlong_replies_are_cut) {
  const std::string id(245, '0');
  for (const char* end : {"\n", "the rest\n"}) {
    const outcome result =
        run((id + ":compat").c_str(),
            {{"secret of " + id + end}, {"secret of compat\n"}});
    EXPECT_EQ(result.err, id + ": Master key activated\n"
                               "compat: Master key already present\n"
                               "Failed to add master key compat\n");
    EXPECT_EQ(result.out, XOR_KEY_STORED + std::string("result 1\n"));
  }
}

TEST_F(mkey, parts) {
  const std::string first = "one: Master key part added, key is incomplete\n";
  outcome result = run("one:TWO", {{"secret of one\n"}, {"secret of two\n"}});
  EXPECT_EQ(result.out, XOR_KEY_STORED + std::string("result 0\n"));
  EXPECT_EQ(result.err,
            first + "TWO: Partial master key added, master key activated\n");
  result = run("one", {{"secret of one\n"}});
  EXPECT_EQ(result.out, "result 0\n");
  EXPECT_EQ(result.err, first);
}

TEST_F(mkey, key_files_are_opened_for_each_id_in_turn) {
  const std::string activated = "compat: Master key activated\n";
  write_file("empty", "");
  const struct {
    const char* files;
    std::string err;
  } cases[] = {
      {"empty:kodb.key", "Key none not found in key file\n"},
      {"kodb.key:no",
       "no: No such file or directory\nUnable to open key file\n"},
      {"kodb.key:/", "/: Is a directory\nUnable to read key file\n"},
  };
  for (const auto& each : cases) {
    const outcome result =
        run("compat:none", {{"secret of compat\n"}}, each.files);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, activated + each.err);
  }
}

TEST_F(mkey, end_of_input) {
  const outcome result = run("compat", {{"\x04"}, {"secret of compat\n"}});
  EXPECT_EQ(result.err, "compat: Master key activated\n");
  EXPECT_EQ(result.tty,
            "Enter passphrase for compat:\r\n"
            "Unable to read passphrase -- try again\r\n");
  EXPECT_EQ(result.status, 0);
  const outcome failed = run("compat", {{"\x04"}, {"\x04"}});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.err, "Unable to read passphrase -- giving up\n");
}

TEST_F(mkey, signals_at_the_prompt) {
  for (const reply& each : {reply{"\x03", SIGINT}, reply{"", SIGTERM}}) {
    const outcome result = run("compat", {{"wrong\n"}, each});
    EXPECT_EQ(result.status, 128 + each.signal);
    EXPECT_EQ(result.err, std::string(BAD) + "Trapped signal #" +
                              std::to_string(each.signal) + " -- exiting\n");
  }
}

TEST_F(mkey, without_a_terminal) {
  setenv("KO_MKEYID", "compat", 1);
  const std::string prompt = "Enter passphrase for compat:\n";
  write_file("in", "wrong\nsecret of compat\r\n");
  EXPECT_NE(shell("setsid -w " MKEY_PROBE " <in 2>err"), 0);
  EXPECT_EQ(read_file("err"), "Unable to open tty -- failed\n");
  EXPECT_EQ(shell("setsid -w " MKEY_PROBE " -stdio <in >out 2>err"), 0);
  EXPECT_EQ(read_file("err"),
            prompt + BAD + prompt + "compat: Master key activated\n");
}

TEST_F(mkey, no_secret_stays_in_memory) {
  for (const std::string id : {"compat", "aes128-pad"}) {
    // The probe undoes the change; it must not see the secret itself.
    std::string secret = "secret of " + id;
    const reply typed{secret + "\n"};
    for (char& c : secret) c = static_cast<char>(c ^ 1);
    EXPECT_EQ(run(id.c_str(), {typed}, nullptr, secret.c_str()).out,
              XOR_KEY_STORED + std::string("result 0\nsecret in memory: 0\n"));
  }
}

TEST_F(mkey, lists_that_are_refused) {
  const struct {
    const char* ids;
    const char* files;
    int status;
    const char* err;
  } cases[] = {
      {nullptr, nullptr, 0, "No master key id specified\n"},
      {"", nullptr, 0, "No valid key file or key id specified\n"},
      {" : ", nullptr, 0, "No valid key file or key id specified\n"},
      {"a", "", 0, "No valid key file or key id specified\n"},
      {"1:2:3:4:5:6:7", nullptr, 1, "Number of key id exceeds maximum (6)\n"},
      {"1", "1:2:3: 4", 1, "Number of key files exceeds maximum (3)\n"},
  };
  for (const auto& each : cases) {
    const outcome result = run(each.ids, {}, each.files);
    EXPECT_EQ(result.status, each.status) << each.err;
    EXPECT_EQ(result.err, each.err);
    EXPECT_EQ(result.out, each.status == 0 ? "result 1\n" : "");
  }
}

TEST_F(mkey, sections_that_are_refused) {
  const std::string sum = "cksum=00112233445566778899aabbccddeeff\n";
  const std::string key = "key" + sum.substr(5);
  const std::string failed = "Failed to read key file\n";
  const struct {
    std::string section;
    std::string err;
  } cases[] = {
      {sum, "Inconsistent key file (p:0111)\n"},
      {key, "Inconsistent key file (p:1011)\n"},
      {sum + "keyp=00\n", "Inconsistent key file (p:0101)\n"},
      {sum + "cksump=00\n", "Inconsistent key file (p:0110)\n"},
      {key + sum + "cksum=00\n", "Inconsistent key file (p:0011)\n"},
      {sum + "key=" + std::string(30, '0'), "Inconsistent key file (s:15)\n"},
      {sum + key + "keyp=00\ncksump" + sum.substr(5),
       "Inconsistent key file (s:1)\n"},
      {sum + key + "keyt=DES\n", "Inconsistent key file (t:DES128)\n"},
      {sum + "key=00AA\n", "key: Bad hex value" + failed},
      {"keyp=1GG\ncksump=GG\n",
       "3: Bad entry value sizecksump: Bad hex value" + failed},
      {"key=" + std::string(98, '0'), "98: Bad entry value size" + failed},
  };
  for (const auto& each : cases) {
    write_file("kodb.key", "[a]\n" + each.section);
    EXPECT_EQ(run("a").err, each.err) << each.section;
  }
  const std::string section = "[a]\n" + sum + key + "cipher=";
  for (const char* cipher :
       {"none", "HMAC-SHA1:aes128-cbc:01:1", "hmac-sha1:aes192-cbc:01:1",
        "hmac-sha1:aes128-cbc-padded:01:1", "hmac-sha1:aes128-cbc:01",
        "hmac-sha1:aes128-cbc::1", "hmac-sha1:aes128-cbc:AA:1",
        "hmac-sha1:aes128-cbc:010203040506070809:1",
        "hmac-sha1:aes128-cbc:01:0", "hmac-sha1:aes128-cbc:01:-1"}) {
    write_file("kodb.key", section + cipher);
    EXPECT_EQ(run("a").err,
              std::string(cipher) + ": Unsupported cipher argument\n");
  }
}

TEST_F(mkey, a_decrypted_key_of_another_size_is_refused) {
  const outcome result = run("short", {{"any passphrase\n"}});
  EXPECT_EQ(result.err, "Bad key size: 24 -- failed\n");
  EXPECT_EQ(result.out, "result 1\n");
}

}  // namespace
