#include "kernels/ByteKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <span>
#include <vector>

#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMaxLength = 300;
constexpr std::uint8_t kUntouched = 0xA5;

/// A kernel bound to its second operand, the obvious version beside it.
struct Case {
  const char* name;
  std::size_t group;
  std::function<void(const ByteKernels&, std::uint8_t*, const std::uint8_t*, std::size_t)> run;
  std::function<Bytes(const Bytes&)> naive;
};

Bytes groupsReversed(Bytes bytes, std::size_t group) {
  for (std::size_t i = 0; i + group <= bytes.size(); i += group) {
    std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                 bytes.begin() + static_cast<std::ptrdiff_t>(i + group));
  }
  return bytes;
}

Case unary(const char* name, ByteKernels::Unary ByteKernels::*kernel, std::size_t group,
           std::function<Bytes(const Bytes&)> naive) {
  return {name, group,
          [kernel](const ByteKernels& kernels, std::uint8_t* to, const std::uint8_t* from,
                   std::size_t count) { (kernels.*kernel)(to, from, count); },
          std::move(naive)};
}

template <typename Naive>
Case binary(const char* name, ByteOperation operation, std::span<const std::uint8_t> with,
            Naive naive) {
  return {name, 1,
          [=](const ByteKernels& kernels, std::uint8_t* to, const std::uint8_t* from,
              std::size_t count) {
            // The last bytes of the second operand, so that reading on would leave its memory.
            kernels.combining(operation)(to, from, with.last(count).data(), count);
          },
          [=](const Bytes& bytes) {
            const auto second = with.last(bytes.size());
            Bytes result(bytes.size());
            for (std::size_t i = 0; i < bytes.size(); ++i) {
              result[i] = static_cast<std::uint8_t>(naive(bytes[i], second[i]));
            }
            return result;
          }};
}

std::vector<Case> allCases(std::span<const std::uint8_t> with) {
  return {
      unary("invert", &ByteKernels::invert, 1,
            [](Bytes bytes) {
              for (auto& byte : bytes) byte = static_cast<std::uint8_t>(255 - byte);
              return bytes;
            }),
      unary("reverse", &ByteKernels::reverse, 1,
            [](const Bytes& bytes) { return Bytes(bytes.rbegin(), bytes.rend()); }),
      unary("swap16", &ByteKernels::swap16, 2,
            [](const Bytes& bytes) { return groupsReversed(bytes, 2); }),
      unary("swap32", &ByteKernels::swap32, 4,
            [](const Bytes& bytes) { return groupsReversed(bytes, 4); }),
      binary("exclusiveOr", ByteOperation::exclusiveOr, with, std::bit_xor<>()),
      binary("bitwiseAnd", ByteOperation::bitwiseAnd, with, std::bit_and<>()),
      binary("bitwiseOr", ByteOperation::bitwiseOr, with, std::bit_or<>()),
  };
}

class ByteKernelsTest : public testing::Test {
 protected:
  /// Calls `check` for every kernel on every kind of processor that this one can stand for.
  void forEachKernel(
      const std::function<void(const ByteKernels& kernels, const Case& kernel)>& check) {
    for (const ByteKernels* kernels : availableByteKernels()) {
      for (const Case& kernel : cases_) {
        SCOPED_TRACE(std::string(kernels->name) + " " + kernel.name);
        check(*kernels, kernel);
      }
    }
  }

  GuardedBytes guardedOperand_{kMaxLength};
  std::span<const std::uint8_t> operand_ = guardedOperand_.atEnd(test::randomBytes(kMaxLength, 1));
  std::vector<Case> cases_ = allCases(operand_);
};

TEST_F(ByteKernelsTest, agreeWithPlainLoopsAtEveryLengthWithoutLeavingTheirMemory) {
  GuardedBytes source(kMaxLength);
  GuardedBytes destination(kMaxLength);
  forEachKernel([&](const ByteKernels& kernels, const Case& kernel) {
    for (std::size_t length = 0; length <= kMaxLength; length += kernel.group) {
      const Bytes bytes = test::randomBytes(length, length);
      const Bytes nothing(length, kUntouched);
      const Bytes expected = kernel.naive(bytes);
      const auto atEnd = destination.atEnd(nothing);
      kernel.run(kernels, atEnd.data(), source.atEnd(bytes).data(), length);
      ASSERT_TRUE(std::ranges::equal(atEnd, expected)) << length;
      const auto atStart = destination.atStart(nothing);
      kernel.run(kernels, atStart.data(), source.atStart(bytes).data(), length);
      ASSERT_TRUE(std::ranges::equal(atStart, expected)) << length;
    }
  });
}

TEST_F(ByteKernelsTest, agreeWithPlainLoopsAtEveryAlignmentAndWriteNothingElse) {
  constexpr std::size_t kLength = 200;
  constexpr std::size_t kAlignments = 33;
  const Bytes bytes = test::randomBytes(kLength, 7);
  forEachKernel([&](const ByteKernels& kernels, const Case& kernel) {
    const Bytes expected = kernel.naive(bytes);
    for (std::size_t from = 0; from < kAlignments; ++from) {
      Bytes source(kLength + kAlignments);
      std::ranges::copy(bytes, source.begin() + static_cast<std::ptrdiff_t>(from));
      for (std::size_t to = 0; to < kAlignments; ++to) {
        Bytes written(kLength + 2 * kAlignments, kUntouched);
        kernel.run(kernels, written.data() + to, source.data() + from, kLength);
        Bytes all(written.size(), kUntouched);
        std::ranges::copy(expected, all.begin() + static_cast<std::ptrdiff_t>(to));
        ASSERT_EQ(written, all) << from << " to " << to;
      }
    }
  });
}

TEST(ByteKernels, offerThePortableOnesEverywhereAndTheBestOnesLast) {
  const auto available = availableByteKernels();
  ASSERT_FALSE(available.empty());
  EXPECT_STREQ(available.front()->name, "portable");
  EXPECT_EQ(available.back(), &fastestByteKernels());
}

}  // namespace
}  // namespace quillmor
