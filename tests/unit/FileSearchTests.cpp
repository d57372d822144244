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
