// Record operations and before-images of a forward log.

#include <algorithm>
#include <cstring>

#include "common/byte_cursor.h"
#include "util/chronex/forward_log/action_extent.h"
#include "util/chronex/forward_log/fwlog_action.h"
#include "util/chronex/forward_log/fwlog_format.h"
#include "util/chronex/keys/node_crypt.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

struct record_header {
  std::uint8_t type = 0;
  std::uint16_t size = 0;
  std::int32_t node_id = 0;
  std::uint32_t image_key = 0;
  std::int32_t session_id = 0;
};

struct before_image_header {
  std::uint32_t image_key = 0;
  std::int32_t session_id = 0;
  std::int32_t node_id = 0;
  std::uint32_t recno = 0;
  std::uint8_t op = 0;
  std::uint16_t size = 0;
};

std::int32_t load_id(const std::uint8_t* bytes) {
  return static_cast<std::int32_t>(load_u32(bytes));
}

record_header decode_record_header(const std::uint8_t* bytes) {
  return {.type = bytes[0],
          .size = load_u16(bytes + 2),
          .node_id = load_id(bytes + 4),
          .image_key = load_u32(bytes + 8),
          .session_id = load_id(bytes + 12)};
}

before_image_header decode_before_image_header(const std::uint8_t* bytes) {
  return {.image_key = load_u32(bytes),
          .session_id = load_id(bytes + 4),
          .node_id = load_id(bytes + 8),
          .recno = load_u32(bytes + 12),
          .op = bytes[16],
          .size = load_u16(bytes + 18)};
}

// Where an image of an encrypted data set finds its keys: the database's node.
// Null when that is unknown.
const node_entry* database_of(const node_entry& node) {
  return node.table->node_get_entry(node.db_node_id);
}

// Gives the operation the record after it, in clear text. False when that is
// not to be had; the operation is then passed over.
bool decode_after_image(const fw_action& action, const set_brief& set,
                        byte_run stored, image_operation& operation) {
  const node_entry* database = nullptr;
  if (set.is_encrypted()) {
    database = database_of(operation.node);
    if (database == nullptr) {
      fw_unknown_set(action, operation.node.node_id);
      return false;
    }
  }
  if (stored.size() < set.media_sz) {
    action.reader.numbers.report_short_image(action.file, "record image",
                                             stored.size(), set.media_sz);
    return false;
  }
  operation.after = stored.first(set.record_size());
  if (database == nullptr) return true;
  const std::span<std::uint8_t> plain = action.reader.scratch.get_buffer(
      static_cast<std::uint32_t>(set.record_size()));
  operation.after_sealed = !node_decrypt_record(
      database->keys.get(), *operation.node.set, plain, stored);
  operation.after = plain;
  return true;
}

// The operation that is reported when a first part was waiting for it.
int reported_op(const image_record& pending, int op) {
  if (pending.op != OP_PUT && op != OP_PUT) return op;
  return pending.has_before ? OP_UPDATE : OP_PUT;
}

// Makes room for a before-image of `size` bytes and keeps what is there. A
// record of no bytes at all still has an image.
bool make_room(const fw_action& action, image_record& record,
               std::size_t size) {
  if (record.before.grow(std::max<std::size_t>(size, 1))) return true;
  action.messages().perror("malloc");
  action.messages().print("Unable to allocate before-image data buffer\n");
  return false;
}

// Fills a before-image up to the record size of its data set, which may have
// been redefined since the image was stored.
bool fit_before_image(const fw_action& action, image_record& pending,
                      std::size_t rec_sz) {
  if (pending.before_size >= rec_sz) return true;
  if (!pending.known_short) {
    action.reader.numbers.report_short_image(action.file, "before-image",
                                             pending.before_size, rec_sz);
  }
  if (!make_room(action, pending, rec_sz)) return false;
  std::ranges::fill(
      pending.before.bytes().first(rec_sz).subspan(pending.before_size),
      std::uint8_t{0});
  return true;
}

