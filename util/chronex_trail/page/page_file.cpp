#include "util/chronex_trail/page/page_file.h"

#include <nettle/base64.h>
#include <nettle/sha2.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "util/chronex_trail/files/gzip_member.h"
#include "util/chronex_trail/page/page_parts.h"

namespace {

constexpr std::size_t COLUMN_ROWS = 10'000;

std::string base64(std::string_view bytes) {
  std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(text.data(), bytes.size(),
                    reinterpret_cast<const std::uint8_t*>(bytes.data()));
  return text;
}

// A source of a policy that allows exactly this text.
std::string source_of(std::string_view text) {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest;
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, text.size(),
                reinterpret_cast<const std::uint8_t*>(text.data()));
  sha256_digest(&context, digest.size(), digest.data());
  std::string source = "'sha256-";
  source +=
      base64({reinterpret_cast<const char*>(digest.data()), digest.size()});
  return source + '\'';
}

class page_writer {
 public:
  explicit page_writer(byte_sink& sink) : sink_(sink) {}

  void put(std::string_view bytes) {
    if (result_ == 0) result_ = sink_.write(bytes);
  }
  void put_head();
  // A block of data that the script finds under its kind; compressed members in
  // base64, with blanks between them.
  void put_data(std::string_view kind, std::string_view text,
                std::size_t row_count = 0);
  void put_script(std::string_view text);

  int result() const { return result_; }

 private:
  byte_sink& sink_;
  gzip_member_maker members_;
  int result_ = 0;
};

void page_writer::put_head() {
  put(R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; script-src )");
  put(source_of(CHART_LIBRARY));
  put(" ");
  put(source_of(PAGE_SCRIPT));
  put("; style-src ");
  put(source_of(PAGE_STYLE));
  put(R"(; base-uri 'none'; form-action 'none'">
<meta name="referrer" content="no-referrer">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>Audit trail</title>
<style>)");
  put(PAGE_STYLE);
  put("</style>\n</head>\n<body>\n");
  put(PAGE_BODY);
}

void page_writer::put_data(std::string_view kind, std::string_view text,
                           std::size_t row_count) {
  put(R"(<script type="application/gzip" data-kind=")");
  put(kind);
  put(R"(" data-rows=")");
  put(std::to_string(row_count));
  put("\">");
  for (std::size_t at = 0; at < text.size();
       at += gzip_member_maker::MEMBER_SIZE) {
    if (at > 0) put(" ");
    put(base64(members_.make(text.substr(at, gzip_member_maker::MEMBER_SIZE))));
  }
  put("</script>\n");
}

void page_writer::put_script(std::string_view text) {
  put("<script>");
  put(text);
  put("</script>\n");
}

}  // namespace

int write_page(byte_sink& sink, const page_data& data, std::size_t row_count) {
  page_writer page(sink);
  page.put_head();
  page.put_data("summary", data.summary());
  page.put_data("sessions", data.sessions());
  for (std::size_t at = 0; at < row_count; at += COLUMN_ROWS) {
    page.put_data("columns",
                  data.columns(at, std::min(row_count, at + COLUMN_ROWS)));
  }
  for (std::size_t at = 0; at < row_count;) {
    const std::size_t begin = at;
    const std::string values = data.values(at);
    page.put_data("values", values, at - begin);
  }
  page.put_script(CHART_LIBRARY);
  page.put_script(PAGE_SCRIPT);
  page.put("</body>\n</html>\n");
  return page.result();
}
