#include "server/misc/keyutil.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<std::uint8_t>;
using byte_span = std::span<const std::uint8_t>;

// N bytes: first, first + step, ...
template <std::size_t N>
constexpr std::array<std::uint8_t, N> counting(unsigned first, unsigned step) {
  std::array<std::uint8_t, N> result = {};
  for (unsigned i = 0; i < N; ++i) {
    result[i] = static_cast<std::uint8_t>(first + i * step);
  }
  return result;
}

bytes from_hex(const std::string& text) {
  bytes result;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    result.push_back(
        static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return result;
}

// Two keys and their check values, and one key in three parts.
constexpr auto KEY_16 = counting<16>(0, 1);
constexpr std::array<std::uint8_t, 16> CHECK_16 = {
    0x1a, 0xc1, 0xef, 0x01, 0xe9, 0x6c, 0xaf, 0x1b,
    0xe0, 0xd3, 0x29, 0x33, 0x1a, 0x4f, 0xc2, 0xa8};
constexpr auto KEY_32 = counting<32>(0, 1);
constexpr std::array<std::uint8_t, 16> CHECK_32 = {
    0xb4, 0xff, 0xcb, 0x23, 0x73, 0x7c, 0xec, 0x31,
    0x5a, 0x4a, 0x4d, 0x1a, 0xa2, 0xa6, 0x20, 0xce};
constexpr auto PART_A = KEY_16;
constexpr auto PART_B = counting<16>(0xa0, 1);
constexpr auto PART_C = counting<16>(0, 17);
constexpr std::array<std::uint8_t, 16> KEY_ABC = {
    0xa0, 0xb1, 0x82, 0x93, 0xe4, 0xf5, 0xc6, 0xd7,
    0x28, 0x39, 0x0a, 0x1b, 0x6c, 0x7d, 0x4e, 0x5f};
constexpr std::array<std::uint8_t, 16> CHECK_ABC = {
    0x87, 0x82, 0xed, 0x5f, 0x78, 0x6f, 0x8b, 0x26,
    0xbd, 0xec, 0x1c, 0xf9, 0x0c, 0x23, 0x58, 0x25};

const char* const ACTIVATED = "Master key activated";
const char* const PRESENT = "Master key already present";
const char* const INCOMPLETE = "Master key part added, key is incomplete";
const char* const COMPLETED = "Partial master key added, master key activated";
const char* const PART_PRESENT = "Master key part already present";
const char* const INCONSISTENT = "Inconsistent master key part";
const char* const NO_MEMORY = "Memory allocation failed";

// How many allocations succeed until one fails; negative: all do.
int allocations_left = -1;

bool may_allocate() { return allocations_left < 0 || allocations_left-- > 0; }

// Looks at released memory for key bytes while it is on.
bool is_watching = false;
int blocks_released = 0;
int secrets_released = 0;

void look_at(void* memory) {
  if (!is_watching || memory == nullptr) return;
  if (malloc_usable_size(memory) < 16) return;
  ++blocks_released;
  for (const auto* secret : {&PART_A, &PART_B, &PART_C, &KEY_ABC}) {
    if (std::memcmp(memory, secret->data(), 16) == 0) ++secrets_released;
  }
}

}  // namespace

// The linker leads the program's own calls of malloc and free here.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void __real_free(void* memory);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void __wrap_free(void* memory);

void* __wrap_malloc(std::size_t size) {
  return may_allocate() ? __real_malloc(size) : nullptr;
}

void __wrap_free(void* memory) {
  look_at(memory);
  __real_free(memory);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return may_allocate() ? ::operator new(size) : nullptr;
}

