#include "util/chronex/tables/image_record.h"

#include <utility>

namespace {

constexpr int MAX_SPARE_RECORDS = 64;

struct image_key_match {
  std::uint32_t image_key;
  std::int32_t node_id;
  std::uint32_t recno;

  std::uint32_t hash() const {
    return keyed_hash(image_key, static_cast<std::uint32_t>(node_id), recno);
  }
  bool operator()(const image_record* record) const {
    return record->recno == recno && record->image_key == image_key &&
           record->node_id == node_id;
  }
};

}  // namespace

image_table::~image_table() {
  record_hash_.for_each([](image_record* record) {
    const std::unique_ptr<image_record> last(record);
  });
  // A chain of owners would otherwise be released by recursion.
  while (spare_records_) spare_records_ = std::move(spare_records_->next);
}

std::unique_ptr<image_record> image_table::new_record() {
  if (!spare_records_) return try_make<image_record>();
  std::unique_ptr<image_record> record = std::move(spare_records_);
  spare_records_ = std::move(record->next);
  --spare_count_;
  return record;
}

image_record* image_table::get_image_record(std::uint32_t image_key,
                                            std::int32_t node_id,
                                            std::uint32_t recno) {
  if (record_hash_.empty()) return nullptr;
  const image_key_match match{image_key, node_id, recno};
  return record_hash_.find(match.hash(), match);
}

image_record* image_table::add_image_record(std::uint32_t image_key,
                                            std::int32_t node_id,
                                            std::uint32_t recno) {
  image_record* present = get_image_record(image_key, node_id, recno);
  if (present != nullptr) return present;
  std::unique_ptr<image_record> record;
  if (record_hash_.reserve()) record = new_record();
  if (!record) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate record entry #%u\n", recno);
    return nullptr;
  }
  record->image_key = image_key;
  record->node_id = node_id;
  record->recno = recno;
  const image_key_match match{image_key, node_id, recno};
  record_hash_.insert(match.hash(), record.get());
  return record.release();
}

std::unique_ptr<image_record> image_table::fetch_image_record(
    std::uint32_t image_key, std::int32_t node_id, std::uint32_t recno) {
  // Most operations stand alone.
  if (record_hash_.empty()) return nullptr;
  const image_key_match match{image_key, node_id, recno};
  return std::unique_ptr<image_record>(
      record_hash_.remove(match.hash(), match));
}

void image_table::release_image_record(std::unique_ptr<image_record> record) {
  if (spare_count_ >= MAX_SPARE_RECORDS) return;
  // Nothing is kept but the memory of the image.
  owned_bytes room = std::move(record->before);
  *record = image_record();
  record->before = std::move(room);
  record->next = std::move(spare_records_);
  spare_records_ = std::move(record);
  ++spare_count_;
}
