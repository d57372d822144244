// The checksum report beside the tools that print the same digests.

#include <cstdint>
#include <string>
#include <vector>

#include "ToolFixture.h"
#include "support/RandomBytes.h"
#include "tools/checksum/Checksum.h"

namespace quillmor::test {
namespace {

class Checksums : public ToolFixture {
 protected:
  /// What the report says behind `label`.
  static std::string value(const std::string& report, const std::string& label) {
    const std::size_t start = report.find("\n" + label + ": ") + label.size() + 3;
    return report.substr(start, report.find('\n', start) - start);
  }

  /// The first word that a tool prints.
  std::string firstWordOf(const std::string& command) const {
    const std::string output = outputOf(command);
    return output.substr(0, output.find_first_of(" \n"));
  }

  /// The CRC-32 in the trailer of a compressed file, which holds it little-endian before the size.
  std::string crc32InTrailer(const std::string& name) const {
    const std::string trailer = outputOf("gzip -1c " + name + " | tail -c 8");
    std::string crc;
    for (std::size_t i = 4; i-- > 0 && trailer.size() == 8;) {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      const auto byte = static_cast<std::uint8_t>(trailer[i]);
      crc += kDigits[byte >> 4];
      crc += kDigits[byte & 15];
    }
    return crc;
  }
};

TEST_F(Checksums, areThoseOfTheStandardTools) {
  const std::vector<std::uint8_t> random = randomBytes(3'000'001, 5);
  for (const std::size_t size :
       {0U, 1U, 55U, 56U, 63U, 64U, 65U, 4095U, 5552U, 65'537U, 524'288U, 3'000'001U}) {
    const auto bytes = std::span(random).first(size);
    write("data", bytes);
    TaskProgress progress;
    const std::string report = Checksum::report(bytes, {}, progress);
    EXPECT_EQ(value(report, "MD5"), firstWordOf("md5sum data")) << size;
    EXPECT_EQ(value(report, "SHA-1"), firstWordOf("sha1sum data")) << size;
    EXPECT_EQ(value(report, "SHA-256"), firstWordOf("sha256sum data")) << size;
    EXPECT_EQ(value(report, "CRC32"), crc32InTrailer("data")) << size;
  }
}

TEST_F(Checksums, ofARangeAreThoseOfItsBytes) {
  const std::vector<std::uint8_t> bytes = randomBytes(1'500'000, 6);
  write("data", bytes);
  TaskProgress progress;
  const std::string report = Checksum::rangeReport(bytes, {1000, 1'300'000}, progress);
  outputOf("tail -c +1001 data | head -c 1300000 > part");
  EXPECT_EQ(value(report, "MD5"), firstWordOf("md5sum part"));
  EXPECT_EQ(value(report, "SHA-1"), firstWordOf("sha1sum part"));
  EXPECT_EQ(value(report, "SHA-256"), firstWordOf("sha256sum part"));
  EXPECT_EQ(value(report, "CRC32"), crc32InTrailer("part"));
}

}  // namespace
}  // namespace quillmor::test
