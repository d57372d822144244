#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace quillmor {

/// Tells whether bytes are still the same without keeping them. Different bytes have different
/// digests, except for a chance of about one in 2^60. It gives no protection against forged bytes.
/// Records on disk have it, so it stays the same from version to version.
struct ContentDigest {
  std::int64_t byteCount = 0;
  std::array<std::uint64_t, 4> lanes{};

  bool operator==(const ContentDigest&) const = default;
};

/// Takes the digest of bytes that come in pieces of any size. One thread at a time.
class ContentDigester {
 public:
  void append(std::span<const std::uint8_t> bytes);

  /// Returns the digest of all bytes so far.
  ContentDigest digest() const;

 private:
  static constexpr std::size_t kBlockBytes = 32;
  using Lanes = std::array<std::uint64_t, 4>;

  static void mix(Lanes& lanes, const std::uint8_t* block);

  Lanes lanes_ = {0x71C3A95E0D2F8B46, 0x2E9B5D174CA8F063, 0x96F04E8B3A5DC712, 0x4D82B7F1C6930EA5};
  std::int64_t byteCount_ = 0;
  /// The bytes after the last whole block.
  std::array<std::uint8_t, kBlockBytes> rest_{};
  std::size_t restCount_ = 0;
};

/// Returns the digest of `bytes`, at about the speed of memory. Any thread.
ContentDigest contentDigest(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
