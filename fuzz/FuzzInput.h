#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quillmor::fuzz {

/// The bytes of one run, taken apart: choices from the end, so that a file of the corpus begins
/// with its text, and the text that is left.
class FuzzInput {
 public:
  explicit FuzzInput(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  /// The last byte left; 0 when none is.
  std::uint8_t takeByte() {
    if (bytes_.empty()) return 0;
    const std::uint8_t byte = bytes_.back();
    bytes_ = bytes_.first(bytes_.size() - 1);
    return byte;
  }

  /// 0...`bound` - 1.
  std::size_t takeBelow(std::size_t bound) { return takeByte() % bound; }

  /// Everything left, as text that need not be UTF-8.
  std::string_view text() const {
    return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()};
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace quillmor::fuzz
