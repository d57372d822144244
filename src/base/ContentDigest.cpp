#include "base/ContentDigest.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace quillmor {

namespace {

using Lanes = std::array<std::uint64_t, 4>;
__extension__ using WideProduct = unsigned __int128;

constexpr std::size_t kBlockBytes = sizeof(Lanes);

// Odd, with as many ones as zeros and no pattern.
constexpr Lanes kMultipliers = {0xA3D9C15F2B7E8461, 0xC95A1E63F7084BD3, 0x8D3B6FA2945C17E9,
                                0xE1742D8B5C93A60F};
constexpr Lanes kInitialLanes = {0x71C3A95E0D2F8B46, 0x2E9B5D174CA8F063, 0x96F04E8B3A5DC712,
                                 0x4D82B7F1C6930EA5};

/// Both halves of a product depend on all bits of its factors.
std::uint64_t folded(std::uint64_t a, std::uint64_t b) {
  const WideProduct product = static_cast<WideProduct>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// The lanes do not wait for each other, so the processor works on all of them at once.
void mix(Lanes& lanes, const std::uint8_t* block) {
  Lanes words;
  std::memcpy(words.data(), block, kBlockBytes);
  for (std::size_t i = 0; i < lanes.size(); ++i) {
    lanes[i] = folded(lanes[i] ^ words[i], kMultipliers[i]) + words[i];
  }
}

}  // namespace

ContentDigest contentDigest(std::span<const std::uint8_t> bytes) {
  Lanes lanes = kInitialLanes;
  const auto byteCount = static_cast<std::int64_t>(bytes.size());
  for (; bytes.size() >= kBlockBytes; bytes = bytes.subspan(kBlockBytes)) mix(lanes, bytes.data());
  std::array<std::uint8_t, kBlockBytes> rest{};
  std::ranges::copy(bytes, rest.begin());
  mix(lanes, rest.data());
  return {.byteCount = byteCount, .lanes = lanes};
}

}  // namespace quillmor
