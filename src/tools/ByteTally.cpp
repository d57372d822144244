#include "tools/ByteTally.h"

#include <cstring>

#include "base/PieceWork.h"
#include "base/ThreadSafety.h"

namespace quillmor {
namespace {

/// Neighbours that are equal would wait for each other's count to be stored and loaded again, so
/// each of eight neighbours is counted in a table of its own.
constexpr std::size_t kTables = 8;

class SharedCounts {
 public:
  void add(const ByteTally& tally) QUILLMOR_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    addTally(counts_, tally);
  }

  ByteCounts counts() QUILLMOR_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    return counts_;
  }

 private:
  Mutex mutex_;
  ByteCounts counts_ QUILLMOR_GUARDED_BY(mutex_) = {};
};

}  // namespace

ByteTally byteTally(std::span<const std::uint8_t> piece) {
  std::array<ByteTally, kTables> tables{};
  const std::uint8_t* bytes = piece.data();
  std::size_t count = piece.size();
  for (; count >= kTables; bytes += kTables, count -= kTables) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    for (std::size_t i = 0; i < kTables; ++i) ++tables[i][word >> (8 * i) & 0xFF];
  }
  for (; count > 0; ++bytes, --count) ++tables[0][*bytes];
  for (std::size_t i = 1; i < kTables; ++i) {
    for (std::size_t value = 0; value < 256; ++value) tables[0][value] += tables[i][value];
  }
  return tables[0];
}

void addTally(ByteCounts& counts, const ByteTally& tally) {
  for (std::size_t value = 0; value < 256; ++value) counts[value] += tally[value];
}

ByteCounts countedInPieces(std::span<const std::uint8_t> bytes, TaskProgress& progress) {
  SharedCounts shared;
  forEachPiece(std::ssize(bytes), progress, [&](std::int64_t begin, std::int64_t end) {
    const auto piece =
        bytes.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
    shared.add(byteTally(piece));
  });
  return shared.counts();
}

}  // namespace quillmor
