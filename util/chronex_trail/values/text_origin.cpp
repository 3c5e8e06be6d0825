#include "util/chronex_trail/values/text_origin.h"

#include "util/chronex/input/charset.h"

int charset_at(const event_place& place) {
  return place.file == nullptr ? NO_CHARSET : place.file->charset;
}

bool is_in_audit_file(const event_place& place) {
  return place.file != nullptr && place.file->type == AUDIT_FILE;
}

bool is_in_forward_log(const event_place& place) {
  return place.file != nullptr && place.file->type == FWLOG_FILE;
}

std::string_view name_as_given(const input_file& file) {
  return file.is_standard_input ? std::string_view("-") : file.name;
}
