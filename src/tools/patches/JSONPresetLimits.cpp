#include "tools/patches/JSONPresetLimits.h"

#include <algorithm>

#include "base/Error.h"
#include "base/SaturatingMath.h"

namespace quillmor {

namespace {

/// `size + matches * growth`; false when it does not fit.
bool addProduct(std::int64_t size, std::int64_t matches, std::int64_t growth, std::int64_t* sum) {
  std::int64_t product = 0;
  return !__builtin_mul_overflow(matches, growth, &product) &&
         !__builtin_add_overflow(size, product, sum);
}

}  // namespace

JSONPresetExtent::JSONPresetExtent(std::int64_t size, std::int64_t growth,
                                   std::int64_t maximumByteCount)
    : size_(size), growth_(growth), limit_(std::max(size, maximumByteCount)) {}

std::int64_t JSONPresetExtent::sizeWith(std::int64_t matches) const {
  std::int64_t result = 0;
  if (!addProduct(size_, matches, growth_, &result)) {
    throw Error::quillmor(2610, "JSON preset output offset exceeded the supported address range.");
  }
  if (result > limit_) {
    throw Error::quillmor(2609, "JSON preset output would grow too much to process safely.");
  }
  return result;
}

bool JSONPresetExtent::allows(std::int64_t matches) const {
  std::int64_t result = 0;
  return addProduct(size_, matches, growth_, &result) && result <= limit_;
}

std::int64_t movedPresetBookmark(std::int64_t offset, std::int64_t shift) {
  std::int64_t moved = 0;
  if (__builtin_add_overflow(offset, shift, &moved)) {
    throw Error::quillmor(2611,
                          "JSON preset bookmark offset exceeded the supported address range.");
  }
  return moved;
}

}  // namespace quillmor
