#include "fuzz/fuzz_run.h"

#include <fcntl.h>

#include <cstdlib>
#include <string_view>

#include "common/crypto_api.h"
#include "common/md5.h"
#include "server/misc/keyutil.h"
#include "util/chronex/messages/run_failed.h"

namespace {

constexpr std::string_view SIGNATURE_HEAD = "KORV.";
constexpr std::size_t SETTINGS_OFFSET = 19;

// Holds for some events and fails for others, by tests of every kind.
constexpr const char* FILTER =
    "(SHOP.* AND RECNO<>3 OR user={A*} AND TIMESTAMP>2023-11-14 22:13) AND "
    "(NOT DBDELETE OR QTY>1 OR -NAME='S*' OR +PRICE<=12 OR ORDER[2]=4 OR "
    "DBBEGIN={batch*} OR CONNTIME BETWEEN {1} {9999999999} OR BAL BETWEEN 1 "
    "99)";

void add_master_key() {
  constexpr std::string_view KEY = "a master key of thirty-two chars";
  const fuzz_bytes key_bytes(reinterpret_cast<const std::uint8_t*>(KEY.data()),
                             KEY.size());
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, key_bytes);
  key_buffer check;
  key_buffer key;
  fuzz_check(check.assign(MKEY_TYPE_CHECK, ko__MD5Final(context)) &&
                 key.assign(MKEY_TYPE_AES, key_bytes) &&
                 ko_enc_mkey_init() == 0 &&
                 ko_enc_mkey_add_key(check, key, nullptr) == 0,
             "a master key can be added");
}

report_stream& null_report() {
  static report_stream stream(open("/dev/null", O_WRONLY | O_CLOEXEC));
  return stream;
}

void apply_settings(std::uint8_t settings, chronex_run& run) {
  const int level = (settings & RUN_BRIEF) != 0 ? 1 : 3;
  const int dump = (settings & RUN_HEX_DUMPS) != 0 ? 1 : 0;
  run.report.report = {
      .fp = (settings & RUN_NO_REPORT) != 0 ? nullptr : &null_report(),
      .blank_line = level > 1 ? 1 : 0,
      .file_level = level,
      .comment_level = level,
      .sign_on_level = level,
      .sign_off_level = level,
      .memo_level = level,
      .memo_dump = dump,
      .schema_level = level,
      .image_level = level,
      .image_dump = dump,
      .item_limit = (settings & RUN_ITEM_LIMIT) != 0 ? 2 : 1000000};
  run.messages.verbose = level > 1 ? 1 : 0;
  const bool resync = (settings & RUN_PASSES_OVER_DAMAGE) != 0;
  run.inputs.passes_over_damage = resync;
  run.forward_logs.passes_over_damage = resync;
  run.forward_logs.numbers.loses_actions_in_gaps = resync;
  if ((settings & RUN_FILTERED) != 0) {
    fuzz_check(run.filter.append_filter_expr(FILTER) == 0 &&
                   run.filter.setup_filter_expr() == 0,
               "the filter is right");
  }
  if ((settings & RUN_ITEM_LIST) != 0) {
    fuzz_check(run.item_names.add("qty, NAME price,bal"), "names can be added");
  }
}

// The run from the opening of the inputs up to the last of them.
bool process(chronex_run& run, std::span<char* const> operands) {
  try {
    if (run.inputs.open(operands) != 0) return false;
    if (run.audit.stream.is_open() &&
        run.audit.audit_write_header(run.charset_id, "a comment") != 0) {
      return false;
    }
    for (const auto& file : run.inputs.files()) {
      if (process_input(run, *file) != 0) return false;
    }
    return true;
  } catch (const run_failed&) {
    return false;
  }
}

}  // namespace

std::uint8_t fuzz_run_settings(fuzz_bytes file) {
  return file.size() > SETTINGS_OFFSET ? file[SETTINGS_OFFSET]
                                       : std::uint8_t{0};
}

std::vector<fuzz_bytes> fuzz_run_files(fuzz_bytes input) {
  std::vector<fuzz_bytes> files;
  while (files.size() + 1 < FUZZ_MAX_FILES) {
    const std::size_t next = fuzz_text(input).find(SIGNATURE_HEAD, 1);
    if (next == std::string_view::npos) break;
    files.push_back(input.first(next));
    input = input.subspan(next);
  }
  files.push_back(input);
  return files;
}

void fuzz_run_setup() {
  setenv("TZ", "UTC0", 1);
  fuzz_check(ko_enc__load(nullptr) == 0, "the crypto library is there");
  add_master_key();
}

// libFuzzer calls this before the first input.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz_run_setup();
  return 0;
}

bool fuzz_run(std::span<const fuzz_bytes> files, std::uint8_t settings,
              std::vector<std::uint8_t>* audit_file) {
  static std::array<memory_file, FUZZ_MAX_FILES> inputs;
  static memory_file audit;
  const auto run = std::make_unique<chronex_run>();
  apply_settings(settings, *run);
  run->audit.stream.audit_fname = audit.path();
  audit.write({});
  if ((settings & RUN_NO_AUDIT) == 0) {
    fuzz_check(run->audit.stream.audit_open(false, 0, 0600) == 0,
               "the audit file can be opened");
    run->events.add_output(run->audit);
  }

  std::array<char*, FUZZ_MAX_FILES> operands{};
  for (std::size_t i = 0; i < files.size(); ++i) {
    inputs[i].write(files[i]);
    operands[i] = inputs[i].path();
  }
  const bool done = process(*run, std::span(operands).first(files.size()));
  fuzz_check(run->audit.stream.audit_close() == 0,
             "the audit file can be closed");
  if (audit_file != nullptr) *audit_file = audit.contents();
  return done;
}
