// Very many small searches compared with searches that are slow and obvious.

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <limits>
#include <random>
#include <vector>

#include "search/scan/ByteSearch.h"
#include "support/GuardedBytes.h"
#include "support/NaiveSearch.h"
#include "support/SearchCases.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

constexpr std::int64_t kMaxHaystack = 130;
/// Some are long enough for what kernels do with many positions at a time.
constexpr std::int64_t kMaxLongHaystack = 700;
constexpr std::int64_t kMaxNeedle = 70;

/// One seed for each test, told so that a failure can be seen again.
std::uint64_t newSeed() {
  const std::uint64_t seed = std::random_device()();
  std::cout << "seed " << seed << "\n";
  return seed;
}

/// Haystacks at the end and at the start of their memory, in turn.
class ByteSearchModel : public testing::Test {
 protected:
  template <class Check>
  void forEachSearch(int count, const Check& check) {
    const std::uint64_t seed = newSeed();
    RandomSearches random(seed);
    const auto limits = everyKindOfLimits();
    for (int i = 0; i < modelCount(count) && !HasFailure(); ++i) {
      const Bytes bytes = random.haystack(i % 32 == 0 ? kMaxLongHaystack : kMaxHaystack);
      const Bytes needle = random.needle(bytes, kMaxNeedle);
      const View haystack = i % 4 == 0 ? memory_.atStart(bytes) : memory_.atEnd(bytes);
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", search " << i);
      const ScopedSearchLimits scope(limits[static_cast<std::size_t>(i) % limits.size()]);
      check(random, needle, haystack);
    }
  }

 private:
  GuardedBytes memory_{static_cast<std::size_t>(kMaxLongHaystack)};
};

std::int64_t someStart(RandomSearches& random, View haystack) {
  const std::int64_t choice = random.upTo(40);
  if (choice == 0) return std::numeric_limits<std::int64_t>::min();
  if (choice == 1) return std::numeric_limits<std::int64_t>::max();
  return random.upTo(std::ssize(haystack) + 10) - 5;
}

TEST_F(ByteSearchModel, indexIsThatOfThePlainSearch) {
  forEachSearch(300'000, [](RandomSearches& random, const Bytes& needle, View haystack) {
    const std::int64_t start = someStart(random, haystack);
    const bool backwards = random.upTo(1) == 0;
    const bool folds = random.upTo(1) == 0;
    ASSERT_EQ(ByteSearch::index(needle, haystack, start, backwards, folds),
              naive::index(needle, haystack, start, backwards, folds))
        << "start " << start << " backwards " << backwards << " folds " << folds;
  });
}

TEST_F(ByteSearchModel, firstAcceptedIndexOffersWhatThePlainSearchFinds) {
  forEachSearch(200'000, [](RandomSearches& random, const Bytes& needle, View haystack) {
    const std::int64_t from = someStart(random, haystack);
    const std::int64_t through = someStart(random, haystack);
    auto expected = naive::matches(needle, haystack, from, through);
    // Accepts one of the first offers, so that a wrong order or a gap is seen.
    const auto rejected = static_cast<std::size_t>(random.upTo(5));
    std::vector<std::int64_t> offered;
    const auto accepting = [&](std::int64_t position) {
      offered.push_back(position);
      return offered.size() > rejected;
    };
    const auto found = ByteSearch::firstAcceptedIndex(needle, haystack, from, through, accepting);
    ASSERT_EQ(found.has_value(), expected.size() > rejected);
    if (found) {
      expected.resize(rejected + 1);
      ASSERT_EQ(*found, expected.back());
    }
    ASSERT_EQ(offered, expected) << "from " << from << " through " << through;
  });
}

TEST_F(ByteSearchModel, aMatcherFindsTheSameInPieces) {
  forEachSearch(20'000, [](RandomSearches& random, const Bytes& needle, View haystack) {
    const bool folds = random.upTo(1) == 0;
    Matcher matcher(needle, folds);
    for (int piece = 0; piece < 10; ++piece) {
      const std::int64_t from = someStart(random, haystack);
      const std::int64_t through = someStart(random, haystack);
      ASSERT_EQ(matcher.first(haystack, from, through),
                naive::first(needle, haystack, from, through, folds))
          << from << "..." << through;
      ASSERT_EQ(matcher.last(haystack, from, through),
                naive::last(needle, haystack, from, through, folds))
          << from << "..." << through;
    }
  });
}

TEST(ByteSearchLengths, everyLengthIsFoundAtEveryPlaceByEveryPath) {
  RandomSearches random(1);
  GuardedBytes memory(200);
  for (std::int64_t length = 1; length <= 70; ++length) {
    for (std::int64_t before = 0; before <= 40; ++before) {
      Bytes bytes(static_cast<std::size_t>(before + length), 'b');
      for (auto at = bytes.begin() + before; at != bytes.end(); ++at) *at = 'a';
      const Bytes needle(bytes.begin() + before, bytes.end());
      for (const SearchLimits& limits : everyKindOfLimits()) {
        const ScopedSearchLimits scope(limits);
        const auto find = [&](View haystack, bool backwards, bool folds) {
          return ByteSearch::index(needle, haystack, backwards ? 1000 : 0, backwards, folds);
        };
        ASSERT_EQ(find(memory.atEnd(bytes), false, false), before) << length;
        ASSERT_EQ(find(memory.atEnd(bytes), true, true), before) << length;
        ASSERT_EQ(find(memory.atStart(bytes), false, true), before) << length;
        ASSERT_EQ(find(memory.atStart(bytes), true, false), before) << length;
      }
    }
  }
}

}  // namespace
}  // namespace quillmor
