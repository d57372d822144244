#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <span>
#include <vector>

#include "kernels/Adler32Kernels.h"
#include "kernels/Crc32Kernels.h"
#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

constexpr std::size_t kBlock = Adler32Kernel::kMaximumBlock;

/// Bit by bit, as the standard describes it.
std::uint32_t naiveCrc32(std::uint32_t shiftRegister, View bytes) {
  for (const std::uint8_t byte : bytes) {
    shiftRegister ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
      const bool isOdd = (shiftRegister & 1) != 0;
      shiftRegister >>= 1;
      if (isOdd) shiftRegister ^= 0xEDB88320;
    }
  }
  return shiftRegister;
}

Adler32Sums naiveSums(View bytes) {
  Adler32Sums sums;
  for (const std::uint8_t byte : bytes) {
    sums.bytes += byte;
    sums.weighted += sums.bytes;
  }
  return sums;
}

/// Lengths around everything that a kernel does at once.
std::vector<std::size_t> lengths(std::size_t maximum) {
  std::vector<std::size_t> all;
  for (std::size_t length = 0; length <= 600; ++length) all.push_back(length);
  for (const std::size_t around : {1024U, 2048U, 4096U, 5552U, 11104U, 65536U}) {
    for (std::size_t length = around - 17; length <= around + 17; ++length) {
      if (length <= maximum) all.push_back(length);
    }
  }
  return all;
}

/// Calls `check` with random bytes of every length, behind and in front of memory that ends the
/// process when it is read.
void forEachLength(std::size_t maximum, const std::function<void(View)>& check) {
  GuardedBytes memory(maximum);
  const Bytes random = test::randomBytes(maximum, 11);
  for (const std::size_t length : lengths(maximum)) {
    const View bytes = View(random).last(length);
    check(memory.atEnd(bytes));
    check(memory.atStart(bytes));
  }
}

TEST(Crc32Kernels, agreeWithTheDefinitionAtEveryLengthWithoutLeavingTheirMemory) {
  constexpr std::uint32_t kRegisters[] = {Crc32Kernel::kInitialRegister, 0, 0x80000001};
  for (const std::uint32_t before : kRegisters) {
    forEachLength(12'000, [&](View bytes) {
      const std::uint32_t expected = naiveCrc32(before, bytes);
      for (const Crc32Kernel* kernel : availableCrc32Kernels()) {
        ASSERT_EQ(kernel->update(before, bytes.data(), bytes.size()), expected)
            << kernel->name << " " << bytes.size();
      }
    });
  }
}

TEST(Adler32Kernels, agreeWithTheDefinitionAtEveryLengthWithoutLeavingTheirMemory) {
  forEachLength(kBlock, [](View bytes) {
    const Adler32Sums expected = naiveSums(bytes);
    for (const Adler32Kernel* kernel : availableAdler32Kernels()) {
      ASSERT_EQ(kernel->sums(bytes.data(), bytes.size()), expected)
          << kernel->name << " " << bytes.size();
    }
  });
}

TEST(ChecksumKernels, agreeWithTheDefinitionsAtEveryAlignment) {
  constexpr std::size_t kAlignments = 65;
  constexpr std::size_t kLength = 1000;
  const Bytes random = test::randomBytes(kLength + kAlignments, 5);
  for (std::size_t offset = 0; offset < kAlignments; ++offset) {
    const View bytes = View(random).subspan(offset, kLength);
    for (const Crc32Kernel* kernel : availableCrc32Kernels()) {
      ASSERT_EQ(kernel->update(7, bytes.data(), kLength), naiveCrc32(7, bytes)) << offset;
    }
    for (const Adler32Kernel* kernel : availableAdler32Kernels()) {
      ASSERT_EQ(kernel->sums(bytes.data(), kLength), naiveSums(bytes)) << offset;
    }
  }
}

TEST(Crc32Kernels, goOnWhereAnotherKernelStopped) {
  const Bytes bytes = test::randomBytes(3000, 3);
  const std::uint32_t expected = naiveCrc32(Crc32Kernel::kInitialRegister, bytes);
  for (const std::size_t cut : {1U, 15U, 16U, 63U, 64U, 65U, 1500U, 2999U}) {
    for (const Crc32Kernel* first : availableCrc32Kernels()) {
      for (const Crc32Kernel* second : availableCrc32Kernels()) {
        const auto middle = first->update(Crc32Kernel::kInitialRegister, bytes.data(), cut);
        EXPECT_EQ(second->update(middle, bytes.data() + cut, bytes.size() - cut), expected) << cut;
      }
    }
  }
}

TEST(Adler32Kernels, holdTheSumsOfTheLargestBlockOfTheLargestBytes) {
  const Bytes bytes(kBlock, 0xFF);
  const Adler32Sums expected = {.bytes = 255 * 5552, .weighted = 3'930'857'640};
  for (const Adler32Kernel* kernel : availableAdler32Kernels()) {
    EXPECT_EQ(kernel->sums(bytes.data(), bytes.size()), expected) << kernel->name;
  }
}

TEST(Adler32Kernels, takeTheLargestBlockThatFits32Bits) {
  // What is added before the modulo: the largest remainders, and a block of the largest bytes.
  const auto largest = [](std::uint64_t count) {
    return 65'520 + count * 65'520 + 255 * count * (count + 1) / 2;
  };
  EXPECT_LE(largest(kBlock), 0xFFFFFFFF);
  EXPECT_GT(largest(kBlock + 1), 0xFFFFFFFF);
}

TEST(ChecksumKernels, offerThePortableOnesEverywhereAndTheBestOnesLast) {
  EXPECT_EQ(availableCrc32Kernels().front(), &portableCrc32Kernel);
  EXPECT_EQ(availableCrc32Kernels().back(), &fastestCrc32Kernel());
  EXPECT_EQ(availableAdler32Kernels().front(), &portableAdler32Kernel);
  EXPECT_EQ(availableAdler32Kernels().back(), &fastestAdler32Kernel());
  EXPECT_STREQ(portableCrc32Kernel.name, "portable");
  EXPECT_STREQ(portableAdler32Kernel.name, "portable");
}

}  // namespace
}  // namespace quillmor
