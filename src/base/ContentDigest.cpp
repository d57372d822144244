#include "base/ContentDigest.h"

#include <algorithm>
#include <cstring>

namespace quillmor {

namespace {

__extension__ using WideProduct = unsigned __int128;

// Odd, with as many ones as zeros and no pattern.
constexpr std::array<std::uint64_t, 4> kMultipliers = {0xA3D9C15F2B7E8461, 0xC95A1E63F7084BD3,
                                                       0x8D3B6FA2945C17E9, 0xE1742D8B5C93A60F};
/// Both halves of a product depend on all bits of its factors.
std::uint64_t folded(std::uint64_t a, std::uint64_t b) {
  const WideProduct product = static_cast<WideProduct>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

}  // namespace

/// The lanes do not wait for each other, so the processor works on all of them at once.
void ContentDigester::mix(Lanes& lanes, const std::uint8_t* block) {
  Lanes words;
  static_assert(sizeof(words) == kBlockBytes);
  std::memcpy(words.data(), block, kBlockBytes);
  for (std::size_t i = 0; i < lanes.size(); ++i) {
    lanes[i] = folded(lanes[i] ^ words[i], kMultipliers[i]) + words[i];
  }
}

void ContentDigester::append(std::span<const std::uint8_t> bytes) {
  byteCount_ += std::ssize(bytes);
  if (restCount_ > 0) {
    const auto head = bytes.first(std::min(bytes.size(), kBlockBytes - restCount_));
    std::ranges::copy(head, rest_.data() + restCount_);
    restCount_ += head.size();
    bytes = bytes.subspan(head.size());
    if (restCount_ < kBlockBytes) return;
    mix(lanes_, rest_.data());
  }
  Lanes lanes = lanes_;
  for (; bytes.size() >= kBlockBytes; bytes = bytes.subspan(kBlockBytes)) mix(lanes, bytes.data());
  lanes_ = lanes;
  std::ranges::copy(bytes, rest_.begin());
  restCount_ = bytes.size();
}

ContentDigest ContentDigester::digest() const {
  std::array<std::uint8_t, kBlockBytes> last{};
  std::copy_n(rest_.begin(), restCount_, last.begin());
  Lanes lanes = lanes_;
  mix(lanes, last.data());
  return {.byteCount = byteCount_, .lanes = lanes};
}

ContentDigest contentDigest(std::span<const std::uint8_t> bytes) {
  ContentDigester digester;
  digester.append(bytes);
  return digester.digest();
}

}  // namespace quillmor
