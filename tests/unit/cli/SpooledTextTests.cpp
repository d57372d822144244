#include "cli/SpooledText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "support/FileAccessTest.h"

namespace quillmor::cli {
namespace {

class SpooledTextTest : public test::FileAccessTest {
 protected:
  void TearDown() override {
    // The file goes with the object.
    spooled_.reset();
    FileAccessTest::TearDown();
  }

  /// Appends `text` in pieces of `pieceSize` characters.
  void append(std::string_view text, std::size_t pieceSize) {
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), pieceSize)))
      spooled_->append(text.substr(0, pieceSize));
  }

  std::string whole() {
    std::string whole;
    spooled_->forEachPiece([&whole](std::string_view piece) { whole += piece; });
    return whole;
  }

  /// The files that keep the text, which nobody else has open.
  std::int64_t fileCount() const { return test::openDescriptorCount() - before_; }

 private:
  const std::int64_t before_ = test::openDescriptorCount();
  std::optional<SpooledText> spooled_{std::in_place};
};

TEST_F(SpooledTextTest, anEmptyTextHasNothingToHandOn) {
  EXPECT_EQ(whole(), "");
  append("", 1);
  EXPECT_EQ(whole(), "");
}

TEST_F(SpooledTextTest, aShortTextStaysInMemory) {
  append("one, two", 3);
  EXPECT_EQ(whole(), "one, two");
  // It may be handed on again.
  EXPECT_EQ(whole(), "one, two");
  EXPECT_EQ(fileCount(), 0);
}

TEST_F(SpooledTextTest, aTextOfTheLimitStaysInMemory) {
  const std::string text = test::patternedText(SpooledText::kInMemory);
  append(text, 1'000'000);
  EXPECT_EQ(fileCount(), 0);
  EXPECT_TRUE(whole() == text);
}

TEST_F(SpooledTextTest, aLongerTextGoesIntoAFile) {
  const std::string text = test::patternedText(SpooledText::kInMemory + 1);
  append(text, SpooledText::kInMemory);
  EXPECT_EQ(fileCount(), 1);
  EXPECT_TRUE(whole() == text);
}

TEST_F(SpooledTextTest, aTextMayBeInTheFileAndInMemory) {
  const std::string text = test::patternedText(2 * SpooledText::kInMemory + 100);
  append(text, SpooledText::kInMemory + 50);
  append("the end", 7);
  EXPECT_TRUE(whole() == text + "the end");
  EXPECT_TRUE(whole() == text + "the end");
  EXPECT_EQ(fileCount(), 1);
}

TEST(SpooledTextFailureTest, aFileThatMayNotGrowIsAnError) {
  const std::string text(SpooledText::kInMemory + 1, 'x');
  EXPECT_EQ(test::inRestrictedProcess(1000,
                                      [&text] {
                                        SpooledText spooled;
                                        return test::errorText([&] { spooled.append(text); });
                                      }),
            "27 Could not keep the text in a temporary file: File too large");
}

}  // namespace
}  // namespace quillmor::cli
