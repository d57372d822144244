#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillmor {

/// The inner loops of the exporters that write one line for every 16 bytes, once per kind of
/// processor. Any alignment; no lines are fine. They allocate nothing and throw nothing. Any
/// thread.
struct LineKernels {
  static constexpr std::size_t kBytesPerLine = 16;
  static constexpr std::size_t kHexDumpLineLength = 78;
  static constexpr std::size_t kIntelHexLineLength = 44;

  /// Writes `lineCount` lines for 16 `bytes` each; the first byte has `offset`. Returns where the
  /// text ends.
  using Lines = char* (*)(char* out, const std::uint8_t* bytes, std::size_t lineCount,
                          std::uint32_t offset);

  const char* name = nullptr;  ///< null where the program was built for another processor
  Lines hexDump =
      nullptr;  ///< lines of `HexDumpExporter`; the offset of the last line fits 32 bits
  Lines intelHex =
      nullptr;  ///< data records of `IntelHexExporter`; the upper half of `offset` is left out
};

/// The best kernels this processor runs, chosen on first use.
const LineKernels& fastestLineKernels();

/// All kernels this processor runs; first the portable ones, which every processor runs.
std::vector<const LineKernels*> availableLineKernels();

/// The kernels themselves.
extern const LineKernels portableLineKernels;
extern const LineKernels avx2LineKernels;

}  // namespace quillmor
