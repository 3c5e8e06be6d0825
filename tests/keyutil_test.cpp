#include "server/misc/keyutil.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/hex.h"

namespace {

// How many released blocks still held the watched bytes.
std::string watched;
int released_with_watched = 0;

}  // namespace

// The linker leads the program's own calls of free here.
extern "C" void __real_free(void* memory);
extern "C" void __wrap_free(void* memory) {
  const auto* bytes = static_cast<const char*>(memory);
  if (bytes != nullptr && !watched.empty() &&
      std::string_view(bytes, malloc_usable_size(memory)).find(watched) !=
          std::string_view::npos) {
    ++released_with_watched;
  }
  __real_free(memory);
}

namespace {

// Two keys and their check values, and one key in three parts.
constexpr const char* KEY_16 = "000102030405060708090a0b0c0d0e0f";
constexpr const char* CHECK_16 = "1ac1ef01e96caf1be0d329331a4fc2a8";
constexpr const char* KEY_32 =
    "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
constexpr const char* CHECK_32 = "b4ffcb23737cec315a4a4d1aa2a620ce";
constexpr const char* PART_A = KEY_16;
constexpr const char* PART_B = "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf";
constexpr const char* PART_C = "00112233445566778899aabbccddeeff";
constexpr const char* CHECK_ABC = "8782ed5f786f8b26bdec1cf90c235825";

constexpr const char* ACTIVATED = "Master key activated";
constexpr const char* INCOMPLETE = "Master key part added, key is incomplete";
constexpr const char* ZEROS = "00000000000000000000000000000000";

key_buffer buffer_of(const char* hex, std::uint32_t type = MKEY_TYPE_CHECK) {
  key_buffer result;
  EXPECT_TRUE(result.assign(type, from_hex(hex)));
  return result;
}

// Adds a key and returns what the store has to say; a failure begins with '!'.
std::string add(const char* check, std::uint32_t type, const char* key) {
  const char* message = "untouched";
  const int result =
      ko_enc_mkey_add_key(buffer_of(check), buffer_of(key, type), &message);
  return (result == 0 ? "" : "!") +
         std::string(message != nullptr ? message : "nothing");
}

// The store's contents in a line: "id state type size time", comma-separated.
std::string contents() {
  std::string text;
  mkey_info info = {};
  for (int i = 0; ko_enc_mkey_enum(i, info) == 1; ++i) {
    if (i > 0) text += ", ";
    for (const std::uint32_t field :
         {info.id, info.state, info.type, info.sz, info.creation_time}) {
      text += std::to_string(field) + " ";
    }
    text.pop_back();
  }
  return text;
}

// What becomes of `input`, or "0" or "-1" where the store says so.
std::string crypt(const char* check, const char* input, bool encrypt) {
  std::vector<std::uint8_t> data = from_hex(input);
  const int result = ko_enc_mkey_crypt(from_hex(check), data, encrypt);
  if (result == 1) return to_hex(data);
  EXPECT_EQ(to_hex(data), input);
  return std::to_string(result);
}

class key_store : public testing::Test {
 protected:
  void SetUp() override {
    global_time_stamp = 0;
    EXPECT_EQ(ko_enc_mkey_init(), 0);
  }
  void TearDown() override { ko_enc_mkey_exit(); }
};

TEST_F(key_store, adds_keys_and_parts) {
  const struct {
    const char* check;
    std::uint32_t type;
    const char* key;
    const char* message;
  } steps[] = {
      {CHECK_16, 2, KEY_16, ACTIVATED},
      {CHECK_16, 1, PART_B, "!Master key already present"},
      {CHECK_ABC, 2, PART_A, INCOMPLETE},
      {CHECK_ABC, 1, PART_B, "!Inconsistent master key part"},
      {CHECK_ABC, 2, KEY_32, "!Inconsistent master key part"},
      {CHECK_ABC, 2, PART_B, INCOMPLETE},
      {CHECK_ABC, 2, PART_B, "!Master key part already present"},
      {CHECK_32, 9, KEY_32, ACTIVATED},
      {KEY_32, 2, KEY_16, "!nothing"},  // not a check value
  };
  for (const auto& step : steps) {
    EXPECT_EQ(add(step.check, step.type, step.key), step.message);
  }
  EXPECT_EQ(contents(), "1 0 2 16 0, 2 1 2 16 0, 3 0 9 32 0");
  EXPECT_EQ(add(CHECK_ABC, 2, PART_C),
            "Partial master key added, master key activated");
  EXPECT_EQ(contents(), "1 0 2 16 0, 2 0 2 16 0, 3 0 9 32 0");
  mkey_info info = {};
  EXPECT_EQ(ko_enc_mkey_enum(-1, info), -1);
  EXPECT_EQ(ko_enc_mkey_enum(1, info), 1);
  EXPECT_EQ(to_hex(info.mcheck), CHECK_ABC);
}

TEST_F(key_store, uses_xor_and_aes_keys) {
  constexpr const char* DATA =
      "404142434445464748494a4b4c4d4e4f505152535455565758595a5b5c5d5e5f";
  const struct {
    const char* check;
    std::uint32_t type;
    const char* key;
    const char* encrypted;
  } cases[] = {
      {CHECK_16, MKEY_TYPE_XOR, KEY_16,
       "4040404040404040404040404040404050505050505050505050505050505050"},
      {CHECK_16, MKEY_TYPE_AES, KEY_16,
       "f8cc627fec6a3dade8175d22942247ce6386cb2061cb7ee25f7a9f61bfbb54ee"},
      {CHECK_32, MKEY_TYPE_AES, KEY_32,
       "d195619bf6844ef67a4c7ae67b61f17db22846f9b6957d502308afd2abc11e48"},
  };
  for (const auto& c : cases) {
    ko_enc_mkey_exit();
    EXPECT_EQ(add(c.check, c.type, c.key), ACTIVATED);
    // Twice: the stored check value must not have been used up.
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(crypt(c.check, DATA, true), c.encrypted);
      EXPECT_EQ(crypt(c.check, c.encrypted, false), DATA);
    }
  }
}

