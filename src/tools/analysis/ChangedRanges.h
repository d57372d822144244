#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quillmor {

/// The stretches in which the bytes of a file differ from those of a document, collected piece by
/// piece. Keeps the beginnings of the first stretches and counts the rest, so that the memory does
/// not grow with the files. One thread at a time.
class ChangedRanges {
 public:
  /// A stretch of differing bytes, and what it begins with on either side.
  struct Range {
    std::int64_t offset = 0;
    std::int64_t byteCount = 0;
    std::vector<std::uint8_t> oldBytes = {};
    std::vector<std::uint8_t> newBytes = {};

    bool operator==(const Range&) const = default;
  };

  static constexpr std::size_t kMaximumListedRanges = 300;
  static constexpr std::size_t kShownBytes = 16;

  /// Compares equally many bytes, which follow those of the call before.
  void compare(std::span<const std::uint8_t> oldBytes, std::span<const std::uint8_t> newBytes);

  /// Adds bytes that only one of the two has, after the end of the other one. Further calls follow
  /// on.
  void addRemoved(std::span<const std::uint8_t> oldBytes);
  void addAdded(std::span<const std::uint8_t> newBytes);

  std::int64_t rangeCount() const { return rangeCount_; }
  /// Bytes that differ or that only one of the two has.
  std::int64_t byteCount() const { return byteCount_; }
  std::optional<std::int64_t> firstOffset() const;
  /// The first ranges.
  const std::vector<Range>& listed() const { return listed_; }

  /// "3 ranges, 17 bytes, first at 0x000001A0". There is at least one.
  std::string summary() const;

  /// The listed ranges as text, each with its first bytes in the document and in the file.
  std::string report() const;

 private:
  void extend(std::int64_t offset, std::span<const std::uint8_t> oldBytes,
              std::span<const std::uint8_t> newBytes);

  std::vector<Range> listed_;
  std::int64_t rangeCount_ = 0;
  std::int64_t byteCount_ = 0;
  /// Bytes seen so far, in the longer one.
  std::int64_t position_ = 0;
  /// Where the last range ends; it goes on when the next difference is there.
  std::int64_t end_ = -1;
};

}  // namespace quillmor
