#include "kernels/ByteTally.h"

#include <bit>

#include "base/PieceWork.h"
#include "base/ThreadSafety.h"
#include "kernels/ByteWords.h"

namespace quillmor {
namespace {

/// Neighbours that are equal would wait for each other's count to be stored and loaded again, so
/// each of eight neighbours is counted in a table of its own.
constexpr std::size_t kTables = sizeof(std::uint64_t);

using Tables = std::array<ByteTally, kTables>;

constexpr std::size_t kWordsPerGroup = 8;
constexpr std::size_t kGroup = kWordsPerGroup * sizeof(std::uint64_t);

/// Files of machines are full of runs of 00 and FF, for which even eight tables are not enough.
bool isRun(const std::uint8_t* group) {
  const std::uint64_t first = loadWord(group);
  if (first != std::rotl(first, 8)) return false;
  std::uint64_t difference = 0;
  for (std::size_t i = 1; i < kWordsPerGroup; ++i) difference |= loadWord(group + 8 * i) ^ first;
  return difference == 0;
}

void countGroup(Tables& tables, const std::uint8_t* group) {
  for (std::size_t i = 0; i < kWordsPerGroup; ++i) {
    const std::uint64_t word = loadWord(group + 8 * i);
    for (std::size_t place = 0; place < kTables; ++place) ++tables[place][byteOf(word, place)];
  }
}

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
  Tables tables{};
  const std::uint8_t* bytes = piece.data();
  std::size_t count = piece.size();
  for (; count >= kGroup; bytes += kGroup, count -= kGroup) {
    if (isRun(bytes)) {
      tables[0][*bytes] += std::uint32_t{kGroup};
    } else {
      countGroup(tables, bytes);
    }
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
