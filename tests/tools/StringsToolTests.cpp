// Lists of strings beside GNU strings, which counts the tab among the characters of a string: the
// data have none.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "ToolFixture.h"
#include "support/RandomBytes.h"
#include "tools/export/ASCIIStringsExporter.h"

namespace quillmor::test {
namespace {

class StringsTool : public ToolFixture {
 protected:
  /// What both say of the same bytes, as lines of the offset in hex, a space and the string.
  void expectSame(const std::vector<std::uint8_t>& bytes, std::int64_t minimumLength) {
    write("data.bin", bytes);
    TaskProgress progress;
    ASCIIStringsExporter::write(bytes, minimumLength, {folder.location("ours.txt"), {}}, progress);
    const std::string theirs = outputOf("strings -a -t x -n " + std::to_string(minimumLength) +
                                        " data.bin | sed 's/^ *//'");
    EXPECT_TRUE(comparable(folder.read("ours.txt")) == theirs) << minimumLength;
  }

  /// Our lines without the header, the length and the zeros in front of the offset; the length has
  /// to be the string's.
  static std::string comparable(const std::string& ours) {
    if (ours.starts_with("No printable ASCII strings")) return {};
    std::istringstream lines(ours);
    std::ostringstream result;
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "Offset      Length  String");
    while (std::getline(lines, line)) {
      const std::size_t lengthAt = line.find("  ") + 2;
      const std::size_t stringAt = line.find("  ", lengthAt) + 2;
      const std::string string = line.substr(stringAt);
      EXPECT_EQ(line.substr(lengthAt, stringAt - 2 - lengthAt), std::to_string(string.size()));
      result << std::hex << std::stoull(line.substr(0, lengthAt - 2), nullptr, 16) << ' ' << string
             << '\n';
    }
    return result.str();
  }
};

std::vector<std::uint8_t> withoutTabs(std::vector<std::uint8_t> bytes) {
  for (std::uint8_t& byte : bytes) {
    if (byte == '\t') byte = 0;
  }
  return bytes;
}

TEST_F(StringsTool, findsTheSameInRandomData) {
  for (const std::int64_t minimum : {1, 2, 4, 8, 12}) {
    const std::size_t size = 200'003 + static_cast<std::size_t>(minimum);
    expectSame(withoutTabs(randomBytes(size, size)), minimum);
  }
}

TEST_F(StringsTool, findsTheSameInText) {
  std::vector<std::uint8_t> bytes = withoutTabs(randomBytes(500'000, 5));
  const std::vector<std::uint8_t> random = randomBytes(bytes.size(), 6);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (random[i] < 250) bytes[i] = static_cast<std::uint8_t>(0x20 + bytes[i] % 95);
  }
  for (const std::int64_t minimum : {1, 4, 63, 64, 65, 100, 500}) expectSame(bytes, minimum);
}

TEST_F(StringsTool, findsTheSameInAProgram) {
  std::string program = TemporaryFolder::read(FileLocation::fromPath("/proc/self/exe"));
  program.resize(std::min<std::size_t>(program.size(), 2'000'000));
  for (const std::int64_t minimum : {4, 10}) {
    expectSame(withoutTabs({program.begin(), program.end()}), minimum);
  }
}

TEST_F(StringsTool, findsTheSameInOneLongString) {
  std::vector<std::uint8_t> bytes(3'000'000, 'A');
  bytes.front() = 0;
  expectSame(bytes, 4);
}

TEST_F(StringsTool, findsNothingInNothing) {
  expectSame({}, 4);
  expectSame({'a', 'b', 'c', 0}, 4);
}

}  // namespace
}  // namespace quillmor::test
