#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillmor {

/// Two sums over a block of bytes, from which Adler-32 is made.
struct Adler32Sums {
  std::uint32_t bytes = 0;     ///< of the bytes
  std::uint32_t weighted = 0;  ///< of the bytes, the first times their number, the last times 1

  bool operator==(const Adler32Sums&) const = default;
};

/// The inner loop of Adler-32 (RFC 1950, section 9), once per kind of processor.
struct Adler32Kernel {
  /// The largest block in which no sum exceeds 32 bits, even when the sums start from the largest
  /// remainders. After so many bytes a modulo must be taken.
  static constexpr std::size_t kMaximumBlock = 5552;

  const char* name = nullptr;  ///< null where the program was built for another processor

  /// The sums over `count` bytes, at most `kMaximumBlock`; any alignment, any thread.
  Adler32Sums (*sums)(const std::uint8_t* bytes, std::size_t count) = nullptr;
};

/// The best kernel this processor runs, chosen on first use.
const Adler32Kernel& fastestAdler32Kernel();

/// All kernels this processor runs; first the portable one, which every processor runs.
std::vector<const Adler32Kernel*> availableAdler32Kernels();

/// The kernels themselves.
extern const Adler32Kernel portableAdler32Kernel;
extern const Adler32Kernel avx2Adler32Kernel;

}  // namespace quillmor
