#include "base/OrderedPieces.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace quillmor {
namespace {

class OrderedPieces : public testing::TestWithParam<bool> {};

TEST_P(OrderedPieces, areEachWorkedOnOnce) {
  std::array<std::atomic<int>, 1000> counts{};
  forEachPieceInOrder(counts.size(), GetParam(), [&](std::int64_t index, int worker) {
    EXPECT_TRUE(worker == 0 || worker == 1);
    ++counts.at(static_cast<std::size_t>(index));
    return true;
  });
  for (const auto& count : counts) EXPECT_EQ(count, 1);
}

TEST_P(OrderedPieces, endBehindTheOneThatEndsThem) {
  for (const std::int64_t last : {0, 1, 499, 998, 999}) {
    std::array<std::atomic<int>, 1000> counts{};
    forEachPieceInOrder(counts.size(), GetParam(), [&](std::int64_t index, int) {
      ++counts.at(static_cast<std::size_t>(index));
      return index != last;
    });
    std::int64_t begun = 0;
    for (const auto& count : counts) begun += count;
    for (std::int64_t i = 0; i <= last; ++i) EXPECT_EQ(counts.at(static_cast<std::size_t>(i)), 1);
    // Another thread may have begun pieces behind it before it was over.
    if (!GetParam()) {
      EXPECT_EQ(begun, last + 1);
    }
  }
}

TEST_P(OrderedPieces, passOnWhatTheWorkThrows) {
  const auto fail = [](std::int64_t index, int) -> bool {
    if (index == 10) throw std::runtime_error("ten");
    return true;
  };
  EXPECT_THROW(forEachPieceInOrder(1000, GetParam(), fail), std::runtime_error);
}

TEST_P(OrderedPieces, passOnNothingThatIsThrownBehindTheEnd) {
  std::atomic<bool> hasFailed = false;
  forEachPieceInOrder(2, GetParam(), [&](std::int64_t index, int worker) -> bool {
    if (index == 1) {
      hasFailed = true;
      throw std::runtime_error("behind the end");
    }
    // The piece that ends them all waits for the failure, if there is another thread to fail.
    while (GetParam() && worker == 0 && !hasFailed && std::thread::hardware_concurrency() > 1)
      std::this_thread::yield();
    return false;
  });
}

TEST_P(OrderedPieces, mayBeNone) {
  forEachPieceInOrder(0, GetParam(), [](std::int64_t, int) {
    ADD_FAILURE();
    return true;
  });
}

INSTANTIATE_TEST_SUITE_P(AloneAndShared, OrderedPieces, testing::Bool());

}  // namespace
}  // namespace quillmor
