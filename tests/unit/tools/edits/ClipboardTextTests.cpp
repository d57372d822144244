#include "tools/edits/ClipboardText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <numeric>
#include <random>
#include <vector>

#include "base/SaturatingMath.h"
#include "search/typed/HexParser.h"
#include "search/typed/TypedInput.h"
#include "tools/text/TextPieces.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Style = ClipboardTextStyle;

constexpr std::array kStyles = {Style::hex,    Style::cArray,      Style::swiftArray,
                                Style::base64, Style::pythonBytes, Style::jsonByteArray};

const Bytes kDeadBeef = {0xDE, 0xAD, 0xBE, 0xEF};

Bytes allBytes() {
  Bytes bytes(256);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

Bytes randomBytes(std::mt19937_64& random, std::size_t count) {
  Bytes bytes(count);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

// --- slow and obvious versions ---------------------------------------------------------------

std::string printed(const char* format, unsigned value) {
  std::array<char, 64> text;
  const int length = std::snprintf(text.data(), text.size(), format, value);
  return std::string(text.data(), static_cast<std::size_t>(length));
}

std::string joined(const Bytes& bytes, const char* format, const std::string& separator) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    text += (i > 0 ? separator : "") + printed(format, bytes[i]);
  }
  return text;
}

/// Bit by bit, by the definition.
std::string obviousBase64(const Bytes& bytes) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += 6) {
    std::size_t value = 0;
    for (std::size_t i = bit; i < bit + 6; ++i) {
      const bool isSet = i / 8 < bytes.size() && (bytes[i / 8] >> (7 - i % 8) & 1) != 0;
      value = value * 2 + (isSet ? 1 : 0);
    }
    text += alphabet[value];
  }
  while (text.size() % 4 != 0) text += '=';
  return text;
}

std::string obviousText(const Bytes& bytes, Style style) {
  switch (style) {
    case Style::hex:
      return joined(bytes, "%02X", " ");
    case Style::cArray:
      return "{ " + joined(bytes, "0x%02X", ", ") + " }";
    case Style::swiftArray:
      return "[" + joined(bytes, "0x%02X", ", ") + "]";
    case Style::base64:
      return obviousBase64(bytes);
    case Style::pythonBytes:
      return "b\"" + joined(bytes, "\\x%02x", "") + "\"";
    case Style::jsonByteArray:
      return "[" + joined(bytes, "%u", ", ") + "]";
  }
  return "no such style";
}

// --- styles ----------------------------------------------------------------------------------

TEST(ClipboardText, writesTheSixStyles) {
  EXPECT_EQ(clipboardText(kDeadBeef, Style::hex), "DE AD BE EF");
  EXPECT_EQ(clipboardText(kDeadBeef, Style::cArray), "{ 0xDE, 0xAD, 0xBE, 0xEF }");
  EXPECT_EQ(clipboardText(kDeadBeef, Style::swiftArray), "[0xDE, 0xAD, 0xBE, 0xEF]");
  EXPECT_EQ(clipboardText(kDeadBeef, Style::base64), "3q2+7w==");
  EXPECT_EQ(clipboardText(kDeadBeef, Style::pythonBytes), "b\"\\xde\\xad\\xbe\\xef\"");
  EXPECT_EQ(clipboardText(kDeadBeef, Style::jsonByteArray), "[222, 173, 190, 239]");
}

TEST(ClipboardText, givesOnlyWhatStandsAroundForNoBytes) {
  EXPECT_EQ(clipboardText({}, Style::hex), "");
  EXPECT_EQ(clipboardText({}, Style::cArray), "{  }");
  EXPECT_EQ(clipboardText({}, Style::swiftArray), "[]");
  EXPECT_EQ(clipboardText({}, Style::base64), "");
  EXPECT_EQ(clipboardText({}, Style::pythonBytes), "b\"\"");
  EXPECT_EQ(clipboardText({}, Style::jsonByteArray), "[]");
}

TEST(ClipboardText, writesNoSeparatorForOneByte) {
  const Bytes one = {0x0A};
  EXPECT_EQ(clipboardText(one, Style::hex), "0A");
  EXPECT_EQ(clipboardText(one, Style::cArray), "{ 0x0A }");
  EXPECT_EQ(clipboardText(one, Style::swiftArray), "[0x0A]");
  EXPECT_EQ(clipboardText(one, Style::base64), "Cg==");
  EXPECT_EQ(clipboardText(one, Style::pythonBytes), "b\"\\x0a\"");
  EXPECT_EQ(clipboardText(one, Style::jsonByteArray), "[10]");
}

