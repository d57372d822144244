#include "kernels/LineKernels.h"

#include <array>
#include <cstring>

#include "base/HexText.h"
#include "kernels/Cpu.h"

namespace quillmor {
namespace {

constexpr std::size_t kBytesPerLine = LineKernels::kBytesPerLine;

/// What every byte is in a line, laid out for direct stores.
struct Characters {
  std::array<std::array<char, 2>, 256> digits;
  /// Two digits and two spaces, of which the second is overwritten by the next byte's digits.
  std::array<std::array<char, 4>, 256> spaced;
  std::array<char, 256> printable;
};

const Characters& characters() {
  static const Characters kCharacters = [] {
    Characters built{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const auto digits = uppercaseHexByteStrings[byte];
      built.digits[byte] = {digits[0], digits[1]};
      built.spaced[byte] = {digits[0], digits[1], ' ', ' '};
      built.printable[byte] = printableASCIIByteStrings[byte].front();
    }
    return built;
  }();
  return kCharacters;
}

template <std::size_t Size>
char* put(char* out, const std::array<char, Size>& text) {
  std::memcpy(out, text.data(), Size);
  return out + Size;
}

char* hexDump(char* out, const std::uint8_t* bytes, std::size_t lineCount, std::uint32_t offset) {
  const Characters& table = characters();
  for (std::size_t line = 0; line < lineCount; ++line) {
    for (int shift = 24; shift >= 0; shift -= 8)
      out = put(out, table.digits[offset >> shift & 0xFF]);
    out = put<2>(out, {' ', ' '});
    for (std::size_t i = 0; i < kBytesPerLine; ++i) out = put(out, table.spaced[bytes[i]]) - 1;
    out = put<2>(out, {' ', '|'});
    for (std::size_t i = 0; i < kBytesPerLine; ++i) *out++ = table.printable[bytes[i]];
    out = put<2>(out, {'|', '\n'});
    bytes += kBytesPerLine;
    offset += kBytesPerLine;
  }
  return out;
}

char* intelHex(char* out, const std::uint8_t* bytes, std::size_t lineCount, std::uint32_t offset) {
  const auto& digits = characters().digits;
  for (std::size_t line = 0; line < lineCount; ++line) {
    const std::uint32_t high = offset >> 8 & 0xFF;
    const std::uint32_t low = offset & 0xFF;
    std::uint32_t sum = static_cast<std::uint32_t>(kBytesPerLine) + high + low;
    out = put<3>(out, {':', '1', '0'});
    out = put(put(out, digits[high]), digits[low]);
    out = put<2>(out, {'0', '0'});
    for (std::size_t i = 0; i < kBytesPerLine; ++i) {
      out = put(out, digits[bytes[i]]);
      sum += bytes[i];
    }
    out = put(out, digits[(0U - sum) & 0xFF]);
    *out++ = '\n';
    bytes += kBytesPerLine;
    offset += kBytesPerLine;
  }
  return out;
}

constexpr KernelVariant<LineKernels> kVariants[] = {{portableLineKernels},
                                                    {avx2LineKernels, CpuFeature::avx2}};

}  // namespace

constinit const LineKernels portableLineKernels = {
    .name = "portable", .hexDump = hexDump, .intelHex = intelHex};

const LineKernels& fastestLineKernels() {
  static const LineKernels& fastest = fastestOf(kVariants);
  return fastest;
}

std::vector<const LineKernels*> availableLineKernels() {
  return availableOf(kVariants);
}

}  // namespace quillmor
