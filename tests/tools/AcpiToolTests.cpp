// ACPI tables that a compiler of such tables made, and what it says about ours.

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "ToolFixture.h"
#include "tools/analysis/FileStructure.h"
#include "tools/firmware/AcpiTables.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class AcpiTools : public ToolFixture {
 protected:
  Bytes read(const std::string& name) const {
    std::ifstream in(folder.path() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

  /// A definition block, compiled.
  Bytes compiled(const std::string& signature, const std::string& body) const {
    std::ofstream(folder.path() / "table.asl")
        << "DefinitionBlock (\"table.aml\", \"" << signature
        << "\", 2, \"QUILL\", \"HEXBYTES\", 1) {" << body << "}\n";
    outputOf("iasl -vs table.asl 2>&1");
    return read("table.aml");
  }

  /// The compiler's own example of a table of data, compiled. It writes lower-case file names.
  Bytes compiledTemplate(const std::string& signature) const {
    std::string name = signature;
    std::ranges::transform(name, name.begin(), [](char c) { return static_cast<char>(c | 0x20); });
    outputOf("iasl -vs -T " + signature + " 2>&1 && iasl -vs " + name + ".asl 2>&1");
    return read(name + ".aml");
  }

  std::string disassembling(const Bytes& bytes) const {
    write("disassembled.aml", bytes);
    return outputOf("iasl -vs -d disassembled.aml 2>&1");
  }

  void expectValid(const Bytes& bytes, const std::string& signature) const {
    const auto info = acpiInfo(bytes);
    ASSERT_TRUE(info.has_value()) << signature;
    EXPECT_EQ(info->signature, signature);
    EXPECT_EQ(info->length, std::ssize(bytes)) << signature;
    EXPECT_TRUE(info->isValid) << signature;
    EXPECT_EQ(detectFileStructure(bytes).report,
              "Detected structures:\n- ACPI table: " + signature + ", length " +
                  std::to_string(bytes.size()) + ", checksum valid");
  }

  static constexpr const char* kBody =
      "Device (QLM0) { Name (_HID, \"QLM0001\") Method (TWIC, 1) { Return (Arg0 * 2) } }";
};

TEST_F(AcpiTools, compiledTablesAreValid) {
  expectValid(compiled("DSDT", kBody), "DSDT");
  expectValid(compiled("SSDT", "Name (NUM0, 0x1234)"), "SSDT");
  for (const char* signature : {"APIC", "FACP", "HPET", "MCFG"}) {
    const Bytes bytes = compiledTemplate(signature);
    expectValid(bytes, signature);
    EXPECT_EQ(disassembling(bytes).find("Incorrect checksum"), std::string::npos) << signature;
  }
}

TEST_F(AcpiTools, anyFlippedByteMakesATableInvalid) {
  const Bytes bytes = compiled("DSDT", kBody);
  ASSERT_GT(bytes.size(), 36U);
  for (std::size_t i = 8; i < bytes.size(); ++i) {
    Bytes flipped = bytes;
    flipped[i] ^= 0x10;
    ASSERT_TRUE(acpiInfo(flipped).has_value()) << i;
    EXPECT_FALSE(acpiInfo(flipped)->isValid) << i;
  }
}

TEST_F(AcpiTools, theFixIsWhatTheCompilerAsksFor) {
  const std::regex complaint("Incorrect checksum in table \\[(....)\\] - (0x..), should be (0x..)");
  for (const std::string signature : {"HPET", "MCFG"}) {
    Bytes bytes = compiledTemplate(signature);
    ASSERT_GT(bytes.size(), 36U);
    bytes[24] ^= 0x35;  // of the manufacturer's revision, which any number may be
    const std::string before = disassembling(bytes);
    std::smatch match;
    ASSERT_TRUE(std::regex_search(before, match, complaint)) << before;
    const auto fix = acpiChecksumFix(bytes);
    EXPECT_EQ(match[1], signature);
    EXPECT_EQ(acpiChecksumFixText(fix),
              "Checksum byte updated: " + match[2].str() + " -> " + match[3].str());
    bytes[static_cast<std::size_t>(kACPIChecksumOffset)] = fix.newValue;
    EXPECT_EQ(disassembling(bytes).find("Incorrect checksum"), std::string::npos);
    expectValid(bytes, signature);
  }
}

TEST_F(AcpiTools, aCompiledFacsHasNoChecksum) {
  const Bytes bytes = compiledTemplate("FACS");
  const auto info = facsInfo(bytes);
  ASSERT_TRUE(info.has_value());
  EXPECT_EQ(info->length, bytes.size());
  EXPECT_FALSE(acpiInfo(bytes).has_value());
  EXPECT_EQ(detectFileStructure(bytes).report,
            "Detected structures:\n- ACPI FACS, length 64 bytes (no SDT checksum field)");
}

}  // namespace
}  // namespace quillmor::test