// Joins the operation with its first part, if one is waiting, and hands it on.
int write_operation(const fw_action& action, const record_header& header,
                    const set_brief& set, image_operation& operation) {
  trail& events = action.events();
  std::unique_ptr<image_record> pending = events.images.fetch_image_record(
      header.image_key, header.node_id, operation.recno);
  if (!pending) return events.write_image_op(operation);
  operation.timestamp = pending->timestamp;
  operation.op = reported_op(*pending, operation.op);
  if (pending->has_before) {
    const std::size_t rec_sz = set.record_size();
    if (!fit_before_image(action, *pending, rec_sz)) return FILE_FAILED;
    operation.before = pending->before.bytes().first(rec_sz);
    operation.before_sealed = pending->sealed;
  }
  const int result = events.write_image_op(operation);
  events.images.release_image_record(std::move(pending));
  return result;
}

int mark_new_record(const fw_action& action, const record_header& header,
                    std::uint32_t recno) {
  image_record* pending = action.events().images.add_image_record(
      header.image_key, header.node_id, recno);
  if (pending == nullptr) return FILE_FAILED;
  pending->op = OP_PUT;
  pending->timestamp = action.timestamp;
  return ACTION_DONE;
}

int process_operation(const fw_action& action, const record_header& header,
                      byte_run data) {
  session_entry* session = fw_session(action, header.session_id);
  const known_node node = action.events().nodes.node_find(header.node_id);
  if (node.entry == nullptr) return fw_unknown_set(action, header.node_id);
  if (session == nullptr || data.empty() || !node.set.is_known()) {
    return ACTION_DONE;
  }
  if (data.size() < FW_OPERATION_HEAD_SIZE) {
    action.reader.numbers.report_short_image(
        action.file, "record operation", data.size(), FW_OPERATION_HEAD_SIZE);
    return ACTION_DONE;
  }
  image_operation operation{.session = *session,
                            .node = *node.entry,
                            .layout_id = node.set.layout_id,
                            .timestamp = action.timestamp,
                            .op = data[16],
                            .recno = load_u32(data.data() + 8)};
  switch (operation.op) {
    case OP_UPDATE:
    case OP_PUT:
      if (!decode_after_image(action, node.set,
                              data.subspan(FW_OPERATION_HEAD_SIZE),
                              operation)) {
        return ACTION_DONE;
      }
      break;
    case OP_NEW_RECORD:
      return mark_new_record(action, header, operation.recno);
    case OP_DELETE:
      break;
    default:
      return ACTION_DONE;
  }
  return write_operation(action, header, node.set, operation);
}

// Deciphers a stored before-image into `plain` (the record size). What is
// missing of it counts as zero bytes. False when there was no key.
bool decrypt_before_image(const fw_action& action, const set_context& set,
                          const db_key_context* keys, byte_run stored,
                          std::span<std::uint8_t> plain) {
  const auto expected = static_cast<std::size_t>(set.media_sz);
  if (stored.size() < expected) {
    const std::span<std::uint8_t> filled =
        action.reader.scratch.get_buffer(static_cast<std::uint32_t>(expected));
    std::memcpy(filled.data(), stored.data(), stored.size());
    std::ranges::fill(filled.subspan(stored.size()), std::uint8_t{0});
    stored = filled;
  }
  return node_decrypt_record(keys, set, plain, stored);
}

// Keeps a before-image of an encrypted data set, in clear, and as it was stored
// where the run is to be written down.
int keep_sealed_image(const fw_action& action, const node_entry& node,
                      const db_key_context* keys, byte_run stored,
                      image_record& record) {
  const trail& events = action.events();
  const auto rec_sz = static_cast<std::size_t>(node.set->rec_sz);
  record.before_size = rec_sz;
  record.stored_size = events.keeps_stored ? stored.size() : 0;
  if (!make_room(action, record, rec_sz + record.stored_size)) {
    return FILE_FAILED;
  }
  record.sealed = !decrypt_before_image(action, *node.set, keys, stored,
                                        record.before.bytes().first(rec_sz));
  if (events.keeps_stored) {
    std::ranges::copy(stored, record.before.bytes().subspan(rec_sz).begin());
    record.origin = action.reader.origins.of(node, keys);
  }
  return ACTION_DONE;
}

