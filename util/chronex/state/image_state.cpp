#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "util/chronex/keys/node_crypt.h"
#include "util/chronex/keys/sealed_origin.h"
#include "util/chronex/state/table_state.h"

namespace {

// What there is of a record before its operation.
enum class saved_before : std::uint8_t {
  none,
  // As it is.
  plain,
  // As it was stored, to be deciphered.
  sealed,
};

using origin_ptr = std::shared_ptr<const sealed_origin>;

// The origins of all images, each once; numbered from 0.
class origin_list {
 public:
  void add(const origin_ptr& origin) {
    if (numbers_.try_emplace(origin.get(), origins_.size()).second) {
      origins_.push_back(origin.get());
    }
  }
  std::uint32_t number_of(const origin_ptr& origin) const {
    return static_cast<std::uint32_t>(numbers_.at(origin.get()));
  }
  void save(state_writer& state) const {
    state.u32(static_cast<std::uint32_t>(origins_.size()));
    for (const sealed_origin* origin : origins_) {
      state.bytes(origin->item_list);
      state.flag(origin->key_payload != nullptr);
      if (origin->key_payload) state.bytes(origin->key_payload->bytes());
    }
  }

 private:
  std::vector<const sealed_origin*> origins_;
  std::unordered_map<const sealed_origin*, std::size_t> numbers_;
};

void save_before(const image_record& record, const origin_list& origins,
                 state_writer& state) {
  if (!record.has_before) {
    return state.u8(static_cast<std::uint8_t>(saved_before::none));
  }
  const auto held = record.before.bytes();
  if (!record.origin) {
    state.u8(static_cast<std::uint8_t>(saved_before::plain));
    return state.bytes(held.first(record.before_size));
  }
  state.u8(static_cast<std::uint8_t>(saved_before::sealed));
  state.u32(origins.number_of(record.origin));
  state.bytes(held.subspan(record.before_size, record.stored_size));
}

void save_image(const image_record& record, const origin_list& origins,
                state_writer& state) {
  state.u32(record.image_key);
  state.i32(record.node_id);
  state.u32(record.recno);
  state.i32(record.op);
  state.u32(record.timestamp);
  state.flag(record.known_short);
  save_before(record, origins, state);
}

// An origin with what it stands for.
struct restored_origin {
  origin_ptr origin;
  std::unique_ptr<set_context> set;
  db_key_context_ptr keys{nullptr, nullptr};
};

bool restore_origin(const run_parts& run, state_reader& state,
                    restored_origin& restored) {
  auto origin = std::make_shared<sealed_origin>();
  const std::span<const std::uint8_t> list = state.bytes();
  origin->item_list.assign(list.begin(), list.end());
  std::string problem;
  restored.set = node_create_set_context(list, problem, run.events.messages);
  if (!restored.set || restored.set->enc_offs < 0) return false;
  if (state.flag()) {
    const std::span<const std::uint8_t> payload = state.bytes();
    auto kept = std::make_shared<key_bytes>();
    if (state.has_failed() || !kept->copy_from(payload)) return false;
    origin->key_payload = std::move(kept);
    restored.keys = restore_keys(run, payload);
    if (!restored.keys) return false;
  }
  restored.origin = std::move(origin);
  return !state.has_failed();
}

// Deciphers a stored image as it was when it came. What is missing of it counts
// as zero bytes.
bool unseal(const restored_origin& from, std::span<const std::uint8_t> stored,
            image_record& record) {
  const set_context& set = *from.set;
  const auto rec_sz = static_cast<std::size_t>(set.rec_sz);
  if (!record.before.grow(rec_sz + stored.size())) return false;
  std::vector<std::uint8_t> whole(stored.begin(), stored.end());
  whole.resize(std::max(whole.size(), static_cast<std::size_t>(set.media_sz)));
  record.sealed = !node_decrypt_record(
      from.keys.get(), set, record.before.bytes().first(rec_sz), whole);
  std::ranges::copy(stored, record.before.bytes().subspan(rec_sz).begin());
  record.before_size = rec_sz;
  record.stored_size = stored.size();
  record.origin = from.origin;
  return true;
}

bool restore_plain(state_reader& state, image_record& record) {
  const std::span<const std::uint8_t> bytes = state.bytes();
  if (!record.before.grow(std::max<std::size_t>(bytes.size(), 1))) return false;
  std::ranges::copy(bytes, record.before.bytes().begin());
  record.before_size = bytes.size();
  return true;
}

bool restore_sealed(const std::vector<restored_origin>& origins,
                    state_reader& state, image_record& record) {
  const std::uint32_t origin = state.u32();
  const std::span<const std::uint8_t> stored = state.bytes();
  return !state.has_failed() && origin < origins.size() &&
         unseal(origins[origin], stored, record);
}

bool restore_before(const std::vector<restored_origin>& origins,
                    state_reader& state, image_record& record) {
  const auto before = static_cast<saved_before>(state.u8());
  record.has_before = before != saved_before::none;
  switch (before) {
    case saved_before::none:
      return true;
    case saved_before::plain:
      return restore_plain(state, record);
    case saved_before::sealed:
      return restore_sealed(origins, state, record);
  }
  return false;
}

bool restore_image(image_table& images,
                   const std::vector<restored_origin>& origins,
                   state_reader& state) {
  const std::uint32_t image_key = state.u32();
  const std::int32_t node_id = state.i32();
  const std::uint32_t recno = state.u32();
  if (state.has_failed()) return false;
  image_record* const record =
      images.add_image_record(image_key, node_id, recno);
  if (record == nullptr) return false;
  record->op = state.i32();
  record->timestamp = state.u32();
  record->known_short = state.flag();
  return restore_before(origins, state, *record) && !state.has_failed();
}

}  // namespace

void save_images(image_table& images, state_writer& state) {
  origin_list origins;
  std::uint64_t count = 0;
  images.for_each([&](const image_record& record) {
    if (record.has_before && record.origin) origins.add(record.origin);
    ++count;
  });
  state.begin_section({'I', 'M', 'A', 'G'});
  origins.save(state);
  state.u64(count);
  images.for_each(
      [&](const image_record& record) { save_image(record, origins, state); });
  state.end_section();
}

bool restore_images(const run_parts& run, state_reader& state) {
  state_reader section = state.section({'I', 'M', 'A', 'G'});
  std::vector<restored_origin> origins;
  for (std::uint32_t left = section.u32(); left > 0; --left) {
    if (!restore_origin(run, section, origins.emplace_back())) return false;
  }
  for (std::uint64_t left = section.u64(); left > 0; --left) {
    if (!restore_image(run.events.images, origins, section)) return false;
  }
  return section.is_at_end();
}
