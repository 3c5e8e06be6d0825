// Input: an item list and a key context, each behind its u16 size, and a stored
// record.

#include <algorithm>
#include <string>

#include "fuzz/fuzz_run.h"
#include "util/chronex/keys/node_crypt.h"

namespace {

std::unique_ptr<set_context> make_schema(fuzz_bytes item_list) {
  std::string problem;
  run_messages messages;
  auto set = node_create_set_context(item_list, problem, messages);
  fuzz_check((set != nullptr) == problem.empty(),
             "there is a schema or a problem");
  return set;
}

db_key_context_ptr make_keys(fuzz_bytes payload) {
  std::string problem;
  chronex_run run;
  auto keys = node_create_db_key_context(payload, run.events, problem);
  fuzz_check(keys == nullptr || problem.empty(),
             "keys that could be made have no problem");
  return keys;
}

std::vector<std::uint8_t> decrypt(const db_key_context* keys,
                                  const set_context& set, fuzz_bytes stored) {
  const auto media =
      fuzz_sized_copy(stored, static_cast<std::size_t>(set.media_sz));
  std::vector<std::uint8_t> user(static_cast<std::size_t>(set.rec_sz));
  node_decrypt_record(keys, set, user, media);
  return user;
}

// Items that are not encrypted stand in the stored record as they are, in
// schema order.
void check_plain_items(const set_context& set, fuzz_bytes stored,
                       fuzz_bytes user) {
  std::vector<std::uint8_t> plain;
  for (const item_descriptor& item : set.item_list()) {
    if ((item.fmt & ITEM_FMT_ENCRYPTED) != 0) continue;
    const fuzz_bytes bytes =
        user.subspan(item.offset, std::size_t{item.count} * item.size);
    plain.insert(plain.end(), bytes.begin(), bytes.end());
  }
  fuzz_check(plain == fuzz_sized_copy(stored, plain.size()),
             "plain items stay what they are");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz_bytes input(data, size);
  const auto set = make_schema(fuzz_take_block(input));
  const db_key_context_ptr keys = make_keys(fuzz_take_block(input));
  if (!set || set->enc_offs < 0) return 0;
  const auto user = decrypt(keys.get(), *set, input);
  check_plain_items(*set, input, user);
  check_plain_items(*set, input, decrypt(nullptr, *set, input));
  fuzz_check(decrypt(keys.get(), *set, input) == user,
             "a record is always decrypted in the same way");
  return 0;
}