TEST(ClipboardText, writesJSONValuesWithoutLeadingZeros) {
  const Bytes bytes = {0x00, 0x09, 0x0A, 0x64, 0xFF};
  EXPECT_EQ(clipboardText(bytes, Style::jsonByteArray), "[0, 9, 10, 100, 255]");
}

TEST(ClipboardText, hasLowerCaseDigitsInPythonOnly) {
  const Bytes bytes = {0xAB, 0xCD, 0xEF};
  EXPECT_EQ(clipboardText(bytes, Style::pythonBytes), "b\"\\xab\\xcd\\xef\"");
  EXPECT_EQ(clipboardText(bytes, Style::hex), "AB CD EF");
  EXPECT_EQ(clipboardText(bytes, Style::cArray), "{ 0xAB, 0xCD, 0xEF }");
  EXPECT_EQ(clipboardText(bytes, Style::swiftArray), "[0xAB, 0xCD, 0xEF]");
}

TEST(ClipboardText, encodesTheBase64ExamplesOfItsStandard) {
  const auto encoded = [](std::string_view text) {
    return clipboardText(Bytes(text.begin(), text.end()), Style::base64);
  };
  EXPECT_EQ(encoded("f"), "Zg==");
  EXPECT_EQ(encoded("fo"), "Zm8=");
  EXPECT_EQ(encoded("foo"), "Zm9v");
  EXPECT_EQ(encoded("foob"), "Zm9vYg==");
  EXPECT_EQ(encoded("fooba"), "Zm9vYmE=");
  EXPECT_EQ(encoded("foobar"), "Zm9vYmFy");
  EXPECT_EQ(encoded("\xFB\xEF\xBE\xFF\xFF\xFF"), "++++////");
}

TEST(ClipboardText, writesAllBytesAsTheObviousVersionDoes) {
  for (const Style style : kStyles) {
    EXPECT_EQ(clipboardText(allBytes(), style), obviousText(allBytes(), style));
    for (const std::uint8_t byte : allBytes()) {
      EXPECT_EQ(clipboardText(Bytes{byte}, style), obviousText({byte}, style));
    }
  }
}

TEST(ClipboardText, agreesWithTheObviousVersionOnRandomBytes) {
  constexpr std::uint64_t kSeed = 20240611;
  std::mt19937_64 random(kSeed);
  std::vector<std::size_t> sizes;
  for (std::size_t size = 0; size < 70; ++size) sizes.push_back(size);
  // Around the pieces that texts are made in.
  for (const std::size_t seam : {2048, 3072, 4096, 6144}) {
    for (std::size_t size = seam - 2; size <= seam + 3; ++size) sizes.push_back(size);
  }
  for (const std::size_t size : sizes) {
    const Bytes bytes = randomBytes(random, size);
    for (const Style style : kStyles) {
      ASSERT_EQ(clipboardText(bytes, style), obviousText(bytes, style))
          << "seed " << kSeed << ", size " << size << ", style " << static_cast<int>(style);
    }
  }
}

// --- formats ---------------------------------------------------------------------------------

TEST(FormattedHexBytes, putsTheFormatAroundEveryByteAndAll) {
  EXPECT_EQ(formattedHexBytes(kDeadBeef, {}), "DEADBEEF");
  EXPECT_EQ(formattedHexBytes(kDeadBeef, {.lowercase = true}), "deadbeef");
  EXPECT_EQ(formattedHexBytes(kDeadBeef, {.separator = ":", .lowercase = true}), "de:ad:be:ef");
  EXPECT_EQ(formattedHexBytes(kDeadBeef, {.prefix = "$", .opening = "<", .closing = ">"}),
            "<$DE$AD$BE$EF>");
  EXPECT_EQ(
      formattedHexBytes({}, {.prefix = "$", .separator = ",", .opening = "<", .closing = ">"}),
      "<>");
}

