#include "util/chronex_trail/run/waiting_text.h"

#include <algorithm>
#include <utility>

namespace {

// From so many on, keeping a buffer is cheaper than copying its bytes.
constexpr std::size_t KEPT_FROM = std::size_t{16} * 1024;

}  // namespace

// The one that was used last is the most likely to be in a cache.
std::unique_ptr<text_buffer> waiting_text::spare_buffer() {
  if (spare_.empty()) return std::make_unique_for_overwrite<text_buffer>();
  std::unique_ptr<text_buffer> buffer = std::move(spare_.back());
  spare_.pop_back();
  return buffer;
}

void waiting_text::append(std::string_view bytes) {
  size_ += bytes.size();
  while (!bytes.empty()) {
    if (buffers_.empty() ||
        buffers_.back().end == buffers_.back().text->size()) {
      buffers_.emplace_back().text = spare_buffer();
    }
    filled_buffer& last = buffers_.back();
    const std::size_t count =
        bytes.copy(last.text->data() + last.end, last.text->size() - last.end);
    last.end += count;
    bytes.remove_prefix(count);
  }
}

void waiting_text::append(std::unique_ptr<text_buffer>& buffer,
                          std::size_t size) {
  if (size < KEPT_FROM) {
    append({buffer->data(), size});
    return;
  }
  filled_buffer& last = buffers_.emplace_back();
  last.text = spare_buffer();
  last.text.swap(buffer);
  last.end = size;
  size_ += size;
}

int waiting_text::take(std::size_t size,
                       const std::function<int(std::string_view)>& write) {
  while (size > 0) {
    filled_buffer& first = buffers_.front();
    const std::size_t count = std::min(size, first.end - first.begin);
    if (write({first.text->data() + first.begin, count}) != 0) return -1;
    first.begin += count;
    size -= count;
    size_ -= count;
    if (first.begin < first.end) continue;
    spare_.push_back(std::move(first.text));
    buffers_.pop_front();
  }
  return 0;
}