namespace {

key_buffer make_buffer(std::uint32_t type, byte_span data) {
  key_buffer result;
  EXPECT_TRUE(result.assign(type, data));
  return result;
}

key_buffer check_value(byte_span data) {
  return make_buffer(MKEY_TYPE_CHECK, data);
}

// Adds a key and returns what the store has to say; a failure begins with '!'.
std::string add(byte_span check, std::uint32_t type, byte_span key) {
  const key_buffer mcheck = check_value(check);
  const key_buffer buffer = make_buffer(type, key);
  const char* message = "untouched";
  const int result = ko_enc_mkey_add_key(mcheck, buffer, &message);
  EXPECT_TRUE(result == 0 || result == -1);
  const std::string text = message != nullptr ? message : "nothing";
  return result == 0 ? text : "!" + text;
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
std::string crypt(byte_span check, byte_span input, bool encrypt) {
  bytes data(input.begin(), input.end());
  const int result = ko_enc_mkey_crypt(check, data, encrypt);
  if (result != 1) {
    EXPECT_TRUE(std::ranges::equal(data, input));
    return std::to_string(result);
  }
  return {data.begin(), data.end()};
}

std::string text_of(byte_span data) { return {data.begin(), data.end()}; }

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
    byte_span check;
    std::uint32_t type;
    byte_span key;
    std::string message;
  } steps[] = {
      {CHECK_16, 2, KEY_16, ACTIVATED},
      {CHECK_16, 2, KEY_16, std::string("!") + PRESENT},
      {CHECK_16, 1, PART_B, std::string("!") + PRESENT},
      {CHECK_ABC, 2, PART_A, INCOMPLETE},
      {CHECK_ABC, 2, PART_A, std::string("!") + PART_PRESENT},
      {CHECK_ABC, 1, PART_B, std::string("!") + INCONSISTENT},
      {CHECK_ABC, 2, KEY_32, std::string("!") + INCONSISTENT},
      {CHECK_ABC, 2, PART_B, INCOMPLETE},
      {CHECK_ABC, 2, PART_B, std::string("!") + PART_PRESENT},
      {CHECK_32, 9, KEY_32, ACTIVATED},
      {KEY_32, 2, KEY_16, "!nothing"},  // not a check value
  };
  for (std::size_t i = 0; i < std::size(steps); ++i) {
    EXPECT_EQ(add(steps[i].check, steps[i].type, steps[i].key),
              steps[i].message)
        << i;
  }
  EXPECT_EQ(contents(), "1 0 2 16 0, 2 1 2 16 0, 3 0 9 32 0");
  EXPECT_EQ(add(CHECK_ABC, 2, PART_C), COMPLETED);
  EXPECT_EQ(add(CHECK_ABC, 2, PART_C), std::string("!") + PRESENT);
  EXPECT_EQ(contents(), "1 0 2 16 0, 2 0 2 16 0, 3 0 9 32 0");
  const key_buffer wrong_type = make_buffer(1, CHECK_16);
  EXPECT_EQ(ko_enc_mkey_add_key(wrong_type, make_buffer(2, KEY_16), nullptr),
            -1);
  mkey_info info = {};
  EXPECT_EQ(ko_enc_mkey_enum(-1, info), -1);
  EXPECT_EQ(ko_enc_mkey_enum(1, info), 1);
  EXPECT_TRUE(std::ranges::equal(info.mcheck, CHECK_ABC));
}

TEST_F(key_store, uses_xor_and_aes_keys) {
  constexpr auto data_32 = counting<32>(64, 1);
  constexpr auto data_16 = counting<16>(64, 1);
  // 64 + i XOR i mod 16 for i from 0 to 31.
  bytes xored(32, 0x40);
  std::fill(xored.begin() + 16, xored.end(), std::uint8_t{0x50});

  EXPECT_EQ(add(CHECK_16, MKEY_TYPE_XOR, KEY_16), ACTIVATED);
  for (const bool encrypt : {true, false}) {
    EXPECT_EQ(crypt(CHECK_16, data_32, encrypt), text_of(xored));
    EXPECT_EQ(crypt(CHECK_16, data_16, encrypt), std::string(16, '\x40'));
  }

  const struct {
    byte_span check;
    byte_span key;
    const char* cipher_text;
  } aes_cases[] = {
      {CHECK_16, KEY_16,
       "f8cc627fec6a3dade8175d22942247ce6386cb2061cb7ee25f7a9f61bfbb54ee"},
      {CHECK_32, KEY_32,
       "d195619bf6844ef67a4c7ae67b61f17db22846f9b6957d502308afd2abc11e48"}};
  for (const auto& c : aes_cases) {
    static_cast<void>(ko_enc_mkey_del(check_value(c.check)));
    EXPECT_EQ(add(c.check, MKEY_TYPE_AES, c.key), ACTIVATED);
    const bytes cipher = from_hex(c.cipher_text);
    // Twice: the stored check value must not have been used up.
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(crypt(c.check, data_32, true), text_of(cipher));
      EXPECT_EQ(crypt(c.check, cipher, false), text_of(data_32));
    }
  }
}