TEST(FormattedHexBytes, agreesWithTheObviousVersionInEveryFormat) {
  std::mt19937_64 random(7);
  for (const std::size_t size : {0, 1, 2, 5, 100, 2047, 2048, 2049, 5000}) {
    const Bytes bytes = randomBytes(random, size);
    for (const std::string prefix : {"", "x", "0x", "0x00", "a long prefix "}) {
      for (const std::string separator : {"", " ", ", ", "\r\n  ", " and then the byte "}) {
        const HexBytesFormat format = {.prefix = prefix, .separator = separator, .opening = "("};
        ASSERT_EQ(formattedHexBytes(bytes, format),
                  "(" + joined(bytes, (prefix + "%02X").c_str(), separator))
            << size << " bytes, prefix '" << prefix << "', separator '" << separator << "'";
      }
    }
  }
}

TEST(FormattedHexBytes, takesTheMemoryItNeedsAtOnce) {
  const Bytes bytes(5000, 0x42);
  for (const std::string_view separator : {"", " ", ", ", "a long separator"}) {
    const std::string text = formattedHexBytes(bytes, {.separator = separator, .closing = "}"});
    EXPECT_EQ(text.size(), 5000 * (2 + separator.size()) - separator.size() + 1);
    EXPECT_EQ(text.capacity(), text.size());
  }
}

// --- stopping --------------------------------------------------------------------------------

