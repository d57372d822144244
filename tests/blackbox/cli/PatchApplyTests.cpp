// patch-apply.

#include "blackbox/cli/ChangeTest.h"
#include "document/QuillmorResourceLimits.h"

namespace quillmor::test {
namespace {

class CliPatchApplyTest : public ChangeTest {
 protected:
  void writePatch(const std::string& offset, const std::string& data) const {
    folder.write("fix.txt", "QuillmorPatch 1\nOFFSET " + offset + "\nDATA " + data + "\n");
  }

  void expectPatchRefused(const std::string& patch, const std::string& message) const {
    folder.write("fix.txt", patch);
    expectRefusal(apply, "ABCD", "fix.txt: " + message);
  }

  const Arguments apply = {"patch-apply", "in.bin", "fix.txt"};
};

TEST_F(CliPatchApplyTest, bytesAreOverwritten) {
  writePatch("0x00000001", "78 79");
  expectChange(apply, "ABCD", "Applied 2 byte(s) at 0x00000001", "AxyD");
}

TEST_F(CliPatchApplyTest, bytesThatRunPastTheEndAreAppended) {
  writePatch("0x00000003", "78 79 7A");
  expectChange(apply, "ABCD", "Applied 3 byte(s) at 0x00000003", "ABCxyz");
  writePatch("0x00000004", "78");
  expectChange(apply, "ABCD", "Applied 1 byte(s) at 0x00000004", "ABCDx");
  writePatch("0x00000000", "78");
  expectChange(apply, "", "Applied 1 byte(s) at 0x00000000", "x");
}

TEST_F(CliPatchApplyTest, anOffsetBehindTheEndIsRefused) {
  writePatch("0x00000005", "78");
  expectRefusal(apply, "ABCD", "fix.txt: Patch offset is outside the file.");
}

TEST_F(CliPatchApplyTest, bytesThatAreThereAlreadyLeaveTheFileAlone) {
  writePatch("0x00000002", "43 44");
  expectChange(apply, "ABCD", "Applied 2 byte(s) at 0x00000002", "ABCD");
}

TEST_F(CliPatchApplyTest, offsetsHaveAtLeastEightDigits) {
  writePatch("0xABC", "78");
  expectChange(apply, std::string(0xABD, 'A'), "Applied 1 byte(s) at 0x00000ABC",
               std::string(0xABC, 'A') + "x");
}

TEST_F(CliPatchApplyTest, anExportedPatchMakesTheOldFileTheNewOne) {
  folder.write("new.bin", "AxyD");
  expectOutput({"patch-export", "new.bin", "--start", "1", "--length", "2", "-o", "fix.txt"}, 0,
               "");
  expectChange(apply, "ABCD", "Applied 2 byte(s) at 0x00000001", "AxyD");
}

TEST_F(CliPatchApplyTest, keysMayBeLowercaseAndTheFinalLineFeedMayBeMissing) {
  folder.write("fix.txt", "QuillmorPatch 1\ndata 78\noffset 2");
  expectChange(apply, "ABCD", "Applied 1 byte(s) at 0x00000002", "ABxD");
}

TEST_F(CliPatchApplyTest, patchesThatMakeNoSenseAreRefused) {
  const std::string start = "QuillmorPatch 1\n";
  const std::string offset = "OFFSET 0x00000001\n";
  const std::string data = "DATA 78\n";
  expectPatchRefused(start + offset + data + "\n",
                     "Patch contains more lines than the supported format.");
  expectPatchRefused("\xFF" + start, "Patch file is not valid UTF-8 text.");
  expectPatchRefused("QuillmorPatch 2\n" + offset + data,
                     "Invalid or unsupported Quillmor patch header.");
  expectPatchRefused("", "Invalid or unsupported Quillmor patch header.");
  expectPatchRefused(start + "SIZE 1\n" + data, "Patch contains an unsupported field.");
  expectPatchRefused(start + data, "Patch must contain exactly one valid OFFSET field.");
  expectPatchRefused(start + "OFFSET -1\n" + data,
                     "Patch must contain exactly one valid OFFSET field.");
  expectPatchRefused(start + offset, "Patch must contain exactly one non-empty DATA field.");
  expectPatchRefused(start + offset + "DATA 787\n",
                     "Patch must contain exactly one non-empty DATA field.");
  expectPatchRefused(start + offset + data + " ", "Invalid Quillmor patch file.");
}

TEST_F(CliPatchApplyTest, aRangeBeyondAllOffsetsIsRefused) {
  // The offset is looked at first, and no file is that long.
  writePatch("0x7FFFFFFFFFFFFFFF", "78 79");
  expectRefusal(apply, "ABCD", "fix.txt: Patch offset is outside the file.");
}

TEST_F(CliPatchApplyTest, patchFilesUpToTheLimitAreRead) {
  folder.write("in.bin", "ABCD");
  writeZeros("fix.txt", 50'331'696);
  expectRefusalAsItIs(apply, "fix.txt: Invalid or unsupported Quillmor patch header.");
  writeZeros("fix.txt", 50'331'697);
  expectRefusalAsItIs(apply, "fix.txt: Patch file is too large to import safely.");
}

TEST_F(CliPatchApplyTest, documentsBeyondTheLimitAreRefused) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  writePatch("0x00000000", "78");
  writeZeros("in.bin", limit + 1);
  expectRefusalAsItIs(apply, "in.bin: The selected file exceeds the safe in-memory limit of " +
                                 std::to_string(limit) + " bytes.");
}

TEST_F(CliPatchApplyTest, aMissingPatchIsRefused) {
  folder.write("in.bin", "ABCD");
  expectRefusalAsItIs(apply, "fix.txt: No such file or directory");
}

}  // namespace
}  // namespace quillmor::test
