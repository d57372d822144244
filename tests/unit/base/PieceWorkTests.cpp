#include "base/PieceWork.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

using Piece = std::pair<std::int64_t, std::int64_t>;

const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

/// The pieces in the order of their place.
std::vector<Piece> piecesOf(std::int64_t count, TaskProgress& progress) {
  std::mutex mutex;
  std::vector<Piece> pieces;
  forEachPiece(count, progress, [&](std::int64_t begin, std::int64_t end) {
    const std::lock_guard lock(mutex);
    pieces.emplace_back(begin, end);
  });
  std::ranges::sort(pieces);
  return pieces;
}

/// Empty when the pieces are consecutive, none too large, and together all of `count`.
std::string faultOf(const std::vector<Piece>& pieces, std::int64_t count) {
  std::int64_t next = 0;
  for (const auto& [begin, end] : pieces) {
    if (begin != next) return "gap or overlap at " + std::to_string(begin);
    if (end <= begin || end - begin > kWorkPieceSize) return "bad piece " + std::to_string(begin);
    next = end;
  }
  return next == count ? "" : "ends at " + std::to_string(next);
}

TEST(PieceWork, coversEveryByteOnceInPiecesOfAtMostOneMebibyte) {
  for (const std::int64_t size : {std::int64_t{1}, kWorkPieceSize, 4 * kWorkPieceSize,
                                  kSharedWorkThreshold, 3 * kSharedWorkThreshold}) {
    for (const std::int64_t count : {size - 1, size, size + 1}) {
      TaskProgress progress;
      progress.setTotal(count);
      EXPECT_EQ(faultOf(piecesOf(count, progress), count), "") << count;
      EXPECT_EQ(progress.fraction(), count > 0 ? 1 : -1) << count;
    }
  }
}

TEST(PieceWork, takesAPieceAfterTheOtherWhenItIsAlone) {
  TaskProgress progress;
  std::vector<Piece> pieces;
  const std::int64_t count = kSharedWorkThreshold - 1;
  forEachPiece(count, progress,
               [&](std::int64_t begin, std::int64_t end) { pieces.emplace_back(begin, end); });
  EXPECT_EQ(faultOf(pieces, count), "");
}

TEST(PieceWork, beginsNothingOnceItIsStopped) {
  for (const std::int64_t count : {std::int64_t{0}, std::int64_t{1}, 2 * kSharedWorkThreshold}) {
    TaskProgress progress;
    progress.requestStop();
    std::atomic<int> calls = 0;
    EXPECT_THAT([&] { forEachPiece(count, progress, [&](auto, auto) { ++calls; }); }, stops);
    EXPECT_EQ(calls, 0);
  }
}

TEST(PieceWork, endsAfterThePiecesAtWorkWhenItIsStopped) {
  for (const std::int64_t count : {kSharedWorkThreshold - 1, 100 * kSharedWorkThreshold}) {
    TaskProgress progress;
    std::atomic<int> calls = 0;
    const auto stopAtThird = [&](auto, auto) {
      if (++calls >= 3) progress.requestStop();
    };
    EXPECT_THAT([&] { forEachPiece(count, progress, stopAtThird); }, stops);
    EXPECT_GE(calls, 3);
    EXPECT_LE(calls, 4) << "the other thread may have begun one piece before the request";
  }
}

TEST(PieceWork, isDoneByOneThreadWhereThereIsNoSecond) {
  EXPECT_EQ(test::inRestrictedProcess(test::kNoSizeLimit,
                                      []() -> std::string {
                                        if (!test::forbidThreads()) return "threads can be started";
                                        TaskProgress progress;
                                        const std::int64_t count = 2 * kSharedWorkThreshold + 1;
                                        return faultOf(piecesOf(count, progress), count);
                                      }),
            "");
}

}  // namespace
}  // namespace quillmor