// Keeps a stored before-image. Of a plain data set only what is there is kept,
// so that a pending record takes no more memory than its log does.
int keep_before_image(const fw_action& action, const known_node& node,
                      const db_key_context* keys, byte_run stored,
                      image_record& record) {
  record.known_short = stored.size() < node.set.media_sz;
  record.stored_size = 0;
  record.origin.reset();
  if (node.set.is_encrypted()) {
    if (keep_sealed_image(action, *node.entry, keys, stored, record) !=
        ACTION_DONE) {
      return FILE_FAILED;
    }
  } else {
    record.before_size = std::min(node.set.record_size(), stored.size());
    if (!make_room(action, record, record.before_size)) return FILE_FAILED;
    std::memcpy(record.before.data(), stored.data(), record.before_size);
    record.sealed = false;
  }
  record.has_before = true;
  return ACTION_DONE;
}

// Operations can be decoded, deciphered where that is needed.
bool is_readable(const known_node& node) {
  return node.entry != nullptr && node.set.is_known() &&
         (!node.set.is_encrypted() || database_of(*node.entry) != nullptr);
}

// Whether its reader would hand on an operation, on behalf of which the outputs
// need nothing else to be told.
bool is_only_counted(trail& events, const record_header& header,
                     const known_node& node, byte_run data) {
  if (header.type != RECORD_OPERATION || data.size() < FW_OPERATION_HEAD_SIZE ||
      !is_readable(node)) {
    return false;
  }
  const session_entry* const session =
      events.sessions.session_get_entry(header.session_id);
  if (session == nullptr || !events.is_all_told(*session, *node.entry)) {
    return false;
  }
  const std::uint8_t op = data[16];
  const bool has_image = op == OP_UPDATE || op == OP_PUT;
  return op == OP_DELETE ||
         (has_image &&
          data.size() - FW_OPERATION_HEAD_SIZE >= node.set.media_sz);
}

// Whether a whole before-image belongs to the operation behind it, and nothing
// would be told of it. Then nothing is left of it behind that operation.
bool is_of_operation(const before_image_header& image,
                     const record_header& header, std::uint32_t recno,
                     const known_node& node) {
  return image.size <= FW_PAGE_SIZE && image.size >= node.set.media_sz &&
         image.image_key == header.image_key &&
         image.session_id == header.session_id &&
         image.node_id == header.node_id && image.recno == recno;
}

// What comes next of the operations that are only counted.
struct counted_step {
  // Of their bytes; 0 = something else comes next.
  std::size_t length = 0;
  std::uint32_t actions = 1;
};

// Looks for such steps in bytes, the actions of which have rising numbers.
class operation_steps {
 public:
  explicit operation_steps(trail& events) : events_(events) {}

  // The step that bytes begin with. A before-image and its operation are one,
  // if the operation begins before `limit`.
  counted_step next(byte_run bytes, std::size_t limit,
                    std::uint32_t number) const {
    constexpr std::size_t HEAD =
        FW_ACTION_HEAD_SIZE + FW_BEFORE_IMAGE_HEADER_SIZE;
    if (!is_head(bytes, HEAD, FW_TAG_BEFORE_IMAGE, number)) {
      return {.length = operation(bytes, number, nullptr)};
    }
    const before_image_header image =
        decode_before_image_header(bytes.data() + FW_ACTION_HEAD_SIZE);
    const std::size_t length = HEAD + image.size;
    if (length >= std::min(limit, bytes.size())) return {};
    const std::size_t rest =
        operation(bytes.subspan(length), number + 1, &image);
    return {.length = rest > 0 ? length + rest : 0, .actions = 2};
  }

 private:
  static bool is_head(byte_run bytes, std::size_t size, std::uint8_t tag,
                      std::uint32_t number) {
    return bytes.size() >= size && bytes[0] == tag &&
           load_u32(bytes.data() + 1) == number;
  }