TEST_F(key_store, refuses_what_it_cannot_use) {
  constexpr const char* KEY_24 =
      "000102030405060708090a0b0c0d0e0f1011121314151617";
  constexpr const char* CHECK_24 = "8bd9c8efbbac58748951ca5a45cfd386";
  add(CHECK_16, 7, KEY_16);
  add(CHECK_ABC, 2, PART_A);
  EXPECT_EQ(crypt(CHECK_16, ZEROS, false), "-1");   // type
  EXPECT_EQ(crypt(CHECK_ABC, ZEROS, false), "0");   // incomplete
  EXPECT_EQ(crypt(CHECK_32, ZEROS, false), "0");    // unknown
  EXPECT_EQ(crypt(CHECK_16, KEY_24, false), "-1");  // length of the data
  EXPECT_EQ(crypt(KEY_32, ZEROS, false), "-1");     // of the check value
  for (const std::uint32_t type : {MKEY_TYPE_XOR, MKEY_TYPE_AES}) {
    ko_enc_mkey_exit();
    EXPECT_EQ(add(CHECK_24, type, KEY_24), ACTIVATED);
    EXPECT_EQ(crypt(CHECK_24, ZEROS, false), "-1");  // of the key
  }
}

TEST_F(key_store, locates_and_removes_keys) {
  add(CHECK_16, 1, KEY_16);
  add(CHECK_ABC, 2, PART_A);
  std::unique_ptr<key_buffer> found;
  EXPECT_EQ(ko_enc_mkey_locate(buffer_of(CHECK_16), nullptr), 1);
  ASSERT_EQ(ko_enc_mkey_locate(buffer_of(CHECK_16), &found), 1);
  EXPECT_EQ(found->type, 1U);
  EXPECT_EQ(to_hex(found->data.bytes()), KEY_16);
  EXPECT_EQ(ko_enc_mkey_locate(buffer_of(CHECK_ABC), &found), 0);
  EXPECT_EQ(found, nullptr);

  add(CHECK_32, 2, KEY_32);
  EXPECT_EQ(ko_enc_mkey_del(buffer_of(CHECK_ABC, 1)), -1);
  EXPECT_EQ(ko_enc_mkey_del(buffer_of(CHECK_ABC)), 1);
  EXPECT_EQ(ko_enc_mkey_del(buffer_of(CHECK_ABC)), 0);
  EXPECT_EQ(contents(), "1 0 1 16 0, 3 0 2 32 0");
  // Ids are not given again until the store is set up anew.
  ko_enc_mkey_exit();
  add(CHECK_16, 2, KEY_16);
  EXPECT_EQ(contents(), "4 0 2 16 0");
  ko_enc_mkey_init();
  add(CHECK_16, 2, KEY_16);
  EXPECT_EQ(contents(), "1 0 2 16 0");
}

TEST_F(key_store, expires_incomplete_keys) {
  add(CHECK_ABC, 2, PART_A);
  add(CHECK_16, 2, KEY_16);
  global_time_stamp = 10;
  add(CHECK_32, 2, PART_B);
  const std::pair<std::uint32_t, const char*> steps[] = {
      {0xffffffff, "1 1 2 16 0, 2 0 2 16 0, 3 1 2 16 10"},
      {11, "1 1 2 16 0, 2 0 2 16 0, 3 1 2 16 10"},
      {10, "2 0 2 16 0, 3 1 2 16 10"},
      {0, "2 0 2 16 0"}};
  for (const auto& [max_age, left] : steps) {
    ko_enc_mkey_expire_incomplete(max_age);
    EXPECT_EQ(contents(), left) << max_age;
  }
}

}  // namespace

// Neither the key nor a part of it stands in any block that is given back.
TEST_F(key_store, wipes_what_it_releases) {
  for (const char* secret : {PART_A, PART_B}) {
    const auto bytes = from_hex(secret);
    watched.assign(bytes.begin(), bytes.end());
    released_with_watched = 0;
    ko_enc_mkey_init();
    add(CHECK_ABC, MKEY_TYPE_XOR, PART_A);
    add(CHECK_ABC, MKEY_TYPE_XOR, PART_B);
    add(CHECK_ABC, MKEY_TYPE_XOR, PART_B);
    ko_enc_mkey_exit();
    watched.clear();
    EXPECT_EQ(0, released_with_watched);
  }
}
