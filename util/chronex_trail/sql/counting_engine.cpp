#include "util/chronex_trail/sql/counting_engine.h"

namespace {

class no_rows : public row_writer {
 public:
  void begin(std::int64_t /*first*/) override {}
  void bind(int /*column*/, std::int64_t /*number*/) override {}
  void bind_natural(int /*column*/, std::uint64_t /*number*/) override {}
  void bind_decimal(int /*column*/, std::string_view /*digits*/) override {}
  void bind_real(int /*column*/, double /*number*/) override {}
  void bind_time(int /*column*/, const row_time& /*time*/) override {}
  void bind_text(int /*column*/, std::string_view /*utf8*/) override {}
  void bind_literal(int /*column*/, std::string_view /*utf8*/) override {}
  void bind_bytes(int /*column*/,
                  std::span<const std::uint8_t> /*bytes*/) override {}
  void end() override {}
  void flush() override {}
  std::size_t footprint() const override { return sizeof *this; }
};

}  // namespace

std::unique_ptr<row_writer> counting_engine::open(const table_form& /*table*/,
                                                  std::size_t /*row_size*/) {
  return std::make_unique<no_rows>();
}