  // The length of the operation that bytes begin with; 0 = no such.
  std::size_t operation(byte_run bytes, std::uint32_t number,
                        const before_image_header* image) const {
    constexpr std::size_t HEAD = FW_ACTION_HEAD_SIZE + FW_RECORD_HEADER_SIZE;
    if (!is_head(bytes, HEAD, FW_TAG_RECORD, number)) return 0;
    const record_header header =
        decode_record_header(bytes.data() + FW_ACTION_HEAD_SIZE);
    if (bytes.size() - HEAD < header.size) return 0;
    const byte_run data = bytes.subspan(HEAD, header.size);
    const known_node node = events_.nodes.node_find(header.node_id);
    if (!is_only_counted(events_, header, node, data)) return 0;
    const std::uint32_t recno = load_u32(data.data() + 8);
    const bool is_alone =
        image == nullptr || is_of_operation(*image, header, recno, node);
    const bool waits = events_.images.get_image_record(
                           header.image_key, header.node_id, recno) != nullptr;
    return is_alone && !waits ? HEAD + header.size : 0;
  }

  trail& events_;
};

}  // namespace

void fw_count_operations(fwlog_reader& reader, input_file& file) {
  trail& events = reader.events;
  const byte_run bytes = file.stream.peek(0);
  const auto limit = static_cast<std::size_t>(
      std::min<std::uint64_t>(bytes.size(), events.bytes_to_watched_place()));
  log_numbers numbers = reader.numbers.known();
  const operation_steps steps(events);
  std::size_t at = 0;
  std::uint64_t count = 0;
  while (at < limit) {
    const counted_step step =
        steps.next(bytes.subspan(at), limit - at, numbers.action + 1);
    if (step.length == 0) break;
    at += step.length;
    numbers.action += step.actions;
    ++count;
  }
  if (count == 0) return;
  static_cast<void>(file.stream.skip(at));
  reader.numbers.go_on(numbers);
  events.place.number = numbers.action;
  events.count_operations(count);
  events.action_done();
}

int fw_record(const fw_action& action) {
  const std::uint8_t* bytes = action.stream().take(FW_RECORD_HEADER_SIZE);
  if (bytes == nullptr) return fw_short_read(action, "record header");
  const record_header header = decode_record_header(bytes);
  byte_run data;
  if (header.size > 0) {
    const std::uint8_t* start = action.stream().take(header.size);
    if (start == nullptr) return fw_short_read(action, "record data");
    data = {start, header.size};
  }
  if (header.type == RECORD_OPERATION) {
    return process_operation(action, header, data);
  }
  if (header.type == RECORD_SERVER_ABORT && action.number == 1) {
    action.reader.numbers.report_server_abort(action.file);
  }
  return ACTION_DONE;
}

int fw_before_image(const fw_action& action) {
  const std::uint8_t* bytes = action.stream().take(FW_BEFORE_IMAGE_HEADER_SIZE);
  if (bytes == nullptr) return fw_short_read(action, "before-image header");
  const before_image_header header = decode_before_image_header(bytes);
  if (header.size > FW_PAGE_SIZE) {
    return fw_bad_size(action, "before-image", header.size, "maximum 8192");
  }
  const std::uint8_t* start = action.stream().take(header.size);
  if (start == nullptr) return fw_short_read(action, "before-image data");

  const known_node node = action.events().nodes.node_find(header.node_id);
  if (fw_session(action, header.session_id) == nullptr ||
      node.entry == nullptr || !node.set.is_known()) {
    return ACTION_DONE;
  }
  const db_key_context* keys = nullptr;
  if (node.set.is_encrypted()) {
    const node_entry* database = database_of(*node.entry);
    if (database == nullptr) return ACTION_DONE;
    keys = database->keys.get();
  }
  image_record* record = action.events().images.add_image_record(
      header.image_key, header.node_id, header.recno);
  if (record == nullptr) return FILE_FAILED;
  const byte_run stored{start, header.size};
  if (keep_before_image(action, node, keys, stored, *record) != ACTION_DONE) {
    return FILE_FAILED;
  }
  if (record->known_short) {
    action.reader.numbers.report_short_image(action.file, "before-image",
                                             stored.size(), node.set.media_sz);
  }
  record->op = header.op;
  record->timestamp = action.timestamp;
  return ACTION_DONE;
}
