#include "tests/trail/page_reader.h"

#include <gtest/gtest.h>
#include <nettle/base64.h>
#include <zlib.h>

#include <array>
#include <sstream>

namespace {

std::string of_base64(std::string_view text) {
  base64_decode_ctx context;
  base64_decode_init(&context);
  std::string bytes(BASE64_DECODE_LENGTH(text.size()), '\0');
  std::size_t size = bytes.size();
  EXPECT_EQ(base64_decode_update(&context, &size,
                                 reinterpret_cast<std::uint8_t*>(bytes.data()),
                                 text.size(), text.data()),
            1);
  EXPECT_EQ(base64_decode_final(&context), 1);
  bytes.resize(size);
  return bytes;
}

std::string decompressed(std::string bytes) {
  z_stream stream{};
  EXPECT_EQ(inflateInit2(&stream, 16 + MAX_WBITS), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
  stream.avail_in = static_cast<uInt>(bytes.size());
  std::string text;
  std::array<char, 65536> part;
  int result = Z_OK;
  while (result == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(part.data());
    stream.avail_out = part.size();
    result = inflate(&stream, Z_NO_FLUSH);
    text.append(part.data(), part.size() - stream.avail_out);
  }
  EXPECT_EQ(result, Z_STREAM_END);
  inflateEnd(&stream);
  return text;
}

}  // namespace

std::vector<std::string> all_between(std::string_view text,
                                     std::string_view begin,
                                     std::string_view end) {
  std::vector<std::string> found;
  for (std::size_t at = text.find(begin); at != text.npos;
       at = text.find(begin, at)) {
    at += begin.size();
    const std::size_t to = text.find(end, at);
    if (to == text.npos) break;
    found.emplace_back(text.substr(at, to - at));
    at = to;
  }
  return found;
}

std::vector<std::string> page_blocks(std::string_view page,
                                     std::string_view kind) {
  std::vector<std::string> blocks;
  const std::string begin = "data-kind=\"" + std::string(kind) + "\"";
  for (const std::string& block : all_between(page, begin, "</script>")) {
    std::istringstream members(block.substr(block.find('>') + 1));
    std::string text;
    for (std::string member; members >> member;) {
      text += decompressed(of_base64(member));
    }
    blocks.push_back(text);
  }
  return blocks;
}

rapidjson::Document page_json(std::string_view page, std::string_view kind) {
  rapidjson::Document json;
  const auto blocks = page_blocks(page, kind);
  json.Parse(blocks.empty() ? "" : blocks.front().c_str());
  EXPECT_FALSE(json.HasParseError()) << kind;
  return json;
}

std::vector<rapidjson::Document> page_values(std::string_view page) {
  std::vector<rapidjson::Document> rows;
  for (const std::string& block : page_blocks(page, "values")) {
    std::istringstream lines(block);
    for (std::string line; std::getline(lines, line);) {
      rows.emplace_back().Parse(line.c_str());
      EXPECT_FALSE(rows.back().HasParseError()) << line;
    }
  }
  return rows;
}
