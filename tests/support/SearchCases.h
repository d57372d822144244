#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "search/scan/SearchLimits.h"

namespace quillmor {

/// The limits of every kernel that this machine can run.
std::vector<SearchLimits> everyKernel();

/// Limits that make searches go every way they can: by each kernel, with a budget that is soon used
/// up, and by the linear search alone.
std::vector<SearchLimits> everyKindOfLimits();

/// `count` random searches, or fewer where a sanitizer makes each of them slow.
constexpr int modelCount(int count) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return count / 8;
#else
  return count;
#endif
}

/// Small searches that are likely to find something, and to almost find much more.
class RandomSearches {
 public:
  explicit RandomSearches(std::uint64_t seed) : random_(seed) {}

  /// A number of 0...`most`.
  std::int64_t upTo(std::int64_t most);

  /// Bytes from an alphabet of one to four letters in both cases, or of all 256 values; now and
  /// then the repetition of a few bytes with a fault in it.
  std::vector<std::uint8_t> haystack(std::int64_t maxLength);

  /// Part of `haystack`, often changed in one place or in its case, or bytes of its own.
  std::vector<std::uint8_t> needle(const std::vector<std::uint8_t>& haystack,
                                   std::int64_t maxLength);

 private:
  std::uint8_t letter(int alphabet);

  std::mt19937_64 random_;
};

}  // namespace quillmor
