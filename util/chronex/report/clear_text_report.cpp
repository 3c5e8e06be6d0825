#include "util/chronex/report/clear_text_report.h"

#include "util/chronex/input/charset.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex/report/hexdump.h"
#include "util/chronex/report/visible_text.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"

namespace {

// Longer comments are echoed up to here, unless whole ones are asked for.
constexpr std::size_t SHOWN_COMMENT_SIZE = 256;

std::string_view word_of(int op) {
  if (op == OP_UPDATE) return "DBUPDATE ";
  return op == OP_PUT ? "DBPUT " : "DBDELETE ";
}

void put_line(report_stream& out, std::string_view label,
              std::uint32_t number) {
  out.put(label);
  out.put_unsigned(number);
  out.put('\n');
}

}  // namespace

void clear_text_report::print_conditional_newline() {
  if (report.blank_line != 0 || first_entry_) report.fp->put('\n');
  first_entry_ = false;
}

void clear_text_report::report_flush() {
  if (report.fp != nullptr) report.fp->flush();
}

void clear_text_report::action_done() { report_flush(); }

void clear_text_report::file_ends() { report_flush(); }

// What the headers of all kinds of files say.
void clear_text_report::report_version(const input_file& file) {
  report_stream& out = *report.fp;
  out.put(" version: ");
  out.put_signed(file.major);
  out.put('.');
  out.put_two_digits(file.minor);
  out.put("\n byte order: ");
  out.put_unsigned(file.byte_order);
  out.put("\n character set: ");
  out.put(charset_name(file.charset));
  out.put(" (");
  out.put_unsigned(file.charset);
  out.put(")\n");
}

void clear_text_report::report_forward_log(const input_file& file) {
  report_stream& out = *report.fp;
  put_line(out, " volume release: ", file.release);
  out.put(" volume set id: 0x");
  out.put_hex(file.volume_set_id);
  out.put('\n');
  put_line(out, " volume generation: ", file.generation);
  out.put(" file sequence: ");
  out.put_signed(static_cast<std::int32_t>(file.sequence));
  out.put('\n');
}

int clear_text_report::file_accepted(const input_file& file) {
  if (report.fp == nullptr || report.file_level < 1) return 0;
  print_conditional_newline();
  report.fp->put("processing file: ");
  report.fp->put(file.name);
  report.fp->put('\n');
  if (report.file_level >= 2) {
    if (file.audit_only) report.fp->put(" format: audit-only\n");
    report_version(file);
    if (file.type == FWLOG_FILE) report_forward_log(file);
  }
  report_flush();
  return 0;
}

int clear_text_report::schema(const node_entry& node,
                              const event_place& /*place*/) {
  if (report.fp == nullptr || report.schema_level < 1) return 0;
  print_conditional_newline();
  report_stream& out = *report.fp;
  out.put("SCHEMA ");
  out.put_foreign(node_name(node));
  out.put(" record size: ");
  out.put_signed(node.set->rec_sz);
  out.put(" bytes\n");
  if (report.schema_level >= 2) report_items(node);
  return 0;
}

void clear_text_report::report_items(const node_entry& node) {
  report_stream& out = *report.fp;
  for (const item_descriptor& item : node.set->item_list()) {
    out.put(" '");
    out.put_foreign_c_string(
        node.set->list_bytes().subspan(item.name_off, item.name_len));
    out.put("' type:");
    const char letter = static_cast<char>(item.type);
    out.put_foreign({&letter, 1});
    out.put(" count:");
    out.put_unsigned(item.count);
    out.put(" size:");
    out.put_unsigned(item.size);
    out.put(" fmt:0x");
    out.put_hex(item.fmt);
    out.put('\n');
  }
}

bool clear_text_report::shows_operations() const {
  return report.image_level >= 1 || report.image_dump >= 1;
}

int clear_text_report::operation(const image_operation& operation,
                                 const event_place& /*place*/) {
  if (report.fp != nullptr && shows_operations()) report_operation(operation);
  return 0;
}

void clear_text_report::report_operation(const image_operation& operation) {
  print_conditional_newline();
  report_stream& out = *report.fp;
  out.put(word_of(operation.op));
  out.put_foreign(node_name(operation.node));
  out.put(" recno:");
  out.put_unsigned(operation.recno);
  out.put(" session:");
  out.put_signed(operation.session.session_id);
  out.put('\n');
  if (report.image_level >= 2 || report.image_dump >= 1) {
    out.put(" timestamp: ");
    out.put(local_time_.text(operation.timestamp));
    out.put('\n');
  }
  if (report.image_level >= 3 || report.image_dump >= 1) {
    dump_.dump_record(*operation.node.set, operation.before, operation.after,
                      report.image_dump >= 1);
  }
}

int clear_text_report::comment(std::string_view text,
                               const event_place& /*place*/) {
  if (report.comment_level < 1) return 0;
  const bool cut =
      report.comment_level == 1 && text.size() > SHOWN_COMMENT_SIZE;
  if (cut) text = text.substr(0, SHOWN_COMMENT_SIZE);
  text = text.substr(0, text.find('\0'));
  std::string visible;
  if (messages_.on_terminal) text = visible = visible_text(text);
  messages_.print("%.*s%s\n", static_cast<int>(text.size()), text.data(),
                  cut ? " ..." : "");
  return 0;
}