TEST_F(key_store, refuses_what_it_cannot_use) {
  constexpr auto key_24 = counting<24>(0, 1);
  const bytes check_24 = from_hex("8bd9c8efbbac58748951ca5a45cfd386");
  const bytes data(16);
  add(CHECK_16, 7, KEY_16);
  add(CHECK_ABC, 2, PART_A);
  EXPECT_EQ(crypt(CHECK_16, data, false), "-1");       // type
  EXPECT_EQ(crypt(CHECK_ABC, data, false), "0");       // incomplete
  EXPECT_EQ(crypt(CHECK_32, data, false), "0");        // unknown
  EXPECT_EQ(crypt(CHECK_16, bytes(24), false), "-1");  // length of the data
  EXPECT_EQ(crypt(KEY_32, data, false), "-1");         // of the check value
  for (const std::uint32_t type : {MKEY_TYPE_XOR, MKEY_TYPE_AES}) {
    ko_enc_mkey_exit();
    EXPECT_EQ(add(check_24, type, key_24), ACTIVATED);
    EXPECT_EQ(crypt(check_24, data, false), "-1");
  }
  bytes some(16);
  EXPECT_DEATH(ko_enc_mkey_crypt({}, some, false), "mcheck_p");
  EXPECT_DEATH(ko_enc_mkey_crypt(some, {}, false), "key_p");
}

TEST_F(key_store, locates_and_removes_keys) {
  add(CHECK_16, 1, KEY_16);
  add(CHECK_ABC, 2, PART_A);
  std::unique_ptr<key_buffer> found;
  EXPECT_EQ(ko_enc_mkey_locate(check_value(CHECK_16), nullptr), 1);
  ASSERT_EQ(ko_enc_mkey_locate(check_value(CHECK_16), &found), 1);
  EXPECT_EQ(found->type, 1U);
  EXPECT_EQ(found->sz, 16U);
  EXPECT_TRUE(std::ranges::equal(found->data.bytes(), KEY_16));
  EXPECT_EQ(ko_enc_mkey_locate(check_value(CHECK_ABC), &found), 0);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(ko_enc_mkey_locate(check_value(KEY_32), &found), -1);
  EXPECT_EQ(ko_enc_mkey_locate(make_buffer(1, CHECK_16), &found), -1);

  add(CHECK_32, 2, KEY_32);
  EXPECT_EQ(ko_enc_mkey_del(make_buffer(1, CHECK_ABC)), -1);
  EXPECT_EQ(ko_enc_mkey_del(check_value(CHECK_ABC)), 1);
  EXPECT_EQ(ko_enc_mkey_del(check_value(CHECK_ABC)), 0);
  EXPECT_EQ(contents(), "1 0 1 16 0, 3 0 2 32 0");
  // Ids are not given again until the store is set up anew.
  add(CHECK_ABC, 2, PART_B);
  EXPECT_EQ(contents(), "1 0 1 16 0, 3 0 2 32 0, 4 1 2 16 0");
  ko_enc_mkey_exit();
  add(CHECK_16, 2, KEY_16);
  EXPECT_EQ(contents(), "5 0 2 16 0");
  ko_enc_mkey_init();
  EXPECT_EQ(contents(), "");
  add(CHECK_16, 2, KEY_16);
  EXPECT_EQ(contents(), "1 0 2 16 0");
}