TEST(ClipboardText, tellsItsProgress) {
  const Bytes bytes(10'000, 1);
  for (const Style style : kStyles) {
    TaskProgress progress;
    EXPECT_EQ(clipboardText(bytes, style, &progress), clipboardText(bytes, style));
    EXPECT_EQ(progress.fraction(), 1);
  }
  TaskProgress progress;
  formattedHexBytes(bytes, {.prefix = "a long prefix"}, &progress);
  EXPECT_EQ(progress.fraction(), 1);
}

TEST(ClipboardText, stopsWhenToldTo) {
  TaskProgress progress;
  progress.requestStop();
  const auto isStopped = testing::Throws<Error>(testing::Property(&Error::isStopped, true));
  for (const Style style : kStyles) {
    EXPECT_THAT([&] { clipboardText(kDeadBeef, style, &progress); }, isStopped);
  }
  EXPECT_THAT([&] { formattedHexBytes(kDeadBeef, {.prefix = "a long prefix"}, &progress); },
              isStopped);
  EXPECT_THAT([&] { standardClipboardPayload(ByteBuffer(kDeadBeef), &progress); }, isStopped);
}

TEST(TextPieces, looksBeforeEveryPieceWhetherToStop) {
  const Bytes bytes(100, 0);
  TaskProgress progress;
  std::vector<std::size_t> sizes;
  const auto convert = [&](std::span<const std::uint8_t> piece) {
    sizes.push_back(piece.size());
    if (sizes.size() == 2) progress.requestStop();
  };
  EXPECT_THAT([&] { convertInPieces(bytes, 30, &progress, convert); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_THAT(sizes, testing::ElementsAre(30, 30));
  EXPECT_DOUBLE_EQ(progress.fraction(), 0.6);
}

TEST(TextPieces, cutsBytesIntoPieces) {
  const Bytes bytes = allBytes();
  Bytes seen;
  std::vector<std::size_t> sizes;
  convertInPieces(bytes, 100, nullptr, [&](std::span<const std::uint8_t> piece) {
    seen.insert(seen.end(), piece.begin(), piece.end());
    sizes.push_back(piece.size());
  });
  EXPECT_EQ(seen, bytes);
  EXPECT_THAT(sizes, testing::ElementsAre(100, 100, 56));
}

// --- copy and paste --------------------------------------------------------------------------

TEST(StandardClipboardPayload, holdsTheBytesAndTheirText) {
  const ByteBuffer bytes = {0xDE, 0xAD};
  const StandardClipboardPayload payload = standardClipboardPayload(bytes);
  EXPECT_EQ(payload.data, bytes);
  EXPECT_TRUE(payload.data.sharesStorageWith(bytes));
  EXPECT_EQ(payload.hexString, "DE AD");
  EXPECT_EQ(standardClipboardPayload({}), StandardClipboardPayload());
}

Bytes pasted(const std::string& text) {
  return bytesForPastedText(text, maxGeneratedInputBytes, maxTextInputCharacters);
}

Bytes utf8Of(const std::string& text) {
  return Bytes(text.begin(), text.end());
}

TEST(PastedText, isHexadecimalWhereItCanBeAndItselfOtherwise) {
  EXPECT_EQ(pasted("de ad"), (Bytes{0xDE, 0xAD}));
  EXPECT_EQ(pasted("hello"), (Bytes{0x68, 0x65, 0x6C, 0x6C, 0x6F}));
}

TEST(PastedText, isWhatWasCopiedInTheHexadecimalStyle) {
  EXPECT_EQ(pasted(clipboardText({}, Style::hex)), Bytes());
  EXPECT_EQ(pasted(clipboardText(allBytes(), Style::hex)), allBytes());
  std::mt19937_64 random(31);
  for (std::size_t size = 1; size < 10'000; size = size * 5 / 4 + 1) {
    const Bytes bytes = randomBytes(random, size);
    EXPECT_EQ(pasted(clipboardText(bytes, Style::hex)), bytes) << size;
    EXPECT_EQ(pasted(formattedHexBytes(bytes, {})), bytes) << size;
    EXPECT_EQ(pasted(formattedHexBytes(bytes, {.prefix = "0x", .separator = ", "})), bytes) << size;
  }
}

/// Large texts stand on memory of another kind.
TEST(PastedText, isWhatWasCopiedWhateverItsSize) {
  std::mt19937_64 random(4);
  const Bytes bytes = randomBytes(random, 3'000'000);
  const std::string text = clipboardText(bytes, Style::hex);
  EXPECT_EQ(text.size(), 3 * bytes.size() - 1);
  EXPECT_TRUE(bytesForPastedText(text, maxGeneratedInputBytes, kMaxInt64) == bytes);
  // Beyond the number of characters that is read as hexadecimal, a text is itself.
  EXPECT_TRUE(pasted(text) == utf8Of(text));
}

/// Source code is no list of hexadecimal bytes: brackets and quotes are no separators.
TEST(PastedText, isTheTextItselfInTheStylesForSourceCode) {
  for (const Style style :
       {Style::cArray, Style::swiftArray, Style::pythonBytes, Style::jsonByteArray}) {
    for (const Bytes& bytes : {Bytes(), Bytes{0x41}, kDeadBeef, allBytes()}) {
      const std::string text = clipboardText(bytes, style);
      EXPECT_EQ(HexParser::parseHexBytes(text), std::nullopt) << text;
      EXPECT_EQ(pasted(text), utf8Of(text)) << text;
    }
  }
}

/// Base64 is not decoded either; where all its characters are hexadecimal digits by chance, it is
/// read as those.
TEST(PastedText, isNotDecodedFromBase64) {
  EXPECT_EQ(pasted(clipboardText(kDeadBeef, Style::base64)), utf8Of("3q2+7w=="));
  const std::string ambiguous = clipboardText(Bytes{0x00, 0x10, 0x83}, Style::base64);
  EXPECT_EQ(ambiguous, "ABCD");
  EXPECT_EQ(pasted(ambiguous), (Bytes{0xAB, 0xCD}));
}

// --- what is copied --------------------------------------------------------------------------

TEST(SelectedRangeForClipboard, isTheSelectionWithinTheDocument) {
  EXPECT_EQ(selectedRangeForClipboard({2, 3}, 5, 10), (HexSelection{2, 3}));
  EXPECT_EQ(selectedRangeForClipboard({8, 5}, 0, 10), (HexSelection{8, 2}));
  EXPECT_EQ(selectedRangeForClipboard({-2, 5}, 0, 10), (HexSelection{0, 3}));
  EXPECT_EQ(selectedRangeForClipboard({4, kMaxInt64}, 0, 10), (HexSelection{4, 6}));
}

TEST(SelectedRangeForClipboard, isTheByteAtTheCaretWithoutASelection) {
  EXPECT_EQ(selectedRangeForClipboard({4, 0}, 4, 10), (HexSelection{4, 1}));
  EXPECT_EQ(selectedRangeForClipboard({0, 0}, 9, 10), (HexSelection{9, 1}));
  EXPECT_EQ(selectedRangeForClipboard({12, 5}, 3, 10), (HexSelection{3, 1}));
}

TEST(SelectedRangeForClipboard, isAbsentWhereThereIsNoByte) {
  for (const std::int64_t caret :
       {std::int64_t{10}, std::int64_t{11}, std::int64_t{-1}, kMaxInt64, kMinInt64}) {
    EXPECT_EQ(selectedRangeForClipboard({10, 0}, caret, 10), std::nullopt) << caret;
  }
  EXPECT_EQ(selectedRangeForClipboard({0, 5}, 0, 0), std::nullopt);
}

}  // namespace
}  // namespace quillmor
