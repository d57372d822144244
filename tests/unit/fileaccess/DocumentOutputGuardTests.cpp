// What a document write must not overwrite, what it looks at before it begins, and what it undoes
// when it fails.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "fileaccess/DocumentOutput.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace SecureFileAccess;
using test::failsWith;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::SystemCall;

constexpr const char* kCouldNotOpen = "Could not open the document output file.";
constexpr const char* kCouldNotWrite = "Could not write the document data.";
constexpr const char* kCouldNotValidate = "Could not validate the document output file.";
constexpr const char* kChanged =
    "The file was changed or replaced by another program while the document was being saved. "
    "Nothing was overwritten; choose the destination again.";

class DocumentOutputGuard : public test::FileAccessTest {
 protected:
  /// Writes what was looked at before; its old bytes are kept where there is a file.
  void write(DocumentDestination destination) {
    if (destination.found) destination.oldBytes = ByteBuffer(test::bytesOf("old bytes"));
    writeDocumentBytes(test::bytesOf("new bytes, and more"), destination);
  }

  /// One write of each file under one failing call.
  template <class Expectation>
  void expectUndone(SystemCall kind, int nth, int errorNumber, const Expectation& expectation) {
    for (const char* name : {"data.bin", "new.bin"}) {
      FaultySystemCalls faulty;
      faulty.limitCount(SystemCall::write, 1, 4);
      faulty.fail(kind, nth, errorNumber);
      const ScopedSystemCalls scope(faulty);
      EXPECT_THAT([&] { write(documentDestination(folder.location(name))); }, expectation);
    }
    EXPECT_EQ(folder.read("data.bin"), "old bytes");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"data.bin"});
  }

  const FileLocation data = folder.write("data.bin", "old bytes");
  const FileLocation fresh = folder.location("new.bin");
};

TEST_F(DocumentOutputGuard, leavesAFileThatAppearedAfterTheLookAlone) {
  const auto destination = documentDestination(fresh);
  folder.write("new.bin", "another program's");
  EXPECT_THAT([&] { write(destination); }, failsWith(1214, kChanged));
  EXPECT_EQ(folder.read("new.bin"), "another program's");
}

TEST_F(DocumentOutputGuard, leavesAFileThatWasRenamedIntoPlaceAfterTheLookAlone) {
  const auto destination = documentDestination(data);
  folder.write("other", "another program's");
  fs::rename(folder.path() / "other", folder.path() / "data.bin");
  EXPECT_THAT([&] { write(destination); }, failsWith(1214, kChanged));
  EXPECT_EQ(folder.read("data.bin"), "another program's");
}

TEST_F(DocumentOutputGuard, leavesAFileThatWasRewrittenAfterTheLookAlone) {
  const auto destination = documentDestination(data);
  folder.append("data.bin", ", more of them");
  EXPECT_THAT([&] { write(destination); }, failsWith(1214, kChanged));
  EXPECT_EQ(folder.read("data.bin"), "old bytes, more of them");
}

