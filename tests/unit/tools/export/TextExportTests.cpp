#include "tools/export/TextExport.h"

#include <algorithm>
#include <vector>

#include "support/ErrorMatchers.h"
#include "support/ExporterFixture.h"
#include "support/RandomBytes.h"

namespace quillmor::test {
namespace {

constexpr std::size_t kCapacity = BufferedText::kCapacity;

/// The pieces that were handed on.
struct Pieces {
  std::vector<std::string> all;
  TextSink sink = [this](std::string_view piece) { all.emplace_back(piece); };

  std::vector<std::size_t> sizes() const {
    std::vector<std::size_t> sizes;
    for (const std::string& piece : all) sizes.push_back(piece.size());
    return sizes;
  }
};

TEST(BufferedText, gathersAMebibyte) {
  EXPECT_EQ(kCapacity, 1'048'576U);
  Pieces pieces;
  BufferedText text(pieces.sink);
  text.append(std::string(kCapacity - 1, 'a'));
  EXPECT_TRUE(pieces.all.empty());
  text.append("bc");
  EXPECT_THAT(pieces.sizes(), testing::ElementsAre(kCapacity));
  EXPECT_TRUE(pieces.all[0] == std::string(kCapacity - 1, 'a') + "b");
  text.flush();
  EXPECT_THAT(pieces.sizes(), testing::ElementsAre(kCapacity, 1));
  EXPECT_EQ(pieces.all[1], "c");
}

TEST(BufferedText, handsOnNothingWhenThereIsNothing) {
  Pieces pieces;
  BufferedText text(pieces.sink);
  text.flush();
  text.append("");
  text.flush();
  text.append("a");
  text.flush();
  text.flush();
  EXPECT_THAT(pieces.all, testing::ElementsAre("a"));
}

TEST(BufferedText, cutsTextsOfAnyLength) {
  const std::string whole = patternedText(3 * kCapacity + 5);
  Pieces pieces;
  BufferedText text(pieces.sink);
  text.append(whole.substr(0, 3));
  text.append(whole.substr(3));
  text.flush();
  EXPECT_THAT(pieces.sizes(), testing::ElementsAre(kCapacity, kCapacity, kCapacity, 5));
  std::string joined;
  for (const std::string& piece : pieces.all) joined += piece;
  EXPECT_TRUE(joined == whole);
}

TEST(BufferedText, makesRoomByHandingOnWhatWasGathered) {
  Pieces pieces;
  BufferedText text(pieces.sink);
  text.append("abc");
  char* room = text.room(kCapacity - 3);
  EXPECT_TRUE(pieces.all.empty());
  text.advance(std::fill_n(room, 10, 'd'));
  room = text.room(kCapacity - 12);
  EXPECT_THAT(pieces.all, testing::ElementsAre("abcdddddddddd"));
  text.advance(std::fill_n(room, kCapacity - 12, 'e'));
  room = text.room(kCapacity);
  text.advance(std::fill_n(room, kCapacity, 'f'));
  text.flush();
  EXPECT_THAT(pieces.sizes(), testing::ElementsAre(13, kCapacity - 12, kCapacity));
}

TEST(BufferedText, losesWhatIsNotFlushed) {
  Pieces pieces;
  { BufferedText(pieces.sink).append("lost"); }
  EXPECT_TRUE(pieces.all.empty());
}

class TextExport : public ExporterTest {
 protected:
  /// Hands on the text in pieces of one byte less than the buffer holds, looking at the progress.
  static Export writing(const std::string& text) {
    return [&text](const ExportTarget& target, TaskProgress& progress) {
      progress.setTotal(static_cast<std::int64_t>(text.size()));
      writeTextFile(target, progress, [&](const TextSink& sink) {
        for (std::size_t at = 0; at < text.size(); at += kCapacity - 1) {
          progress.checkpoint();
          const auto piece = std::string_view(text).substr(at, kCapacity - 1);
          sink(piece);
          progress.advance(static_cast<std::int64_t>(piece.size()));
        }
      });
    };
  }

  const std::string text_ = patternedText(kCapacity + 7);
};

TEST_F(TextExport, writesWhatIsProduced) {
  expectWrites(writing(text_), text_);
}

TEST_F(TextExport, writesAnEmptyFile) {
  TaskProgress progress;
  writeTextFile({existing, {}}, progress, [](const TextSink&) {});
  EXPECT_EQ(folder.read("existing.txt"), "");
}

TEST_F(TextExport, isStoppedUntilItIsInstalled) {
  expectStopsAtEveryStage(writing(text_), text_);
}

TEST_F(TextExport, isStoppedAfterTheLastPiece) {
  TaskProgress progress;
  const auto exporting = [&] {
    writeTextFile({existing, {}}, progress, [&](const TextSink& sink) {
      sink("complete");
      progress.requestStop();
    });
  };
  EXPECT_THAT(exporting, testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  expectNothingHappened();
}

TEST_F(TextExport, leavesTheDestinationWhenItFails) {
  expectLeavesTheDestinationWhenItFails(writing(text_));
}

TEST_F(TextExport, leavesTheDestinationWhenTheTextCannotBeProduced) {
  TaskProgress progress;
  const auto exporting = [&] {
    writeTextFile({existing, {}}, progress, [&](const TextSink& sink) {
      sink("half");
      throw Error::quillmor(2301, "It went wrong.");
    });
  };
  EXPECT_THAT(exporting, failsWith(2301, "It went wrong."));
  expectNothingHappened();
}

TEST_F(TextExport, looksAtTheDestinationBeforeAnythingIsProduced) {
  TaskProgress progress;
  const auto exporting = [&] {
    writeTextFile({existing, {existing}}, progress,
                  [](const TextSink&) { ADD_FAILURE() << "produced in vain"; });
  };
  EXPECT_ANY_THROW(exporting());
  EXPECT_EQ(calls.count(SystemCall::open), 0);
}

class RawExport : public ExporterTest {
 protected:
  const std::vector<std::uint8_t> bytes_ = randomBytes(kCapacity + 7, 1);
  const Export writing_ = [this](const ExportTarget& target, TaskProgress& progress) {
    writeBytes(bytes_, target, progress);
  };
};

TEST_F(RawExport, writesTheBytesInPiecesOfAMebibyte) {
  expectWrites(writing_, textOf(bytes_));
  EXPECT_THAT(calls.requestedCounts(SystemCall::write),
              testing::ElementsAre(kCapacity, 7, kCapacity, 7));
}

TEST_F(RawExport, ofNothingIsAnEmptyFile) {
  TaskProgress progress;
  writeBytes({}, {existing, {}}, progress);
  EXPECT_EQ(folder.read("existing.txt"), "");
}

TEST_F(RawExport, isStoppedUntilItIsInstalled) {
  expectStopsAtEveryStage(writing_, textOf(bytes_));
}

TEST_F(RawExport, leavesTheDestinationWhenItFails) {
  expectLeavesTheDestinationWhenItFails(writing_);
}

}  // namespace
}  // namespace quillmor::test
