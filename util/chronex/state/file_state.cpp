// The inputs that others refer to.

#include <algorithm>
#include <new>
#include <utility>

#include "util/chronex/state/table_state.h"

namespace {

void save_file(const input_file& file, state_writer& state) {
  state.text(file.name);
  state.u8(static_cast<std::uint8_t>(file.type));
  state.flag(file.is_standard_input);
  state.u16(file.charset);
  state.u16(static_cast<std::uint16_t>(file.major));
  state.u16(static_cast<std::uint16_t>(file.minor));
  state.flag(file.audit_only);
  state.u32(file.release);
  state.u32(file.volume_set_id);
  state.u32(file.generation);
  state.u32(file.sequence);
}

bool restore_file(state_reader& state, input_file& file) {
  file.name = state.text();
  file.type = state.u8();
  file.is_standard_input = state.flag();
  file.charset = state.u16();
  file.major = state.u16();
  file.minor = state.u16();
  file.audit_only = state.flag();
  file.release = state.u32();
  file.volume_set_id = state.u32();
  file.generation = state.u32();
  file.sequence = state.u32();
  // A name ends at the first zero byte wherever the system sees it.
  return !state.has_failed() && file.name.find('\0') == std::string::npos &&
         (file.type == FWLOG_FILE || file.type == AUDIT_FILE);
}

}  // namespace

std::uint32_t state_files::number_of(const input_file* file) {
  if (file == nullptr) return 0;
  auto found = std::ranges::find(files_, file);
  if (found == files_.end()) {
    files_.push_back(file);
    found = files_.end() - 1;
  }
  return static_cast<std::uint32_t>(found - files_.begin()) + 1;
}

void state_files::save(state_writer& state) const {
  state.begin_section({'F', 'I', 'L', 'E'});
  state.u32(static_cast<std::uint32_t>(files_.size()));
  for (const input_file* file : files_) save_file(*file, state);
  state.end_section();
}

bool state_files::restore(const run_parts& run, state_reader& state) {
  state_reader section = state.section({'F', 'I', 'L', 'E'});
  for (std::uint32_t left = section.u32(); left > 0; --left) {
    auto file = std::make_unique<input_file>(run.events.messages);
    if (!restore_file(section, *file)) return false;
    files_.push_back(file.get());
    run.earlier_files.push_back(std::move(file));
  }
  return section.is_at_end();
}

const input_file* state_files::file(std::uint32_t number,
                                    state_reader& state) const {
  if (number == 0) return nullptr;
  if (number > files_.size()) {
    state.fail();
    return nullptr;
  }
  return files_[number - 1];
}
