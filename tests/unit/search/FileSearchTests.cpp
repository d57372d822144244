#include "search/FileSearch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "search/SearchCandidates.h"
#include "search/Searching.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/SearchCases.h"
#include "support/SearchFixture.h"
#include "support/Stopping.h"

namespace quillmor {
namespace {

using test::failsWith;

std::string textOf(const std::vector<std::uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

/// What the search of all bytes in memory finds.
std::optional<HexSelection> matchInMemory(const std::vector<std::uint8_t>& bytes,
                                          const SearchRequest& request,
                                          const std::vector<SearchCandidate>& candidateList,
                                          const FileSearchStart& start) {
  TaskProgress progress;
  const std::int64_t size = std::ssize(bytes);
  const auto match =
      nextMatch(bytes, request, candidateList,
                {start.offset.value_or(start.forward ? 0 : size), start.forward}, progress);
  if (!match) return std::nullopt;
  return HexSelection{match->offset, std::ssize(match->bytes)};
}

TEST(FileSearch, findsWhatTheSearchInMemoryFinds) {
  const test::TemporaryFolder folder;
  RandomSearches random(77);
  for (int i = 0; i < modelCount(600); ++i) {
    const auto bytes = random.haystack(2000);
    const auto location = folder.write("data", textOf(bytes));
    std::vector<SearchCandidate> candidateList;
    for (std::int64_t count = random.upTo(2); count >= 0; --count) {
      const auto needle = random.needle(bytes, 40);
      if (!needle.empty()) candidateList.push_back({needle, SearchCandidateKind::Raw{}});
    }
    candidateList = uniqueCandidates(std::move(candidateList));
    if (candidateList.empty()) continue;
    const SearchRequest request{.caseSensitive = random.upTo(1) == 0};
    FileSearchStart start{.forward = random.upTo(1) == 0};
    if (random.upTo(1) == 0) start.offset = random.upTo(std::ssize(bytes) + 4) - 1;
    TaskProgress progress;
    // Small pieces, so that matches reach across their ends, and there are many.
    const auto found = nextMatchInFile(location, 2000, request, candidateList, start, progress,
                                       1 + random.upTo(100));
    ASSERT_EQ(found, matchInMemory(bytes, request, candidateList, start)) << "search " << i;
  }
}

TEST(FileSearch, findsMatchesAcrossTheEndsOfItsOwnPieces) {
  const test::TemporaryFolder folder;
  for (const std::int64_t size : {kSearchedFilePieceBytes, 10 * kSearchedFilePieceBytes}) {
    for (const std::int64_t place : {size - 6, size / 2 - 1, size / 2 - 5, size / 2}) {
      std::string text(static_cast<std::size_t>(size), '.');
      text.replace(static_cast<std::size_t>(place), 6, "needle");
      const auto location = folder.write("data", text);
      const SearchRequest request{.searchText = "NEEDLE"};
      for (const bool forward : {true, false}) {
        TaskProgress progress;
        EXPECT_EQ(nextMatchInFile(location, size, request, candidates(request),
                                  {.forward = forward}, progress),
                  (HexSelection{place, 6}));
      }
    }
  }
}

/// Searches of one file in pieces of 64 bytes. Backward the pieces begin at the end of the file,
/// which is no whole number of them.
class FileSearchPieces : public testing::TestWithParam<int> {
 protected:
  static constexpr std::int64_t kPiece = 64;

  void SetUp() override { text = std::string(static_cast<std::size_t>(size), '.'); }

  void put(std::int64_t place, std::string_view bytes) {
    text.replace(static_cast<std::size_t>(place), bytes.size(), bytes);
  }

  void write() { location = folder.write("data", text); }

  std::optional<HexSelection> search(std::initializer_list<std::string_view> needles,
                                     const FileSearchStart& start) {
    TaskProgress progress;
    return nextMatchInFile(location, size, test::exactRequest(), test::rawCandidates(needles),
                           start, progress, kPiece);
  }

  /// The ends of some pieces as both directions have them.
  std::vector<std::int64_t> borders() const {
    return {kPiece, 2 * kPiece, size - kPiece, size - 2 * kPiece, size / kPiece * kPiece};
  }

  static constexpr bool kForward = true;
  static constexpr bool kBackward = false;

  const std::int64_t size = GetParam() * kPiece + 23;
  const test::TemporaryFolder folder;
  std::string text;
  FileLocation location = folder.location("data");
};

// One thread searches the few, two threads the many.
INSTANTIATE_TEST_SUITE_P(FewAndMany, FileSearchPieces, testing::Values(4, 20));

TEST_P(FileSearchPieces, findAMatchWhereverItLiesAroundTheirEnds) {
  for (const std::string_view needle : {"n", "ne", "needl", "needleneedleneed"}) {
    const auto length = static_cast<std::int64_t>(needle.size());
    for (const std::int64_t border : borders()) {
      for (std::int64_t place = border - length - 1; place <= border + 1; ++place) {
        if (place + length > size) continue;
        SetUp();
        put(place, needle);
        write();
        const HexSelection match{place, length};
        EXPECT_EQ(search({needle}, {}), match);
        EXPECT_EQ(search({needle}, {place, kForward}), match);
        EXPECT_EQ(search({needle}, {place + 1, kForward}), std::nullopt);
        EXPECT_EQ(search({needle}, {{}, kBackward}), match);
        EXPECT_EQ(search({needle}, {place, kBackward}), match);
        EXPECT_EQ(search({needle}, {place - 1, kBackward}), std::nullopt) << place;
      }
    }
  }
}

TEST_P(FileSearchPieces, findOverlappingMatchesAroundTheirEnds) {
  for (const std::int64_t border : borders()) {
    SetUp();
    put(border - 4, "aaaaaaaa");
    write();
    for (std::int64_t start = border - 6; start <= border + 5; ++start) {
      const bool hasNext = start <= border + 1;
      const HexSelection next{std::max(start, border - 4), 3};
      EXPECT_EQ(search({"aaa"}, {start, kForward}), hasNext ? std::optional(next) : std::nullopt);
      const bool hasLast = start >= border - 4;
      const HexSelection last{std::min(start, border + 1), 3};
      EXPECT_EQ(search({"aaa"}, {start, kBackward}), hasLast ? std::optional(last) : std::nullopt);
    }
  }
}

TEST_P(FileSearchPieces, preferTheLongerCandidateThoughItReachesIntoTheNext) {
  for (const std::int64_t border : borders()) {
    for (std::int64_t place = border - 6; place <= border + 1; ++place) {
      if (place + 5 > size) continue;
      SetUp();
      put(place, "abcde");
      write();
      for (const bool forward : {kForward, kBackward}) {
        const HexSelection match{place, 5};
        EXPECT_EQ(search({"ab", "abcde", "abc"}, {{}, forward}), match);
        EXPECT_EQ(search({"abcde", "ab"}, {place, forward}), match);
      }
    }
  }
}

TEST_P(FileSearchPieces, takeTheNearestOfSeveralCandidates) {
  for (const std::int64_t border : borders()) {
    for (std::int64_t place = border - 6; place <= border + 1; ++place) {
      if (place + 5 > size) continue;
      SetUp();
      put(place, "abcde");
      write();
      EXPECT_EQ(search({"bcde", "ab", "e"}, {{}, kForward}), (HexSelection{place, 2}));
      EXPECT_EQ(search({"bcde", "ab"}, {{}, kBackward}), (HexSelection{place + 1, 4}));
      EXPECT_EQ(search({"bcde", "ab"}, {place, kBackward}), (HexSelection{place, 2}));
      EXPECT_EQ(search({"bcde", "ab"}, {place + 1, kForward}), (HexSelection{place + 1, 4}));
    }
  }
}

TEST_P(FileSearchPieces, takeTheFirstOrLastOfMatchesInAllOfThem) {
  for (std::int64_t place = 3; place + 6 <= size; place += 7) put(place, "match.");
  write();
  const std::int64_t last = (size - 6 - 3) / 7 * 7 + 3;
  // Often, as threads may be at work in any order.
  for (int round = 0; round < 100; ++round) {
    ASSERT_EQ(search({"match"}, {}), (HexSelection{3, 5}));
    ASSERT_EQ(search({"match"}, {{}, kBackward}), (HexSelection{last, 5}));
  }
}

TEST_P(FileSearchPieces, endWithTheFile) {
  put(size - 5, "abcde");
  write();
  for (const bool forward : {kForward, kBackward}) {
    EXPECT_EQ(search({"abcde"}, {{}, forward}), (HexSelection{size - 5, 5}));
    EXPECT_EQ(search({"abcdef", "de"}, {{}, forward}), (HexSelection{size - 2, 2}));
    EXPECT_EQ(search({"e"}, {{}, forward}), (HexSelection{size - 1, 1}));
    EXPECT_EQ(search({"e."}, {{}, forward}), std::nullopt);
  }
}

TEST(FileSearch, looksAtAllOfTheFileWhenThereIsNoMatch) {
  const test::TemporaryFolder folder;
  const auto location = folder.write("data", std::string(10 * kSearchedFilePieceBytes, 'x'));
  const SearchRequest request{.searchText = "y"};
  TaskProgress progress;
  EXPECT_EQ(nextMatchInFile(location, 10 * kSearchedFilePieceBytes, request, candidates(request),
                            {}, progress),
            std::nullopt);
  EXPECT_EQ(progress.fraction(), 1);
}

class FileSearchFaults : public test::FileAccessTest {
 protected:
  std::optional<HexSelection> search(TaskProgress& progress) {
    const SearchRequest request{.searchText = "b"};
    return nextMatchInFile(data, 5, request, candidates(request), {}, progress);
  }

  const FileLocation data = folder.write("data.bin", "aabaa");
};

TEST_F(FileSearchFaults, answerNothingForAFileThatChanges) {
  calls.before(test::SystemCall::pread, 1, [&] { folder.write("data.bin", "aaba"); });
  TaskProgress progress;
  EXPECT_THAT([&] { search(progress); },
              failsWith(1204, "The file changed while it was being read. Try again."));
}

TEST_F(FileSearchFaults, stopWhenAskedTo) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { search(progress); }, test::isStopped());
}

TEST_F(FileSearchFaults, refuseAFileAboveTheLimit) {
  folder.write("data.bin", "aabaaa");
  TaskProgress progress;
  EXPECT_THAT([&] { search(progress); },
              failsWith(1205, "The selected file exceeds the safe in-memory limit of 5 bytes."));
}

}  // namespace
}  // namespace quillmor
