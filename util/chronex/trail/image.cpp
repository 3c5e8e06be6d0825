#include "util/chronex/trail/image.h"

#include <cassert>
#include <string_view>

#include "common/chained_table.h"
#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/audit_file/audit_writer.h"
#include "util/chronex/filter/selection.h"
#include "util/chronex/report/dump.h"
#include "util/chronex/report/local_time.h"
#include "util/chronex/report/report.h"
#include "util/chronex/trail/quiet.h"
#include "util/chronex/trail/session_write.h"

namespace {

constexpr std::size_t INITIAL_BUCKETS = 1024;
// Released records kept for the next before-images.
constexpr int MAX_SPARE_RECORDS = 64;

chained_table<image_record> record_hash(INITIAL_BUCKETS);
std::unique_ptr<image_record> spare_records;
int spare_count = 0;

struct image_key_match {
  std::uint32_t image_key;
  std::int32_t node_id;
  std::uint32_t recno;

  std::uint32_t hash() const {
    return keyed_hash(image_key, static_cast<std::uint32_t>(node_id), recno);
  }
  bool operator()(const image_record& record) const {
    return record.recno == recno && record.image_key == image_key &&
           record.node_id == node_id;
  }
};

std::unique_ptr<image_record> new_record() {
  if (!spare_records) return try_make<image_record>();
  std::unique_ptr<image_record> record = std::move(spare_records);
  spare_records = std::move(record->next);
  --spare_count;
  record->has_before = false;
  record->op = 0;
  record->timestamp = 0;
  return record;
}

// The character that stands for an operation code in audit files and filters.
char audit_op_of(int op) {
  switch (op) {
    case OP_UPDATE:
      return '1';
    case OP_PUT:
      return '2';
    case OP_DELETE:
      return '3';
    default:
      assert(!"unexpected op");
      return '\0';
  }
}

std::string_view word_of(int op) {
  if (op == OP_UPDATE) return "DBUPDATE ";
  return op == OP_PUT ? "DBPUT " : "DBDELETE ";
}

int select_operation(const image_operation& operation, char audit_op) {
  return select_event({.session = &operation.session,
                       .node = &operation.node,
                       .timestamp = operation.timestamp,
                       .operation = audit_op,
                       .record_number = operation.recno,
                       .before_image = operation.before_image(),
                       .after_image = operation.after_image()});
}

int write_prerequisites(const image_operation& operation) {
  if (write_session_sign_on(operation.session,
                            sign_on_caller::image_operation) != 0) {
    return -1;
  }
  if (write_node_context(operation.node) != 0) return -1;
  return write_pending_session_memo(operation.session);
}

void report_operation(const image_operation& operation) {
  print_conditional_newline();
  report_stream& out = *report.fp;
  out.put(word_of(operation.op));
  out.put(node_name(operation.node));
  out.put(" recno:");
  out.put_unsigned(operation.recno);
  out.put(" session:");
  out.put_signed(operation.session.session_id);
  out.put('\n');
  if (report.image_level >= 2 || report.image_dump >= 1) {
    out.put(" timestamp: ");
    out.put(local_time_text(operation.timestamp));
    out.put('\n');
  }
  if (report.image_level >= 3 || report.image_dump >= 1) {
    dump_record(operation.node, operation.before_image(),
                operation.after_image(),
                report.image_dump >= 1);
  }
}

int write_operation_record(const image_operation& operation, char audit_op) {
  const image_op_t head{
      .session_id = static_cast<std::uint32_t>(operation.session.session_id),
      .node_id = static_cast<std::uint32_t>(operation.node.node_id),
      .timestamp = operation.timestamp,
      .recno = operation.recno,
      .op = static_cast<std::uint8_t>(audit_op),
      .has_before = operation.before != nullptr,
      .has_after = operation.after != nullptr};
  return audit_write_record(AUDIT_TAG_IMAGE_OP, head,
                            operation.before_image(),
                            operation.after_image());
}

}  // namespace

image_record* get_image_record(std::uint32_t image_key, std::int32_t node_id,
                               std::uint32_t recno) {
  const image_key_match match{image_key, node_id, recno};
  return record_hash.find(match.hash(), match);
}

image_record* add_image_record(std::uint32_t image_key, std::int32_t node_id,
                               std::uint32_t recno) {
  image_record* present = get_image_record(image_key, node_id, recno);
  if (present != nullptr) return present;
  std::unique_ptr<image_record> record;
  if (record_hash.reserve()) record = new_record();
  if (!record) {
    message_perror("malloc");
    message("Unable to allocate record entry #%u\n", recno);
    return nullptr;
  }
  record->image_key = image_key;
  record->node_id = node_id;
  record->recno = recno;
  const image_key_match match{image_key, node_id, recno};
  return &record_hash.insert(match.hash(), std::move(record));
}

std::unique_ptr<image_record> fetch_image_record(std::uint32_t image_key,
                                                 std::int32_t node_id,
                                                 std::uint32_t recno) {
  const image_key_match match{image_key, node_id, recno};
  return record_hash.remove(match.hash(), match);
}

void release_image_record(std::unique_ptr<image_record> record) {
  if (spare_count >= MAX_SPARE_RECORDS) return;
  record->next = std::move(spare_records);
  spare_records = std::move(record);
  ++spare_count;
}

int write_image_op(const image_operation& operation) {
  if (f_skip_action || !operation.node.set) return 0;
  const char audit_op = audit_op_of(operation.op);
  const int selected = select_operation(operation, audit_op);
  if (selected != EVENT_SELECTED) return selected;
  if (write_prerequisites(operation) != 0) return -1;
  if (report.fp != nullptr &&
      (report.image_level >= 1 || report.image_dump >= 1)) {
    report_operation(operation);
  }
  if (audit_fp == nullptr) return 0;
  return write_operation_record(operation, audit_op);
}