TEST_F(DocumentOutputGuard, doesNotMakeAFileThatHasGoneAnew) {
  const auto destination = documentDestination(data);
  fs::remove(folder.path() / "data.bin");
  EXPECT_THAT([&] { write(destination); }, failsWith(1214, kChanged));
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(DocumentOutputGuard, refusesBeforeTheFileIsTouchedWhatMayNotBecomeSoLarge) {
  const auto destination = documentDestination(data);
  calls.limitFileSize(1000);
  requireWritable(destination, 999);
  requireWritable(destination, 1000);
  EXPECT_THAT([&] { requireWritable(destination, 1001); }, failsWithPosix(EFBIG, kCouldNotWrite));
}

TEST_F(DocumentOutputGuard, refusesBeforeTheFileIsTouchedWhatHasNoRoom) {
  const auto destination = documentDestination(data);
  constexpr std::int64_t kTooMuch = std::int64_t{1} << 60;
  EXPECT_THAT([&] { requireWritable(destination, kTooMuch); },
              failsWithPosix(ENOSPC, kCouldNotWrite));
  EXPECT_THAT([&] { requireWritable(documentDestination(fresh), kTooMuch); },
              failsWithPosix(ENOSPC, kCouldNotWrite));
  calls.fail(SystemCall::statvfs, FaultySystemCalls::kEvery, ENOSYS);
  requireWritable(destination, kTooMuch);
}

TEST_F(DocumentOutputGuard, goesOnWhenTheLimitIsNotKnown) {
  calls.fail(SystemCall::getrlimit, 1, EINVAL);
  requireWritable(documentDestination(data), 1001);
}

TEST_F(DocumentOutputGuard, refusesBeforeItIsTouchedAFileThatMayNotBeWritten) {
  calls.fail(SystemCall::open, 1, EACCES);
  EXPECT_THAT([&] { requireWritable(documentDestination(data), 1); },
              failsWithPosix(EACCES, kCouldNotOpen));
  requireWritable(documentDestination(fresh), 1);
}

TEST_F(DocumentOutputGuard, undoesAWriteThatFailsHalfWay) {
  for (const int errorNumber : {ENOSPC, EIO, EDQUOT})
    expectUndone(SystemCall::write, 2, errorNumber, failsWithPosix(errorNumber, kCouldNotWrite));
}

TEST_F(DocumentOutputGuard, undoesAWriteThatMovesNothing) {
  calls.limitCount(SystemCall::write, 1, 4);
  calls.limitCount(SystemCall::write, 2, 0);
  EXPECT_THAT([&] { write(documentDestination(data)); },
              failsWithPosix(EIO, "The document write stopped before all data was saved."));
  EXPECT_EQ(folder.read("data.bin"), "old bytes");
}

TEST_F(DocumentOutputGuard, undoesAWriteThatDoesNotReachTheDisk) {
  expectUndone(SystemCall::fsync, 1, EIO, failsWithPosix(EIO));
}

TEST_F(DocumentOutputGuard, undoesAWriteWhoseBeginningOrEndFails) {
  expectUndone(SystemCall::fstat, 1, EIO, failsWithPosix(EIO, kCouldNotValidate));
  expectUndone(SystemCall::close, 1, EIO, failsWithPosix(EIO));
}

TEST_F(DocumentOutputGuard, keepsHoldOfANewFileUntilItIsRemoved) {
  const auto isOpen = [&] {
    return std::ranges::any_of(fs::directory_iterator("/proc/self/fd"), [&](const auto& entry) {
      std::error_code ignored;
      return fs::read_symlink(entry.path(), ignored).string() == fresh.path();
    });
  };
  for (const auto& [kind, nth] :
       {std::pair(SystemCall::close, 1), std::pair(SystemCall::fsync, 2)}) {
    FaultySystemCalls faulty;
    faulty.fail(kind, nth, EIO);
    bool wasOpen = false;
    faulty.before(SystemCall::unlink, 1, [&] { wasOpen = isOpen(); });
    const ScopedSystemCalls scope(faulty);
    EXPECT_THAT([&] { write(documentDestination(fresh)); }, failsWithPosix(EIO));
    EXPECT_TRUE(wasOpen);
    EXPECT_FALSE(folder.exists("new.bin"));
  }
}

TEST_F(DocumentOutputGuard, tellsWhatAFailedWriteHasMadeOfTheFile) {
  const auto expectEffect = [&](SystemCall kind, FileEffect expected) {
    FaultySystemCalls faulty;
    faulty.fail(kind, 1, EIO);
    const ScopedSystemCalls scope(faulty);
    FileEffect effect = FileEffect::undone;
    EXPECT_ANY_THROW(
        writeDocumentBytes(test::bytesOf("new"), documentDestination(data), nullptr, &effect));
    EXPECT_EQ(effect, expected);
  };
  expectEffect(SystemCall::open, FileEffect::untouched);
  expectEffect(SystemCall::fstat, FileEffect::untouched);
  expectEffect(SystemCall::ftruncate, FileEffect::untouched);
  expectEffect(SystemCall::write, FileEffect::incomplete);
  expectEffect(SystemCall::fsync, FileEffect::incomplete);
  expectEffect(SystemCall::close, FileEffect::complete);
}

TEST_F(DocumentOutputGuard, undoesNothingOfAFileThatCouldNotBeEmptied) {
  const auto before = fileStatus(data, FollowSymlinks::no);
  expectUndone(SystemCall::ftruncate, 1, EIO,
               failsWithPosix(EIO, "Could not prepare the document output file."));
  EXPECT_EQ(fileStatus(data, FollowSymlinks::no).identity(), before.identity());
}

TEST_F(DocumentOutputGuard, keepsWhatAFileIsWhenItPutsTheOldBytesBack) {
  fs::permissions(data.path(), fs::perms(0640));
  fs::create_hard_link(data.path(), folder.path() / "hard.bin");
  const auto before = fileStatus(data, FollowSymlinks::no);
  calls.fail(SystemCall::write, 1, ENOSPC);
  EXPECT_THAT([&] { write(documentDestination(data)); }, failsWithPosix(ENOSPC, kCouldNotWrite));
  const auto after = fileStatus(data, FollowSymlinks::no);
  EXPECT_EQ(after.identity(), before.identity());
  EXPECT_EQ(after.mode, before.mode);
  EXPECT_EQ(folder.read("hard.bin"), "old bytes");
}

TEST_F(DocumentOutputGuard, saysThatTheFileIsIncompleteWhenItIs) {
  calls.limitCount(SystemCall::write, 1, 4);
  calls.fail(SystemCall::write, 2, ENOSPC);
  calls.fail(SystemCall::write, 3, ENOSPC);
  EXPECT_THAT([&] { write(documentDestination(data)); },
              failsWithPosix(ENOSPC, std::string(kCouldNotWrite) + " The file is incomplete now."));
  EXPECT_EQ(folder.read("data.bin"), "");
}

TEST_F(DocumentOutputGuard, saysThatTheFileIsIncompleteWhenNobodyCouldGetAtItAgain) {
  calls.limitCount(SystemCall::write, 1, 4);
  calls.fail(SystemCall::write, 2, EIO);
  calls.fail(SystemCall::open, 2, EMFILE);
  EXPECT_THAT([&] { write(documentDestination(data)); },
              failsWithPosix(EIO, std::string(kCouldNotWrite) + " The file is incomplete now."));
  EXPECT_EQ(folder.read("data.bin"), "new ");
}

TEST_F(DocumentOutputGuard, neverCallsACompleteFileIncomplete) {
  calls.fail(SystemCall::close, 1, EIO);
  calls.fail(SystemCall::open, 2, EMFILE);
  EXPECT_THAT([&] { write(documentDestination(data)); },
              failsWithPosix(EIO, Error::posix(EIO).message() + " The file has the new bytes."));
  EXPECT_EQ(folder.read("data.bin"), "new bytes, and more");
}

TEST_F(DocumentOutputGuard, neverCallsOldBytesThatAreBackIncomplete) {
  calls.fail(SystemCall::write, 1, EIO);
  calls.fail(SystemCall::close, 1, EIO);
  EXPECT_THAT([&] { write(documentDestination(data)); }, failsWithPosix(EIO, kCouldNotWrite));
  EXPECT_EQ(folder.read("data.bin"), "old bytes");
}

TEST_F(DocumentOutputGuard, undoesNothingInAnotherFileThatTookThePlace) {
  for (const FileLocation& location : {data, fresh}) {
    folder.write("other", "another program's");
    FaultySystemCalls faulty;
    faulty.before(SystemCall::write, 1,
                  [&] { fs::rename(folder.path() / "other", location.path()); });
    faulty.fail(SystemCall::write, 1, EIO);
    const ScopedSystemCalls scope(faulty);
    EXPECT_THAT([&] { write(documentDestination(location)); }, failsWithPosix(EIO, kCouldNotWrite));
    EXPECT_EQ(test::TemporaryFolder::read(location), "another program's");
  }
}

TEST_F(DocumentOutputGuard, leavesAFileThatHasGoneGone) {
  calls.before(SystemCall::write, 1, [&] { fs::remove(folder.path() / "data.bin"); });
  calls.fail(SystemCall::write, 1, EIO);
  EXPECT_THAT([&] { write(documentDestination(data)); }, failsWithPosix(EIO, kCouldNotWrite));
  EXPECT_TRUE(folder.names().empty());
}

}  // namespace
}  // namespace quillmor