TEST_F(key_store, expires_incomplete_keys) {
  add(CHECK_ABC, 2, PART_A);
  add(CHECK_16, 2, KEY_16);
  global_time_stamp = 10;
  add(CHECK_32, 2, PART_B);
  const struct {
    std::uint32_t max_age;
    const char* contents;
  } steps[] = {{0xffffffff, "1 1 2 16 0, 2 0 2 16 0, 3 1 2 16 10"},
               {11, "1 1 2 16 0, 2 0 2 16 0, 3 1 2 16 10"},
               {10, "2 0 2 16 0, 3 1 2 16 10"},
               {0, "2 0 2 16 0"}};
  for (const auto& step : steps) {
    ko_enc_mkey_expire_incomplete(step.max_age);
    EXPECT_EQ(contents(), step.contents) << step.max_age;
  }
  EXPECT_EQ(crypt(CHECK_ABC, bytes(16), false), "0");
}

// Repeats an addition with the first, second, ... allocation failing until it
// succeeds; returns the number of failures.
int add_with_failures(byte_span check, byte_span key, const char* success) {
  const key_buffer mcheck = check_value(check);
  const key_buffer buffer = make_buffer(2, key);
  const std::string before = contents();
  for (int failures = 0; failures < 20; ++failures) {
    const char* message = nullptr;
    allocations_left = failures;
    const int result = ko_enc_mkey_add_key(mcheck, buffer, &message);
    allocations_left = -1;
    if (result == 0) {
      EXPECT_STREQ(message, success);
      return failures;
    }
    EXPECT_STREQ(message, NO_MEMORY);
    EXPECT_EQ(contents(), before);
  }
  return -1;
}

TEST_F(key_store, stays_as_it_is_without_memory) {
  EXPECT_GT(add_with_failures(CHECK_16, KEY_16, ACTIVATED), 0);
  EXPECT_GT(add_with_failures(CHECK_ABC, PART_A, INCOMPLETE), 0);
  EXPECT_GT(add_with_failures(CHECK_ABC, PART_B, INCOMPLETE), 0);
  EXPECT_GT(add_with_failures(CHECK_ABC, PART_C, COMPLETED), 0);
  EXPECT_EQ(contents(), "1 0 2 16 0, 2 0 2 16 0");

  const key_buffer mcheck = check_value(CHECK_16);
  std::unique_ptr<key_buffer> found;
  for (const int failing : {0, 1}) {
    allocations_left = failing;
    EXPECT_EQ(ko_enc_mkey_locate(mcheck, &found), -1);
    EXPECT_EQ(found, nullptr);
  }
  allocations_left = -1;
  // The crypto library is loaded by now, so that the failure is the key's.
  EXPECT_NE(crypt(CHECK_16, bytes(16), true), "-1");
  testing::internal::CaptureStderr();
  bytes data(16);
  allocations_left = 0;
  EXPECT_EQ(ko_enc_mkey_crypt(CHECK_16, data, true), -1);
  allocations_left = -1;
  EXPECT_EQ(testing::internal::GetCapturedStderr().rfind(
                "Failed to allocate AES key (", 0),
            0U);
  EXPECT_EQ(data, bytes(16));
}

TEST_F(key_store, wipes_what_it_releases) {
  is_watching = true;
  add_with_failures(CHECK_ABC, PART_A, INCOMPLETE);
  add_with_failures(CHECK_ABC, PART_B, INCOMPLETE);
  add_with_failures(CHECK_ABC, PART_C, COMPLETED);
  add(CHECK_ABC, 2, PART_C);
  add(CHECK_32, 2, PART_B);
  std::unique_ptr<key_buffer> found;
  ko_enc_mkey_locate(check_value(CHECK_ABC), &found);
  *found = make_buffer(2, PART_A);
  EXPECT_TRUE(found->assign(2, PART_B));
  found.reset();
  ko_enc_mkey_expire_incomplete(0);
  ko_enc_mkey_del(check_value(CHECK_ABC));
  add(CHECK_ABC, 2, KEY_ABC);
  ko_enc_mkey_exit();
  is_watching = false;
  EXPECT_GT(blocks_released, 10);
  EXPECT_EQ(secrets_released, 0);
}

}  // namespace
