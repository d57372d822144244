#include "document/FileSave.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

using test::failsWith;
using test::failsWithPosix;
using test::SystemCall;

class FileSaveTest : public test::FileAccessTest {
 protected:
  /// The file as a document knows it that has just read it.
  KnownFile known() const {
    return {SecureFileAccess::fileStatus(file, FollowSymlinks::yes), contentDigest(old.span())};
  }

  FileSave::Written write(FileSave& save) const { return save.write(bytes); }

  const ByteBuffer old = ByteBuffer(test::bytesOf("old bytes"));
  const ByteBuffer bytes = ByteBuffer(test::bytesOf("new"));
  const FileLocation file = folder.write("data.bin", "old bytes");
};

TEST_F(FileSaveTest, writesTheDocumentsOwnFile) {
  FileSave save({.destination = file, .ownFile = file, .known = known()});
  save.prepare(bytes.size(), {});
  EXPECT_TRUE(save.isOwnFile());
  EXPECT_FALSE(save.overwritesOtherChanges());
  const auto written = write(save);
  EXPECT_EQ(test::TemporaryFolder::read(file), "new");
  EXPECT_EQ(written.file.status, SecureFileAccess::fileStatus(file, FollowSymlinks::yes));
  EXPECT_EQ(written.file.digest, contentDigest(bytes.span()));
  EXPECT_EQ(written.realLocation, file);
}

TEST_F(FileSaveTest, holdsTheDestinationUntilItIsReleased) {
  FileSave save({.destination = file});
  EXPECT_TRUE(test::isUnreserved(file));
  save.prepare(bytes.size(), {});
  save.prepare(bytes.size(), {});
  EXPECT_FALSE(test::isUnreserved(file));
  save.release();
  EXPECT_TRUE(test::isUnreserved(file));
}

TEST_F(FileSaveTest, tellsTheChangesOfOthersInTheDocumentsOwnFileOnly) {
  const auto before = known();
  folder.append("data.bin", "!");
  FileSave own({.destination = file, .ownFile = file, .known = before});
  own.prepare(bytes.size(), {});
  EXPECT_TRUE(own.overwritesOtherChanges());
  own.release();
  const auto other = folder.write("other.bin", "other");
  FileSave copy({.destination = other,
                 .operation = DocumentSaveOperation::saveAs,
                 .ownFile = file,
                 .known = before});
  copy.prepare(bytes.size(), {});
  EXPECT_FALSE(copy.isOwnFile());
  EXPECT_FALSE(copy.overwritesOtherChanges());
}

TEST_F(FileSaveTest, knowsTheOwnFileByWhateverPathItIsChosen) {
  std::filesystem::create_hard_link(file.path(), folder.path() / "hard.bin");
  FileSave save({.destination = folder.location("hard.bin"),
                 .operation = DocumentSaveOperation::saveAs,
                 .ownFile = file});
  save.prepare(bytes.size(), {});
  EXPECT_TRUE(save.isOwnFile());
}

TEST_F(FileSaveTest, overwritesNoOpenDocument) {
  const std::vector<FileLocation> open = {folder.write("open.bin", "open"), file};
  FileSave save({.destination = file});
  EXPECT_THAT([&] { save.prepare(bytes.size(), open); },
              failsWith(1206,
                        "Choose a different output destination. Writing to data.bin would "
                        "overwrite an open document or another input file."));
}

TEST_F(FileSaveTest, overwritesChangesThatWereAccepted) {
  FileSave save({.destination = file, .ownFile = file, .known = known()});
  save.prepare(bytes.size(), {});
  folder.append("data.bin", "!");
  EXPECT_THAT([&] { write(save); },
              testing::Throws<Error>(
                  testing::ResultOf(SecureFileAccess::isChangedDestination, testing::IsTrue())));
  EXPECT_EQ(test::TemporaryFolder::read(file), "old bytes!");
  EXPECT_EQ(save.tornOwnFile(), std::nullopt);
  save.acceptChanges();
  write(save);
  EXPECT_EQ(test::TemporaryFolder::read(file), "new");
}

TEST_F(FileSaveTest, tellsWhatAFailedWriteHasMadeOfTheOwnFile) {
  FileSave save({.destination = file, .ownFile = file, .known = known()});
  save.prepare(bytes.size(), {});
  calls.fail(SystemCall::write, 1, ENOSPC);
  EXPECT_THAT(
      [&] { write(save); },
      failsWithPosix(ENOSPC, "Could not write the document data. The file is incomplete now."));
  ASSERT_TRUE(save.tornOwnFile());
  EXPECT_EQ(save.tornOwnFile()->status, SecureFileAccess::fileStatus(file, FollowSymlinks::yes));
  EXPECT_EQ(save.tornOwnFile()->digest, std::nullopt);
  save.acceptChanges();
  write(save);
  EXPECT_EQ(save.tornOwnFile(), std::nullopt);
  EXPECT_EQ(test::TemporaryFolder::read(file), "new");
}

TEST_F(FileSaveTest, putsTheOldBytesBackWhereItHasThem) {
  FileSave save({.destination = file, .ownFile = file, .known = known(), .ownBytes = old});
  save.prepare(bytes.size(), {});
  calls.fail(SystemCall::write, 1, ENOSPC);
  EXPECT_THAT([&] { write(save); }, failsWithPosix(ENOSPC, "Could not write the document data."));
  EXPECT_EQ(test::TemporaryFolder::read(file), "old bytes");
}

}  // namespace
}  // namespace quillmor
