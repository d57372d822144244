#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/RandomBytes.h"
#include "tools/analysis/ByteStatistics.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

std::string informationOf(const Bytes& bytes, const FileInformation& information) {
  TaskProgress progress;
  return fileInformationReport(bytes, information, progress);
}

TEST(FileInformation, ofAFileWithASelection) {
  const FileInformation information = {.name = "firmware.rom",
                                       .path = "/home/user/firmware.rom",
                                       .caretOffset = 0x1F0,
                                       .bytesPerRow = 32,
                                       .insertMode = true,
                                       .selection = {1, 2}};
  EXPECT_EQ(informationOf({1, 2, 3, 4}, information),
            "Name: firmware.rom\n"
            "Path: /home/user/firmware.rom\n"
            "Size: 4 bytes\n"
            "Offset: 0x000001F0\n"
            "Bytes per row: 32\n"
            "Edit mode: Insert\n"
            "Selection: 0x00000001 - 0x00000002 (2 bytes)\n"
            "Selection entropy: 1.0000 bits/byte\n"
            "File entropy: 2.0000 bits/byte");
}

TEST(FileInformation, ofAnUntitledDocumentWithoutSelection) {
  FileInformation information;
  information.path = "Not saved";
  EXPECT_EQ(informationOf({1, 1}, information),
            "Name: Untitled\n"
            "Path: Not saved\n"
            "Size: 2 bytes\n"
            "Offset: 0x00000000\n"
            "Bytes per row: 16\n"
            "Edit mode: Overwrite\n"
            "Selection: none\n"
            "File entropy: 0.0000 bits/byte");
}

TEST(FileInformation, isNotForgedByTheName) {
  FileInformation information;
  information.name = "a\nSize: 7 bytes";
  information.path = "/\xE2\x80\xA8\xFF/a\nSize: 7 bytes";
  EXPECT_THAT(informationOf({1}, information),
              testing::StartsWith("Name: a\\x0ASize: 7 bytes\n"
                                  "Path: /\\u{2028}\\xFF/a\\x0ASize: 7 bytes\n"
                                  "Size: 1 bytes\n"));
}

TEST(FileInformation, ofAnEmptyDocument) {
  EXPECT_EQ(informationOf({}, {}),
            "Name: Untitled\n"
            "Path: \n"
            "Size: 0 bytes\n"
            "Offset: 0x00000000\n"
            "Bytes per row: 16\n"
            "Edit mode: Overwrite\n"
            "Selection: none\n"
            "File entropy: 0.0000 bits/byte");
}

TEST(FileInformation, ofASelectionOfOneValue) {
  FileInformation information;
  information.selection = {0, 3};
  const std::string text = informationOf({5, 5, 5, 6}, information);
  EXPECT_THAT(text, testing::HasSubstr("Selection: 0x00000000 - 0x00000002 (3 bytes)\n"
                                       "Selection entropy: 0.0000 bits/byte\n"));
}

TEST(FileInformation, clipsTheSelection) {
  FileInformation information;
  information.selection = {2, 100};
  EXPECT_THAT(informationOf({1, 2, 3, 4}, information),
              testing::HasSubstr("Selection: 0x00000002 - 0x00000003 (2 bytes)\n"
                                 "Selection entropy: 1.0000 bits/byte\n"));
  information.selection = {4, 1};
  EXPECT_THAT(informationOf({1, 2, 3, 4}, information),
              testing::HasSubstr("Selection: none\nFile entropy: 2.0000 bits/byte"));
}

TEST(FileInformation, countsTheWholeFileWhereverTheSelectionLies) {
  const Bytes bytes = test::randomBytes(5000, 1);
  const std::string expected = informationOf(bytes, {});
  const std::string entropyLine = expected.substr(expected.rfind('\n'));
  for (const HexSelection selection : {HexSelection{0, 5000}, HexSelection{0, 1},
                                       HexSelection{4999, 1}, HexSelection{100, 2000}}) {
    FileInformation information;
    information.selection = selection;
    TaskProgress progress;
    const std::string text = fileInformationReport(bytes, information, progress);
    EXPECT_TRUE(text.ends_with(entropyLine)) << selection.start;
    EXPECT_EQ(progress.fraction(), 1);
  }
}

TEST(FileInformation, stopsWhenAskedTo) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { fileInformationReport(Bytes(10, 1), {}, progress); }, stops);
}

}  // namespace
}  // namespace quillmor
