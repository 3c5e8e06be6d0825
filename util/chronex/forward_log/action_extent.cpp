#include "util/chronex/forward_log/action_extent.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "common/byte_cursor.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::uint32_t DAY = 86400;
constexpr std::uint32_t YEAR = 366 * DAY;
constexpr int CHAIN_LENGTH = 3;

// Size of the header behind the prefix, by tag; -1 = no such tag.
constexpr std::array<std::int8_t, 256> make_header_sizes() {
  std::array<std::int8_t, 256> sizes{};
  sizes.fill(-1);
  sizes[FW_TAG_RECORD] = FW_RECORD_HEADER_SIZE;
  sizes[FW_TAG_PAGE] = 0;
  sizes[FW_TAG_CLUSTER] = FW_CLUSTER_HEADER_SIZE;
  sizes[FW_TAG_META] = FW_META_HEADER_SIZE;
  sizes[FW_TAG_BEFORE_IMAGE] = FW_BEFORE_IMAGE_HEADER_SIZE;
  sizes[FW_TAG_AUDIT] = FW_AUDIT_HEADER_SIZE;
  sizes[FW_TAG_CONTEXT] = FW_CONTEXT_HEADER_SIZE;
  sizes[FW_TAG_END] = 0;
  sizes[FW_TAG_SLAVE_SYNC] = 0;
  return sizes;
}
constexpr std::array<std::int8_t, 256> HEADER_SIZES = make_header_sizes();

// Many bytes of a hole are no tags: they are looked at eight at a time.
constexpr std::size_t WORD = 8;
constexpr std::uint64_t ONES = 0x0101010101010101;

constexpr bool has_zero_byte(std::uint64_t word) {
  return ((word - ONES) & ~word & (ONES * 0x80)) != 0;
}

// Whether a tag may be among eight bytes. That '0' is none is seen later.
bool may_have_tag(const std::uint8_t* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return has_zero_byte((word & (ONES * 0xF8)) ^ (ONES * 0x30)) ||
         has_zero_byte(word ^ (ONES * FW_TAG_END)) ||
         has_zero_byte(word ^ (ONES * FW_TAG_SLAVE_SYNC));
}

// The length of a body behind its header; nothing = the format has no such.
using body_size = std::optional<std::uint64_t>;

body_size limited(std::uint64_t size, std::uint64_t limit) {
  return size <= limit ? body_size(size) : std::nullopt;
}

body_size cluster_size(const std::uint8_t* header) {
  const auto pages = static_cast<std::int32_t>(load_u32(header + 8));
  return static_cast<std::uint64_t>(std::max(pages, 0)) * FW_PAGE_SIZE;
}

body_size audit_size(const std::uint8_t* header) {
  const std::uint16_t size = load_u16(header + 6);
  return header[4] == AUDIT_SIGN_OFF ? limited(size, 0) : size;
}

body_size context_size(const std::uint8_t* header) {
  const std::uint16_t size = load_u16(header + 6);
  switch (header[4]) {
    case CONTEXT_DATABASE:
      return limited(size, FW_PAGE_SIZE - 1);
    case CONTEXT_DATA_SET:
      return size >= 4 ? body_size(size) : std::nullopt;
    default:
      return size;
  }
}

body_size body_size_of(std::uint8_t tag, const std::uint8_t* header) {
  switch (tag) {
    case FW_TAG_RECORD:
      return load_u16(header + 2);
    case FW_TAG_PAGE:
      return FW_PAGE_SIZE;
    case FW_TAG_CLUSTER:
      return cluster_size(header);
    case FW_TAG_META:
      return limited(load_u32(header + 4), FW_PAGE_SIZE);
    case FW_TAG_BEFORE_IMAGE:
      return limited(load_u16(header + 18), FW_PAGE_SIZE);
    case FW_TAG_AUDIT:
      return audit_size(header);
    case FW_TAG_CONTEXT:
      return context_size(header);
    case FW_TAG_SLAVE_SYNC:
      return FW_SLAVE_SYNC_SIZE;
    default:
      return 0;
  }
}

}  // namespace

action_head decode_action_head(const std::uint8_t* bytes) {
  return {.tag = bytes[0],
          .number = load_u32(bytes + 1),
          .timestamp = load_u32(bytes + 5)};
}

bool is_action_tag(std::uint8_t tag) { return HEADER_SIZES[tag] >= 0; }

std::size_t find_action_head(byte_run bytes, std::size_t begin, std::size_t end,
                             const head_limits& limits) {
  if (bytes.size() < FW_ACTION_HEAD_SIZE) return end;
  const std::size_t last =
      std::min(end, bytes.size() - FW_ACTION_HEAD_SIZE + 1);
  for (std::size_t at = begin; at < last;) {
    const std::size_t count = std::min(last - at, WORD);
    const std::uint8_t* const start = bytes.data() + at;
    if (count < WORD || may_have_tag(start)) {
      for (std::size_t i = 0; i < count; ++i) {
        if (is_action_tag(start[i]) &&
            limits.allow(decode_action_head(start + i))) {
          return at + i;
        }
      }
    }
    at += count;
  }
  return end;
}

action_extent extent_of(byte_run bytes) {
  if (bytes.empty()) return {.state = extent_state::open};
  const std::uint8_t tag = bytes[0];
  if (!is_action_tag(tag)) return {};
  const std::size_t head =
      FW_ACTION_HEAD_SIZE + static_cast<std::size_t>(HEADER_SIZES[tag]);
  if (bytes.size() < head) return {.state = extent_state::open};
  const body_size body = body_size_of(tag, bytes.data() + FW_ACTION_HEAD_SIZE);
  if (!body) return {};
  return {.state = extent_state::known, .length = head + *body};
}

head_limits limits_behind(const action_head& head) {
  return {
      .lowest_number = head.number + 1,
      .earliest = head.timestamp - std::min(head.timestamp, DAY),
      .latest = head.timestamp + std::min(UINT32_MAX - head.timestamp, YEAR)};
}

bool may_follow(const action_head& earlier, const action_head& later) {
  const head_limits limits = limits_behind(earlier);
  return later.timestamp >= limits.earliest && later.timestamp <= limits.latest;
}

chain_state chain_at(byte_run bytes) {
  std::optional<action_head> before;
  for (int count = 1;; ++count) {
    if (!bytes.empty() && !is_action_tag(bytes[0])) return chain_state::broken;
    if (bytes.size() < FW_ACTION_HEAD_SIZE) return chain_state::open;
    const action_head head = decode_action_head(bytes.data());
    if (before &&
        (head.number != before->number + 1 || !may_follow(*before, head))) {
      return chain_state::broken;
    }
    const action_extent extent = extent_of(bytes);
    if (extent.state == extent_state::impossible) return chain_state::broken;
    if (count == CHAIN_LENGTH) return chain_state::holds;
    if (extent.state == extent_state::open) return chain_state::open;
    if (head.tag == FW_TAG_END) {
      return count > 1 && bytes.size() == extent.length ? chain_state::holds
                                                        : chain_state::broken;
    }
    if (extent.length > CHAIN_REACH / 2) {
      return count > 1 ? chain_state::holds : chain_state::broken;
    }
    if (extent.length > bytes.size()) return chain_state::open;
    bytes = bytes.subspan(extent.length);
    before = head;
  }
}
