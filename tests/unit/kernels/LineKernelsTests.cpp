#include "kernels/LineKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"
#include "tools/export/HexDumpExporter.h"
#include "tools/export/IntelHexExporter.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBytesPerLine = LineKernels::kBytesPerLine;
constexpr std::size_t kMaxLines = 9;

/// One of the kernels, and the obvious version of one of its lines.
struct Case {
  const char* name;
  LineKernels::Lines LineKernels::*kernel;
  std::function<std::string(std::span<const std::uint8_t>, std::int64_t)> line;
};

const Case kCases[] = {{"hexDump", &LineKernels::hexDump, HexDumpExporter::line},
                       {"intelHex", &LineKernels::intelHex, IntelHexExporter::dataLine}};

std::string expectedText(const Case& lines, std::span<const std::uint8_t> bytes,
                         std::uint32_t offset) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += kBytesPerLine) {
    const auto lineOffset = static_cast<std::uint32_t>(offset + at);
    text += lines.line(bytes.subspan(at, kBytesPerLine), lineOffset);
  }
  return text;
}

/// Calls `check` for every kernel on every kind of processor that this one can stand for.
void forEachKernel(const std::function<void(const Case&, LineKernels::Lines)>& check) {
  for (const LineKernels* kernels : availableLineKernels()) {
    for (const Case& lines : kCases) {
      SCOPED_TRACE(std::string(kernels->name) + " " + lines.name);
      check(lines, kernels->*lines.kernel);
    }
  }
}

/// Runs a kernel on `bytes`, which belong to memory that ends or begins there, into memory that
/// does as well.
void expectLines(const Case& lines, LineKernels::Lines kernel, const Bytes& bytes,
                 std::uint32_t offset) {
  const std::string expected = expectedText(lines, bytes, offset);
  const Bytes nothing(expected.size());
  GuardedBytes source(bytes.size());
  GuardedBytes destination(nothing.size());
  const auto check = [&](std::span<std::uint8_t> from, std::span<std::uint8_t> to) {
    auto* const out = reinterpret_cast<char*>(to.data());
    const char* const end = kernel(out, from.data(), bytes.size() / kBytesPerLine, offset);
    ASSERT_EQ(end, out + expected.size());
    ASSERT_TRUE(std::string_view(out, to.size()) == expected) << bytes.size() << " at " << offset;
  };
  check(source.atEnd(bytes), destination.atEnd(nothing));
  check(source.atStart(bytes), destination.atStart(nothing));
}

TEST(LineKernels, agreeWithSingleLinesAtEveryCountWithoutLeavingTheirMemory) {
  forEachKernel([](const Case& lines, LineKernels::Lines kernel) {
    for (std::size_t count = 0; count <= kMaxLines; ++count) {
      expectLines(lines, kernel, test::randomBytes(count * kBytesPerLine, count), 0x1234'5670);
    }
  });
}

TEST(LineKernels, agreeOnEveryByteInEveryPlace) {
  forEachKernel([](const Case& lines, LineKernels::Lines kernel) {
    Bytes bytes(256 * kBytesPerLine);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(i / kBytesPerLine + i % kBytesPerLine * 37);
    }
    expectLines(lines, kernel, bytes, 0);
  });
}

TEST(LineKernels, showTheCharactersFromSpaceToTilde) {
  const Bytes bytes = {0x00, 0x1E, 0x1F, 0x20, 0x21, 0x22, 0x2E, 0x41, 0x7D, 0x7E, 0x7F, 0x80,
                       0x81, 0x9F, 0xA0, 0xFF, 0xFF, 0xFE, 0xFD, 0x80, 0x7F, 0x7E, 0x7D, 0x61,
                       0x5F, 0x40, 0x3F, 0x21, 0x20, 0x1F, 0x1E, 0x01, 0x20, 0x20, 0x7E, 0x7E,
                       0x1F, 0x1F, 0x7F, 0x7F, 0x20, 0x20, 0x7E, 0x7E, 0x1F, 0x1F, 0x7F, 0x7F};
  const std::string_view expected =
      "00000000  00 1E 1F 20 21 22 2E 41 7D 7E 7F 80 81 9F A0 FF  |... !\".A}~......|\n"
      "00000010  FF FE FD 80 7F 7E 7D 61 5F 40 3F 21 20 1F 1E 01  |.....~}a_@?! ...|\n"
      "00000020  20 20 7E 7E 1F 1F 7F 7F 20 20 7E 7E 1F 1F 7F 7F  |  ~~....  ~~....|\n";
  for (const LineKernels* kernels : availableLineKernels()) {
    std::string text(expected.size(), '#');
    kernels->hexDump(text.data(), bytes.data(), bytes.size() / kBytesPerLine, 0);
    EXPECT_EQ(text, expected) << kernels->name;
  }
}

TEST(LineKernels, agreeOnSumsOfAnySize) {
  forEachKernel([](const Case& lines, LineKernels::Lines kernel) {
    for (const std::uint8_t byte : Bytes{0x00, 0x0F, 0x10, 0x7F, 0x80, 0xF0, 0xFF}) {
      expectLines(lines, kernel, Bytes(3 * kBytesPerLine, byte), 0xFFC0);
    }
  });
}

TEST(LineKernels, agreeOnOffsets) {
  const Bytes bytes = test::randomBytes(4 * kBytesPerLine, 3);
  forEachKernel([&](const Case& lines, LineKernels::Lines kernel) {
    for (const std::uint32_t offset : {0U, 1U, 0xF8U, 0xFFF0U, 0xFFFFU, 0xF'FFF0U, 0x7FFF'FFF0U,
                                       0x9ABC'DEF1U, 0xFFFF'FFC0U, 0xFFFF'FFCFU}) {
      expectLines(lines, kernel, bytes, offset);
    }
  });
}

TEST(LineKernels, agreeAtEveryAlignmentAndWriteNothingElse) {
  constexpr std::size_t kAlignments = 33;
  constexpr std::size_t kSize = 5 * kBytesPerLine;
  const Bytes bytes = test::randomBytes(kSize + kAlignments, 4);
  forEachKernel([&](const Case& lines, LineKernels::Lines kernel) {
    for (std::size_t from = 0; from < kAlignments; ++from) {
      const auto source = std::span(bytes).subspan(from, kSize);
      const std::string expected = expectedText(lines, source, 0x40);
      for (std::size_t to = 0; to < kAlignments; ++to) {
        std::string written(expected.size() + 2 * kAlignments, '#');
        std::string all = written;
        kernel(written.data() + to, source.data(), kSize / kBytesPerLine, 0x40);
        all.replace(to, expected.size(), expected);
        ASSERT_TRUE(written == all) << from << " to " << to;
      }
    }
  });
}

TEST(LineKernels, offerThePortableOnesEverywhereAndTheBestOnesLast) {
  const auto available = availableLineKernels();
  ASSERT_FALSE(available.empty());
  EXPECT_STREQ(available.front()->name, "portable");
  EXPECT_EQ(available.back(), &fastestLineKernels());
}

}  // namespace
}  // namespace quillmor
