#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace quillmor {

/// Tells whether bytes are still the same without keeping them. Other bytes have another digest but
/// for a chance of about one in 2^60; against somebody who forges bytes it is no help.
struct ContentDigest {
  std::int64_t byteCount = 0;
  std::array<std::uint64_t, 4> lanes{};

  bool operator==(const ContentDigest&) const = default;
};

/// The digest of `bytes`, at about the speed of memory. Any thread.
ContentDigest contentDigest(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
