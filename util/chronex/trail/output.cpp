#include "util/chronex/trail/output.h"

#include "util/chronex/tables/node.h"

namespace {

std::span<const std::uint8_t> image_of(const node_entry& node,
                                       const std::uint8_t* image) {
  if (image == nullptr) return {};
  return {image, static_cast<std::size_t>(node.set->rec_sz)};
}

}  // namespace

std::span<const std::uint8_t> image_operation::before_image() const {
  return image_of(node, before);
}

std::span<const std::uint8_t> image_operation::after_image() const {
  return image_of(node, after);
}
