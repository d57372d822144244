#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"
#include "tools/analysis/ByteStatistics.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

constexpr std::size_t kChunk = 4096;
constexpr std::size_t kLimit = 40'960'000;
const std::string kHeader = "Offset      Length  Entropy\n------------------------------";

EntropyMap mapOf(View bytes) {
  TaskProgress progress;
  return entropyMap(bytes, progress);
}

std::string reportOf(View bytes) {
  return entropyMapReport(mapOf(bytes));
}

/// By the definition, a byte at a time.
double naiveEntropy(View bytes) {
  std::array<double, 256> counts{};
  for (const std::uint8_t byte : bytes) ++counts[byte];
  double entropy = 0;
  for (const double count : counts) {
    const double part = count / static_cast<double>(bytes.size());
    if (count > 0) entropy -= part * std::log2(part);
  }
  return entropy;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(EntropyMap, ofAnEmptyDocumentSaysSo) {
  EXPECT_EQ(reportOf({}), kHeader + "\n\nEmpty file.\n");
  EXPECT_TRUE(mapOf({}).entropies.empty());
}

TEST(EntropyMap, hasALineForEachChunk) {
  EXPECT_EQ(reportOf(Bytes(1, 7)), kHeader + "\n00000000       1  0.0000");
  EXPECT_EQ(reportOf(Bytes(4095, 7)), kHeader + "\n00000000    4095  0.0000");
  EXPECT_EQ(reportOf(Bytes(4096, 7)), kHeader + "\n00000000    4096  0.0000");
  EXPECT_EQ(reportOf(Bytes(4097, 7)),
            kHeader + "\n00000000    4096  0.0000\n00001000       1  0.0000");
  EXPECT_EQ(reportOf(Bytes(8192, 7)),
            kHeader + "\n00000000    4096  0.0000\n00001000    4096  0.0000");
}

TEST(EntropyMap, showsTheEntropyOfEachChunkAlone) {
  Bytes bytes(2 * kChunk + 4, 0xEE);
  for (std::size_t i = 0; i < kChunk; ++i) bytes[kChunk + i] = static_cast<std::uint8_t>(i);
  bytes[2 * kChunk] = 1;
  bytes[2 * kChunk + 1] = 2;
  EXPECT_EQ(reportOf(bytes), kHeader +
                                 "\n00000000    4096  0.0000"
                                 "\n00001000    4096  8.0000"
                                 "\n00002000       4  1.5000");
}

TEST(EntropyMap, agreesWithTheDefinitionBitForBit) {
  GuardedBytes memory(6 * kChunk);
  Bytes bytes = test::randomBytes(5 * kChunk + 1234, 9);
  // Few values in one chunk, very uneven ones in another.
  for (std::size_t i = 0; i < kChunk; ++i) bytes[kChunk + i] &= 7;
  for (std::size_t i = 0; i < kChunk; ++i) bytes[2 * kChunk + i] &= bytes[i];
  const View placed = memory.atEnd(bytes);
  const EntropyMap map = mapOf(placed);
  ASSERT_EQ(map.entropies.size(), 6U);
  EXPECT_EQ(map.byteCount, std::ssize(bytes));
  for (std::size_t i = 0; i < 6; ++i) {
    const View chunk = placed.subspan(i * kChunk, std::min(kChunk, placed.size() - i * kChunk));
    EXPECT_EQ(map.entropies[i], naiveEntropy(chunk)) << i;
    EXPECT_EQ(map.entropies[i], entropyValue(chunk)) << i;
  }
}

TEST(EntropyMap, roundsValuesInTheMiddleAsThePrintedSumDoes) {
  // Parts of 1/2, 1/4 ... 1/64, 1/64: 1.96875 bits exactly.
  Bytes bytes;
  for (std::size_t part = kChunk / 2; part >= kChunk / 64; part /= 2) {
    bytes.insert(bytes.end(), part, static_cast<std::uint8_t>(part / 32));
  }
  bytes.resize(kChunk, 0xFF);
  EXPECT_EQ(reportOf(bytes), kHeader + "\n00000000    4096  1.9688");
}

TEST(EntropyMap, isCompleteUpToTenThousandChunks) {
  const Bytes bytes(kLimit + 1, 0);
  for (const std::size_t size : {kLimit - 1, kLimit}) {
    const EntropyMap map = mapOf(View(bytes).first(size));
    EXPECT_FALSE(map.isTruncated());
    EXPECT_EQ(map.entropies.size(), 10'000U);
    const auto lines = linesOf(entropyMapReport(map));
    ASSERT_EQ(lines.size(), 10'002U);
    EXPECT_EQ(lines.back(),
              size == kLimit ? "0270F000    4096  0.0000" : "0270F000    4095  0.0000");
  }
}

TEST(EntropyMap, isCutBeyondTenThousandChunks) {
  const EntropyMap map = mapOf(Bytes(kLimit + 1, 0));
  EXPECT_TRUE(map.isTruncated());
  EXPECT_EQ(map.entropies.size(), 10'000U);
  EXPECT_EQ(map.byteCount, std::ssize(map.entropies) * 4096 + 1);
  const std::string text = entropyMapReport(map);
  EXPECT_TRUE(
      text.ends_with("\n0270F000    4096  0.0000\n"
                     "Output truncated to first 10000 chunk(s) to avoid excessive UI memory use.\n"
                     "Total chunks scanned: 10000"));
  EXPECT_EQ(linesOf(text).size(), 10'004U);
}

TEST(EntropyMap, isTheSameOnTwoThreads) {
  const Bytes bytes = test::randomBytes(9 * 1024 * 1024 + 5, 6);
  const EntropyMap map = mapOf(bytes);
  ASSERT_EQ(map.entropies.size(), 2305U);
  for (std::size_t i = 0; i < map.entropies.size(); i += 97) {
    const View rest = View(bytes).subspan(i * kChunk);
    ASSERT_EQ(map.entropies[i], naiveEntropy(rest.first(std::min(kChunk, rest.size())))) << i;
  }
  EXPECT_EQ(map.entropies.back(), naiveEntropy(View(bytes).last(5)));
}

TEST(EntropyMap, advancesByTheBytesItLooksAt) {
  const Bytes bytes(kLimit + 5000, 0);
  TaskProgress progress;
  entropyMap(bytes, progress);
  EXPECT_EQ(progress.fraction(), 1);
  progress.setTotal(2 * static_cast<std::int64_t>(kLimit));
  EXPECT_EQ(progress.fraction(), 0.5);
}

TEST(EntropyMap, stopsWhenAskedTo) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { entropyMap(Bytes(10, 1), progress); }, stops);
  EXPECT_EQ(progress.fraction(), 0);
}

}  // namespace
}  // namespace quillmor
