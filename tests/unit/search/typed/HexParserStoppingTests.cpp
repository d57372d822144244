// Byte lists so long that reading them must be stoppable.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/ByteUnits.h"
#include "search/typed/HexParser.h"
#include "support/Stopping.h"

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing::Optional;

std::string repeated(std::string_view text, std::size_t size) {
  std::string result;
  result.reserve(size + text.size());
  while (result.size() < size) result += text;
  return result;
}

TEST(ParseHexBytesStopping, happensInTheMiddleOfTokensAndSeparators) {
  for (const char* part : {"AA ", "AA", "A ", ",", "0xAA\n", "\u00A0", "AA\u3000"}) {
    const std::string text = repeated(part, 4 * kMiB) + "AA";
    EXPECT_TRUE(test::stopsInTheMiddle([&](TaskProgress& progress) {
      HexParser::parseHexBytes(text, {}, {}, &progress);
    })) << part;
  }
}

TEST(ParseHexBytesStopping, changesNothingWhereNobodyAsks) {
  const TaskProgress progress;
  for (const std::size_t blanks : {kMiB - 1, kMiB, kMiB + 1}) {
    const std::string space(blanks, ',');
    EXPECT_THAT(HexParser::parseHexBytes(space + "1" + space + "0xAA" + space, {}, {}, &progress),
                Optional(ElementsAre(1, 0xAA)))
        << blanks;
    EXPECT_FALSE(HexParser::parseHexBytes(space, {}, {}, &progress)) << blanks;
    EXPECT_FALSE(HexParser::parseHexBytes(space + "x" + space, {}, {}, &progress)) << blanks;
  }
}

}  // namespace
}  // namespace quillmor
