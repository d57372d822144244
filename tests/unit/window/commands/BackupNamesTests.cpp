#include "window/commands/BackupNames.h"

#include <gtest/gtest.h>

namespace quillmor::test {
namespace {

std::string copyOf(const char* path) {
  return backupCopyName(FileLocation::fromPath(path));
}

TEST(BackupNames, putTheMarkBeforeTheExtension) {
  EXPECT_EQ(copyOf("/firmware/rom.bin"), "rom-backup.bin");
  EXPECT_EQ(copyOf("/firmware/rom.tar.gz"), "rom.tar-backup.gz");
  EXPECT_EQ(copyOf("/firmware.d/rom"), "rom-backup");
}

TEST(BackupNames, knowWhichDotsBeginNoExtension) {
  EXPECT_EQ(copyOf("/home/.profile"), ".profile-backup");
  EXPECT_EQ(copyOf("/home/.profile.old"), ".profile-backup.old");
  EXPECT_EQ(copyOf("/home/rom."), "rom.-backup");
}

TEST(BackupNames, serveDocumentsWithoutAFile) {
  EXPECT_EQ(backupCopyName({}), "Untitled-backup.bin");
  EXPECT_EQ(atomicBackupName({}), "Untitled.bak");
}

TEST(BackupNames, keepTheWholeNameOfAnAtomicBackup) {
  EXPECT_EQ(atomicBackupName(FileLocation::fromPath("/firmware/rom.bin")), "rom.bin.bak");
}

}  // namespace
}  // namespace quillmor::test
