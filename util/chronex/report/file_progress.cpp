#include "util/chronex/report/file_progress.h"

#include "util/chronex/input/charset.h"
#include "util/chronex/report/report.h"

bool report_file_begin(const input_file& file) {
  if (report.fp == nullptr || report.file_level < 1) return false;
  print_conditional_newline();
  report.fp->put("processing file: ");
  report.fp->put(file.name);
  report.fp->put('\n');
  return true;
}

void report_file_version(const input_file& file) {
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
