// How files are opened: never handed on to other programs, never through a link when they are
// written, never waited for, and never for more people than meant.

#include <fcntl.h>
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>

#include "fileaccess/AtomicTextFileWriter.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/StableFile.h"
#include "fileaccess/StableReading.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

using namespace SecureFileAccess;
using test::OpenedFile;

/// The whole of the flags; `mode` counts where the file may be created.
auto isOpenedWith(const std::string& name, int flags, mode_t mode = 0) {
  return testing::AllOf(testing::Field("path", &OpenedFile::path, testing::HasSubstr("/" + name)),
                        testing::Field("flags", &OpenedFile::flags, flags),
                        testing::Field("mode", &OpenedFile::mode, mode));
}

class OpenedFilesTest : public test::FileAccessTest {
 protected:
  std::string folderName() const { return folder.path().filename().native(); }

  void exportTo(const FileLocation& destination) const {
    AtomicTextFileWriter writer(destination, {});
    writer.write("new");
    writer.finish();
  }

  static constexpr int kReading = O_RDONLY | O_NONBLOCK | O_CLOEXEC;
  static constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  static constexpr int kTemporary = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

  const FileLocation data = folder.write("data.bin", "old");
};

TEST_F(OpenedFilesTest, whenReading) {
  readSnapshot(data, std::nullopt);
  StableFile(data).requireUnchanged();
  StableFile::reservedByCaller(data, std::nullopt).requireUnchanged();
  EXPECT_THAT(calls.opened(), testing::SizeIs(3));
  EXPECT_THAT(calls.opened(), testing::Each(isOpenedWith("data.bin", kReading)));
}

TEST_F(OpenedFilesTest, whenADocumentIsWritten) {
  writeDocumentBytes({}, documentDestination(data));
  writeDocumentBytes({}, documentDestination(folder.location("new.bin")));
  constexpr int kSafely = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  for (const OpenedFile& file : calls.opened()) {
    if ((file.flags & O_ACCMODE) == O_RDONLY) {
      EXPECT_EQ(file.flags & O_CLOEXEC, O_CLOEXEC);
      continue;
    }
    EXPECT_EQ(file.flags & kSafely, kSafely) << file.path;
    EXPECT_EQ(file.flags & O_TRUNC, 0) << "truncated before it is known to be a regular file";
    const bool isNew = file.path.ends_with("new.bin");
    EXPECT_EQ(file.flags & (O_CREAT | O_EXCL), isNew ? O_CREAT | O_EXCL : 0) << file.path;
    if (isNew) {
      EXPECT_EQ(file.mode, 0666U);
    }
  }
  EXPECT_THAT(calls.opened(), testing::SizeIs(testing::Ge(2)));
}

TEST_F(OpenedFilesTest, whenANewFileIsExported) {
  exportTo(folder.location("fresh.txt"));
  EXPECT_THAT(calls.opened(), testing::ElementsAre(isOpenedWith(folderName(), kFolder),
                                                   isOpenedWith(".fresh.txt.", kTemporary, 0666U),
                                                   isOpenedWith(folderName(), kFolder)));
}

TEST_F(OpenedFilesTest, whenAFileIsReplaced) {
  for (const unsigned mode : {0777U, 0640U, 0600U, 0400U, 0200U, 0044U}) {
    std::filesystem::permissions(data.path(), std::filesystem::perms(mode));
    test::FaultySystemCalls recorded;
    const ScopedSystemCalls scope(recorded);
    exportTo(data);
    EXPECT_THAT(recorded.opened(),
                testing::ElementsAre(isOpenedWith(folderName(), kFolder),
                                     isOpenedWith(".data.bin.", kTemporary, mode & 0600U),
                                     isOpenedWith(folderName(), kFolder)));
  }
}

TEST_F(OpenedFilesTest, whenAStaleTemporaryFileIsRemoved) {
  const std::string stale = ".a.quillmor.01234567-89AB-4DEF-8123-456789ABCDEF.tmp";
  folder.write(stale, "");
  std::filesystem::last_write_time(
      folder.path() / stale, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  exportTo(data);
  ASSERT_FALSE(folder.exists(stale));
  EXPECT_THAT(calls.opened().at(1),
              isOpenedWith(".a.", O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
}

}  // namespace
}  // namespace quillmor
