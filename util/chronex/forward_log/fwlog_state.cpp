// Audit and context actions of a forward log: what sessions, databases, data
// sets and keys there are.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "common/byte_cursor.h"
#include "util/chronex/forward_log/fwlog_action.h"
#include "util/chronex/forward_log/fwlog_format.h"
#include "util/chronex/keys/node_crypt.h"
#include "util/chronex/tables/sign_on_data.h"

namespace {

// The headers of audit and context actions have the same form.
struct state_header {
  // Session or node.
  std::int32_t id = 0;
  std::uint8_t type = 0;
  std::uint16_t size = 0;
};

state_header decode_state_header(const std::uint8_t* bytes) {
  return {.id = static_cast<std::int32_t>(load_u32(bytes)),
          .type = bytes[4],
          .size = load_u16(bytes + 6)};
}

// Puts sign-on data that their strings do not fill into their normal form, so
// that what is stored, shown, compared and written can be read again.
int normalise_sign_on(const fw_action& action, std::int32_t session_id,
                      owned_bytes& data) {
  if (sign_on_is_exact(data.bytes())) return ACTION_DONE;
  owned_bytes whole;
  if (!sign_on_normal_form(data.bytes(), whole)) {
    action.messages().perror("malloc");
    action.messages().print("Unable to allocate audit sign-on buffer\n");
    return FILE_FAILED;
  }
  action.reader.numbers.report_malformed_sign_on(
      action.file, action.number, session_id, data.bytes(), whole.bytes());
  data = std::move(whole);
  return ACTION_DONE;
}

int process_sign_on(const fw_action& action, const state_header& header) {
  owned_bytes data;
  if (header.size > 0) {
    if (!data.allocate(header.size)) {
      action.messages().perror("malloc");
      action.messages().print("Unable to allocate audit sign-on buffer\n");
      return FILE_FAILED;
    }
    if (!action.stream().read(data.bytes())) {
      return fw_short_read(action, "audit sign-on data");
    }
    if (normalise_sign_on(action, header.id, data) != ACTION_DONE) {
      return FILE_FAILED;
    }
  }
  action.events().session_add_entry(header.id, std::move(data));
  return ACTION_DONE;
}

int process_sign_off(const fw_action& action, const state_header& header) {
  if (header.size != 0) {
    return fw_bad_size(action, "sign-off data", header.size, "expected 0");
  }
  return action.events().session_signed_off(header.id);
}

int process_memo_action(const fw_action& action, const state_header& header) {
  session_entry* session = fw_session(action, header.id);
  if (header.size < 4 || session == nullptr) {
    return fw_skip(action, header.size, "audit memo data");
  }
  const std::uint8_t* mode = action.stream().take(4);
  if (mode == nullptr) return fw_short_read(action, "audit memo mode");
  memo_event memo{.size = header.size - 4,
                  .mode = load_u32(mode),
                  .timestamp = action.timestamp};
  if (memo.size > 0) {
    const auto length = static_cast<std::size_t>(memo.size);
    if (!memo.text.allocate(length + 1)) {
      action.messages().perror("malloc");
      action.messages().print("Unable to allocate audit memo buffer\n");
      return FILE_FAILED;
    }
    if (!action.stream().read(memo.text.bytes().first(length))) {
      return fw_short_read(action, "audit memo data");
    }
    memo.text.bytes()[length] = 0;
  }
  return action.events().process_memo(*session, std::move(memo));
}

int process_database(const fw_action& action, const state_header& header) {
  if (header.size >= FW_PAGE_SIZE) {
    return fw_bad_size(action, "database name", header.size, "maximum 8191");
  }
  const std::uint8_t* name = action.stream().take(header.size);
  if (name == nullptr) return fw_short_read(action, "context_db name");
  action.events().node_add_entry(
      header.id, NODE_DATABASE,
      {reinterpret_cast<const char*>(name), header.size}, 0, nullptr);
  return ACTION_DONE;
}

// Reports what is wrong with a schema or key context, unless that is done.
int fw_malformed(const fw_action& action, const std::string& problem) {
  return problem.empty() ? FILE_FAILED : fw_bad_format(action, problem);
}

// The name of a data set, at most 255 bytes.
struct set_name {
  std::array<char, 255> text;
  std::uint8_t length = 0;

