#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "document/HexSelection.h"
#include "fileaccess/StableFile.h"

namespace quillmor {

/// Bytes that passes go through piece by piece: bytes in memory, or a range of a file that each
/// pass reads for itself. The bytes or the file outlive it. Any thread, several at a time.
class ByteSource {
 public:
  explicit ByteSource(std::span<const std::uint8_t> bytes)
      : bytes_(bytes), size_(std::ssize(bytes)) {}

  /// `range` lies within the file.
  ByteSource(const StableFile& file, HexSelection range)
      : file_(&file), start_(range.start), size_(range.length) {}

  std::int64_t size() const { return size_; }

  /// Returns the bytes from `begin` on, at most `maximumCount` of them. They are valid until
  /// `buffer`, which belongs to the pass, is used again. Fails as `StableFile::read` does.
  std::span<const std::uint8_t> piece(std::int64_t begin, std::int64_t maximumCount,
                                      std::vector<std::uint8_t>& buffer) const {
    const auto count = static_cast<std::size_t>(std::min(maximumCount, size_ - begin));
    if (file_ == nullptr) return bytes_.subspan(static_cast<std::size_t>(begin), count);
    buffer.resize(count);
    file_->read(start_ + begin, buffer);
    return buffer;
  }

 private:
  std::span<const std::uint8_t> bytes_;
  const StableFile* file_ = nullptr;
  std::int64_t start_ = 0;
  std::int64_t size_ = 0;
};

}  // namespace quillmor
