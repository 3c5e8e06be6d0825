#ifndef CHRONEX_UTIL_CHRONEX_INPUT_BYTE_SOURCE_H
#define CHRONEX_UTIL_CHRONEX_INPUT_BYTE_SOURCE_H

// Where the bytes of an input come from, plain and gzip-compressed alike.
//
// zlib's gz interface is not used: it waits until its whole buffer is full,
// which would hold back the newest actions of a pipe that is still being
// written; it drops what it has already decompressed when it meets damage; and
// it takes more time where there are many small files.

#include <zlib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "common/owned_bytes.h"
#include "util/chronex/input/growth_watch.h"

// What compressed inputs begin with.
inline constexpr std::array<std::uint8_t, 2> GZIP_MAGIC{0x1f, 0x8b};

class byte_source {
 public:
  byte_source() = default;
  byte_source(const byte_source&) = delete;
  byte_source& operator=(const byte_source&) = delete;
  virtual ~byte_source() = default;

  // Reads at least one byte into `room` (not empty) and returns how many. 0
  // means that nothing more can be read: at the natural end, or because of what
  // error() says then.
  virtual std::size_t read(std::span<std::uint8_t> room) = 0;

  // What has been read of the input was gzip-compressed, so that a check sum
  // stands at its end.
  virtual bool is_compressed() const = 0;

  // What zlib or the system found wrong, as damage or as a failed read; empty
  // when the input just ended.
  const std::string& error() const { return error_; }
  // Whether a read waits until a growing file has more; without, 0 means only
  // that there is nothing yet.
  void let_wait(bool waits) { waits_ = waits; }

  // The input ended in the middle of its compressed data.
  bool truncated() const { return truncated_; }
  // Not the input is at fault: the errno of what the process lacks, memory or
  // descriptors. 0 = nothing.
  int resource_error() const { return resource_error_; }

 protected:
  std::string error_;
  bool truncated_ = false;
  int resource_error_ = 0;
  bool waits_ = true;
};

// What a live source does besides.
struct live_settings {
  // Called before every read that may have to wait.
  std::function<void()> before_wait = [] {};
  // The input is known not to be compressed; what comes first may look so.
  bool is_plain = false;
  // Behind damage of the compression, goes on with the next gzip member.
  bool passes_over_damage = false;
  // Of a file that may still grow; the caller's. Null: it has an end.
  growth_watch* growth = nullptr;
};

// Reads what is there, from a pipe, a device, or a file at its present offset,
// and decompresses it.
class live_source final : public byte_source {
 public:
  live_source(int descriptor, live_settings settings);
  ~live_source() override;
  std::size_t read(std::span<std::uint8_t> room) override;
  bool is_compressed() const override { return inflater_ready_; }

 private:
  // What comes next: the begin of the input, compressed or not; plain bytes;
  // the inside of a gzip member; what follows a member; what follows damage;
  // nothing.
  enum class place { begin, plain, member, behind_member, damaged, end };

  std::size_t read_descriptor(std::span<std::uint8_t> room);
  bool stop_requested() const;
  bool more_may_come();
  bool have_pending(std::size_t count);
  bool member_follows();
  void begin();
  void begin_member();
  void end_member();
  void seek_member();
  std::size_t read_plain(std::span<std::uint8_t> room);
  std::size_t inflate_some(std::span<std::uint8_t> room);
  void break_off();

  int descriptor_;
  live_settings settings_;
  place place_ = place::begin;
  // The descriptor has nothing more.
  bool input_ended_ = false;
  // It had nothing more just now, and was not waited for.
  bool input_is_dry_ = false;
  owned_bytes input_;
  // The part of input_ that has not been used yet.
  std::span<std::uint8_t> pending_;
  // The part where another member may begin, should this one be damaged.
  std::span<std::uint8_t> behind_begin_;
  z_stream inflater_{};
  bool inflater_ready_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_BYTE_SOURCE_H
