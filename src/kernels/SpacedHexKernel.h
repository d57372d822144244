#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace quillmor {

/// The inner loop of hexadecimal text with one character after each byte, once per kind of
/// processor.
struct SpacedHexKernel {
  const char* name = nullptr;  ///< null where the program was built for another processor

  /// Writes two of the 16 `digits` and the `separator` for every byte: exactly `3 * bytes.size()`
  /// characters. Returns where they end. Any alignment; 0 bytes are fine. Any thread.
  char* (*write)(char* out, std::span<const std::uint8_t> bytes, std::string_view digits,
                 char separator) = nullptr;
};

/// The best kernel this processor runs, chosen on first use.
const SpacedHexKernel& fastestSpacedHexKernel();

/// All kernels this processor runs; first the portable one, which every processor runs.
std::vector<const SpacedHexKernel*> availableSpacedHexKernels();

/// The kernels themselves.
extern const SpacedHexKernel portableSpacedHexKernel;
extern const SpacedHexKernel ssse3SpacedHexKernel;

}  // namespace quillmor
