#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace quillmor {

/// How the bytes of a pattern are compared with those of a haystack.
enum class PatternKind {
  exact,   ///< equal
  folded,  ///< equal, or the same ASCII letter in the other case
  masked,  ///< equal in the bits that the mask has
};

/// Bytes to be found, which somebody else owns.
struct PatternView {
  const std::uint8_t* values = nullptr;
  /// For `PatternKind::masked` one mask for each value, else unused: 0xFF for a byte that must be
  /// equal; 0, with a value of 0, for one that may be any.
  const std::uint8_t* masks = nullptr;
  /// For a `PatternKind::masked` that asks for few bytes, the places of these, increasing; else
  /// none.
  const std::int64_t* sparseOffsets = nullptr;
  std::int64_t sparseCount = 0;
  std::int64_t length = 0;  ///< 1 or more
  PatternKind kind = PatternKind::exact;
};

/// One position of a pattern, as looked for while scanning: `(byte & mask) == value`.
struct ScanProbe {
  std::int64_t offset = 0;  ///< from the start of the pattern
  std::uint8_t value = 0;
  std::uint8_t mask = 0xFF;

  bool operator==(const ScanProbe&) const = default;
};

/// The most positions of a pattern that a filter asks for. A pattern that asks for no more bytes is
/// never compared at all.
inline constexpr int kMaxProbes = 8;

/// The probes that decide where a pattern is compared at all. The first two are tried at every
/// position of the haystack, the others where these two fit.
struct ScanFilter {
  std::array<ScanProbe, kMaxProbes> probes{};
  int count = 0;             ///< 1 or more
  bool provesMatch = false;  ///< true if the probes are all that the pattern asks for
};

/// The cost of beginning to compare a candidate, in comparisons of one byte.
inline constexpr std::int64_t kCandidateCost = 16;

/// Bits before the first one of a row of a `FitTable`: as many as there are positions that are
/// looked at together.
inline constexpr std::int64_t kFitMargin = 64;

/// A byte of the haystack that has been in the way of a match.
struct Culprit {
  std::int64_t position = 0;
  const std::uint64_t* fits = nullptr;  ///< the row of its value
};

/// What a scan has learnt from those before it, and how much it may still do.
struct ScanState {
  /// Comparisons that may be made in vain beyond those that the credit pays for, in sixteenths.
  /// One byte of the pattern is one comparison, and a candidate costs `kCandidateCost` in addition.
  std::int64_t allowance = 0;
  /// What each position passed adds to the allowance, in sixteenths of a comparison.
  std::int64_t credit = 0;
  /// Where in the pattern the last comparison failed; it is compared first.
  std::int64_t failedOffset = 0;
  /// The bytes that comparisons with a masked pattern failed at, the newest last. Each ruins one
  /// candidate after another, so they are looked at before these are compared.
  Culprit* culprits = nullptr;
  int culpritLimit = 0;  ///< how many there is room for
  int culpritCount = 0;
  /// With a limit of 1 or more the rows of the pattern's `FitTable`.
  const std::uint64_t* const* fits = nullptr;
};

struct ScanResult {
  enum class Outcome {
    found,     ///< a match at `position`
    absent,    ///< no match in the range
    exhausted  ///< the allowance is used up; the scan may go on from `position`
  };
  Outcome outcome = Outcome::absent;
  std::int64_t position = 0;
};

/// The first matches of a range that do not overlap each other, collected in one scan.
struct MatchList {
  static constexpr int kCapacity = 64;

  std::array<std::int64_t, kCapacity> positions{};
  int count = 0;

  bool isFull() const { return count == kCapacity; }
  /// The list is not full.
  void add(std::int64_t position) { positions[static_cast<std::size_t>(count++)] = position; }
  /// The list is not empty.
  std::int64_t last() const { return positions[static_cast<std::size_t>(count - 1)]; }
  /// The first position at or after `position` where a match of `length` bytes overlaps none
  /// listed.
  std::int64_t freeFrom(std::int64_t position, std::int64_t length) const {
    const std::int64_t free = count == 0 ? position : last() + length;
    return free > position ? free : position;
  }
};

/// A pattern looked for in a haystack.
struct ScanTask {
  const PatternView& pattern;
  const ScanFilter& filter;
  const std::uint8_t* haystack = nullptr;
  std::int64_t last = 0;  ///< the greatest position where the pattern still fits in, 0 or more
  /// Where a scan forward puts all matches until it is full, with the last of them as its result.
  /// Null to end with the first match.
  MatchList* list = nullptr;
};

/// Finds the first match in `from`...`through` or, scanning down, the last one. Positions are those
/// of a match's first byte and 0 <= `from` <= `through` <= `task.last`. Reads no byte after the
/// haystack. A pure function but for `state`.
using ScanFunction = ScanResult (*)(const ScanTask& task, std::int64_t from, std::int64_t through,
                                    ScanState& state);

/// The scan functions of one variant, one per direction. All variants give the same answers.
struct ScanKernel {
  const char* name = nullptr;  ///< null where the program was built for another processor
  ScanFunction forward = nullptr;
  ScanFunction backward = nullptr;
};

/// The fastest kernel that this processor runs; found out once.
const ScanKernel& fastestScanKernel();

/// All kernels that this processor runs, the portable one first.
std::vector<const ScanKernel*> availableScanKernels();

extern const ScanKernel portableScanKernel;
extern const ScanKernel sse2ScanKernel;
extern const ScanKernel avx2ScanKernel;

}  // namespace quillmor