  std::string_view view() const { return {text.data(), length}; }
};

// Reads the name length and the name; `left` is what is left of the context
// data and becomes what follows the name.
int read_set_name(const fw_action& action, std::uint32_t& left,
                  set_name& name) {
  if (left < 1) {
    return fw_bad_size(action, "data set context", left + 4, "minimum 5");
  }
  const std::uint8_t* length = action.stream().take(1);
  if (length == nullptr)
    return fw_short_read(action, "set context name length");
  name.length = *length;
  --left;
  if (left < name.length) {
    return fw_bad_size(action, "data set name", name.length,
                       "exceeds its context");
  }
  const std::uint8_t* text = action.stream().take(name.length);
  if (text == nullptr) return fw_short_read(action, "set context name");
  std::memcpy(name.text.data(), text, name.length);
  left -= name.length;
  return ACTION_DONE;
}

int process_data_set(const fw_action& action, const state_header& header) {
  if (header.size < 4) {
    return fw_bad_size(action, "data set context", header.size, "minimum 4");
  }
  std::uint32_t left = header.size - std::uint32_t{4};
  const std::uint8_t* id = action.stream().take(4);
  if (id == nullptr) return fw_short_read(action, "set context db_node_id");
  const auto db_node_id = static_cast<std::int32_t>(load_u32(id));
  if (action.events().nodes.node_get_entry(db_node_id) == nullptr) {
    return fw_skip(action, left, "set context data");
  }
  set_name name;
  const int result = read_set_name(action, left, name);
  if (result != ACTION_DONE) return result;
  const std::uint8_t* list = action.stream().take(left);
  if (list == nullptr) return fw_short_read(action, "set context data");

  std::string problem;
  std::unique_ptr<set_context> set =
      action.events().nodes.make_set({list, left}, problem);
  if (!set) return fw_malformed(action, problem);
  action.events().node_add_entry(header.id, NODE_DATA_SET, name.view(),
                                 db_node_id, std::move(set));
  return ACTION_DONE;
}

int process_database_keys(const fw_action& action, const state_header& header) {
  constexpr const char* WHAT = "database encryption key context";
  node_entry* node = action.events().nodes.node_get_entry(header.id);
  if (node == nullptr) return fw_skip(action, header.size, WHAT);
  const std::uint8_t* payload = action.stream().take(header.size);
  if (payload == nullptr) return fw_short_read(action, WHAT);

  std::string problem;
  db_key_context_ptr keys = node_create_db_key_context(
      {payload, header.size}, action.events(), problem);
  if (!keys) return fw_malformed(action, problem);
  node_set_keys(*node, std::move(keys));
  return ACTION_DONE;
}

}  // namespace

int fw_audit(const fw_action& action) {
  const std::uint8_t* bytes = action.stream().take(FW_AUDIT_HEADER_SIZE);
  if (bytes == nullptr) return fw_short_read(action, "audit header");
  const state_header header = decode_state_header(bytes);
  switch (header.type) {
    case AUDIT_SIGN_ON:
      return process_sign_on(action, header);
    case AUDIT_SIGN_OFF:
      return process_sign_off(action, header);
    case AUDIT_MEMO:
      return process_memo_action(action, header);
    default:
      return fw_skip(action, header.size, "info data");
  }
}

int fw_context(const fw_action& action) {
  const std::uint8_t* bytes = action.stream().take(FW_CONTEXT_HEADER_SIZE);
  if (bytes == nullptr) return fw_short_read(action, "context header");
  const state_header header = decode_state_header(bytes);
  switch (header.type) {
    case CONTEXT_DATABASE:
      return process_database(action, header);
    case CONTEXT_DATA_SET:
      return process_data_set(action, header);
    case CONTEXT_DATABASE_KEYS:
      return process_database_keys(action, header);
    default:
      return fw_skip(action, header.size, "context data");
  }
}
