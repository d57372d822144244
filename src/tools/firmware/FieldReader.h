#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "base/Check.h"
#include "tools/firmware/LittleEndian.h"

namespace quillmor {

/// Reads the fields of little-endian structures. The caller has checked the bounds; a field outside
/// the bytes is a programming error that stops the process. The bytes outlive the reader.
class FieldReader {
 public:
  explicit FieldReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::int64_t size() const { return std::ssize(bytes_); }

  std::uint8_t byte(std::int64_t offset) const {
    checkPrecondition(offset >= 0 && offset < size(), "a byte within the bytes");
    return bytes_[static_cast<std::size_t>(offset)];
  }

  std::uint16_t word(std::int64_t offset) const {
    const auto value = readUInt16LE(bytes_, offset);
    checkPrecondition(value.has_value(), "a word within the bytes");
    return *value;
  }

  std::uint32_t doubleWord(std::int64_t offset) const {
    const auto value = readUInt32LE(bytes_, offset);
    checkPrecondition(value.has_value(), "a double word within the bytes");
    return *value;
  }

  /// True if `magic` is at `offset`; false if it would reach outside the bytes.
  bool has(std::string_view magic, std::int64_t offset = 0) const {
    if (offset < 0 || offset > size() - std::ssize(magic)) return false;
    const auto at = bytes_.subspan(static_cast<std::size_t>(offset), magic.size());
    return std::ranges::equal(at, magic, {}, {},
                              [](char character) { return static_cast<std::uint8_t>(character); });
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace quillmor
