// inspect, detect and bookmarks.

#include "blackbox/cli/CliTest.h"
#include "support/AcpiTableBytes.h"

namespace quillmor::test {
namespace {

class CliInspectionTest : public CliTest {
 protected:
  void expectDetected(const std::string& bytes, int status, const std::string& lines) const {
    folder.write("a.bin", bytes);
    expectOutput({"detect", "a.bin"}, status, "Detected structures:\n" + lines);
  }

  void expectOffsets(const std::string& json, const std::string& lines) const {
    folder.write("b.json", json);
    expectOutput({"bookmarks", "b.json"}, 0, lines);
  }

  void expectBadBookmarks(const std::string& json, const std::string& message) const {
    folder.write("b.json", json);
    expectFailure({"bookmarks", "b.json"}, message);
  }
};

std::string textOf(const std::vector<std::uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

// --- inspect --------------------------------------------------------------------------------

TEST_F(CliInspectionTest, inspectShowsEveryWidth) {
  folder.write("a.bin", std::string("..\x00\x00\x00\xBF\x00\x00\xF0\x3F", 10));
  expectOutput({"inspect", "a.bin", "2"}, 0,
               "Offset: 0x00000002\n"
               "UInt8: 0\n"
               "Int8: 0\n"
               "Hex: 0x00\n"
               "UInt16 LE: 0x0000 / 0\n"
               "UInt16 BE: 0x0000 / 0\n"
               "UInt32 LE: 0xBF000000 / 3204448256\n"
               "UInt32 BE: 0x000000BF / 191\n"
               "UInt64 LE: 0x3FF00000BF000000 / 4607182422004465664\n"
               "UInt64 BE: 0x000000BF0000F03F / 820338815039\n"
               "Float32 LE: -0.5\n"
               "Float64 LE: 1.000000711530447\n");
}

TEST_F(CliInspectionTest, inspectShowsTheWidthsThatFit) {
  folder.write("a.bin", std::string("\x01\x02\x03\x04\x05\x06\x07\xFE", 8));
  expectOutput({"inspect", "a.bin", "7"}, 0,
               "Offset: 0x00000007\nUInt8: 254\nInt8: -2\nHex: 0xFE\n");
  expectOutput({"inspect", "a.bin", "6"}, 0,
               "Offset: 0x00000006\nUInt8: 7\nInt8: 7\nHex: 0x07\nUInt16 LE: 0xFE07 / 65031\n"
               "UInt16 BE: 0x07FE / 2046\n");
  expectOutput({"inspect", "a.bin", "1"}, 0,
               "Offset: 0x00000001\nUInt8: 2\nInt8: 2\nHex: 0x02\nUInt16 LE: 0x0302 / 770\n"
               "UInt16 BE: 0x0203 / 515\nUInt32 LE: 0x05040302 / 84148994\n"
               "UInt32 BE: 0x02030405 / 33752069\nFloat32 LE: 6.2071626e-36\n");
}

TEST_F(CliInspectionTest, inspectWritesFloatsShortly) {
  const struct {
    std::string bytes;
    std::string line;
  } cases[] = {
      {std::string("\0\0\x80\x3F", 4), "1.0"},        {std::string("\0\0\0\x80", 4), "-0.0"},
      {std::string("\0\0\x80\x7F", 4), "inf"},        {std::string("\0\0\x80\xFF", 4), "-inf"},
      {std::string("\0\0\xC0\x7F", 4), "nan"},        {std::string("\x01\0\xC0\xFF", 4), "nan"},
      {std::string("\x17\xB7\xD1\x38", 4), "0.0001"}, {std::string("\xAC\xC5\x27\x37", 4), "1e-05"},
      {std::string("\xCA\x1B\x0E\x5A", 4), "1e+16"},  {std::string("\x01\0\0\0", 4), "1e-45"},
  };
  for (const auto& each : cases) {
    folder.write("a.bin", each.bytes);
    const CliRun ended = run({"inspect", "a.bin", "0"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.output, testing::EndsWith("\nFloat32 LE: " + each.line + "\n"));
  }
}

TEST_F(CliInspectionTest, inspectHasNothingAtTheEnd) {
  folder.write("a.bin", "AB");
  folder.write("empty", "");
  for (const std::string offset : {"2", "3", "0x7FFFFFFFFFFFFFFF"})
    expectOutput({"inspect", "a.bin", offset}, 1, "Caret is at EOF.\n");
  expectOutput({"inspect", "empty", "0"}, 1, "Caret is at EOF.\n");
}

// --- detect ---------------------------------------------------------------------------------

TEST_F(CliInspectionTest, detectNamesWhatItFinds) {
  expectDetected("\x55\xAA", 0, "- PCI Option ROM / VBIOS\n");
  expectDetected(
      "\x7F"
      "ELF",
      0, "- ELF executable\n");
  expectDetected("MZ", 0, "- PE/MZ executable\n");
  expectDetected("\xCA\xFE\xBA\xBE", 0, "- Mach-O / Universal Mach-O\n");
  expectDetected("\x89PNG\r\n\x1A\n", 0, "- PNG image\n");
  expectDetected("\xFF\xD8\xFF", 0, "- JPEG image\n");
  expectDetected("PK\x03\x04", 0, "- ZIP archive\n");
  expectDetected("bplist00", 0, "- Binary plist\n");
  expectDetected(textOf(acpiTable("SSDT", 36, 7, 0)), 0,
                 "- ACPI table: SSDT, length 36, checksum valid\n");
  expectDetected(textOf(acpiTable("BMxx", 36, 7, 1)), 0,
                 "- BMP image\n- ACPI table: BMxx, length 36, checksum invalid\n");
  expectDetected(textOf(acpiStructure("FACS", 64, 64)), 0,
                 "- ACPI FACS, length 64 bytes (no SDT checksum field)\n");
  expectDetected("FACS", 0,
                 "- ACPI FACS signature with a malformed or truncated structure (no SDT checksum "
                 "field)\n");
}

TEST_F(CliInspectionTest, detectSaysWhenItKnowsNothing) {
  expectDetected("", 1, "- Unknown / raw binary\n");
  expectDetected("\x55", 1, "- Unknown / raw binary\n");
  expectDetected("hello", 1, "- Unknown / raw binary\n");
  expectDetected(" MZ", 1, "- Unknown / raw binary\n");
}

// --- bookmarks ------------------------------------------------------------------------------

TEST_F(CliInspectionTest, bookmarksAreListedInOrderAndOnce) {
  expectOffsets(R"({"bookmarks":[4096,0,255,4096,123456789012345],"format":"QuillmorBookmarks",)"
                R"("version":1})",
                "0x00000000\n0x000000FF\n0x00001000\n0x7048860DDF79\n");
  expectOffsets(R"({"bookmarks":[1]})", "0x00000001\n");
  expectOffsets(R"({"bookmarks":[9223372036854775807]})", "0x7FFFFFFFFFFFFFFF\n");
  expectOffsets(R"({"bookmarks":[]})", "");
}

TEST_F(CliInspectionTest, badBookmarksAreRefused) {
  expectBadBookmarks(R"({"format":"Other","bookmarks":[1]})",
                     "Bookmark file has an unsupported format identifier.");
  expectBadBookmarks(R"({"version":2,"bookmarks":[1]})",
                     "Bookmark file has an unsupported version.");
  expectBadBookmarks(R"({"version":true,"bookmarks":[1]})",
                     "Bookmark file has an unsupported version.");
  expectBadBookmarks(R"({"version":1})", "Bookmark file must contain a bookmarks array.");
  expectBadBookmarks(R"({"bookmarks":[0,1.5]})", "Bookmark at index 1 is not an integer offset.");
  expectBadBookmarks(R"({"bookmarks":["0"]})", "Bookmark at index 0 is not an integer offset.");
  expectBadBookmarks(R"({"bookmarks":[0,2,-1]})",
                     "Bookmark at index 2 is not a valid non-negative integer offset.");
  folder.write("b.json", std::string(8'388'609, ' '));
  expectFailure({"bookmarks", "b.json"}, "Bookmark file is too large to import safely.");
  for (const std::string json : {"", "{", "nonsense", "\xFF"}) {
    folder.write("b.json", json);
    const CliRun ended = run({"bookmarks", "b.json"});
    EXPECT_EQ(ended.status, 2) << json;
    EXPECT_EQ(ended.output, "") << json;
    EXPECT_THAT(ended.errors, testing::MatchesRegex("quillmor-cli: [^\n]+\n")) << json;
  }
}

}  // namespace
}  // namespace quillmor::test
