// What an output does when the system fails it.

#include <sys/stat.h>

#include <filesystem>

#include "support/AtomicTextFileWriterFixture.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using test::AtomicTextFileWriterTest;
using test::failsWith;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::kCouldNotInstall;
using test::SystemCall;

TEST_F(AtomicTextFileWriterTest, reportsATemporaryFileThatCannotBeCreated) {
  const char* const message = "Could not create the temporary output file securely.";
  calls.fail(SystemCall::open, 2, EROFS);
  EXPECT_THAT(exporting(fresh), failsWithPosix(EROFS, message));
  calls.fail(SystemCall::fcntl, 1, EMFILE);
  EXPECT_THAT(exporting(fresh), failsWithPosix(EMFILE, message));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, removesATemporaryFileThatCannotBeValidated) {
  calls.fail(SystemCall::fstat, 1, EIO);
  EXPECT_THAT(exporting(fresh),
              failsWithPosix(EIO, "Could not validate the temporary output file."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, refusesATemporaryFileThatIsNotRegular) {
  calls.before(SystemCall::fstat, 1,
               [&] { calls.alterStatus([](struct stat& status) { status.st_mode = S_IFCHR; }); });
  EXPECT_THAT(exporting(fresh), failsWith(1215, "The temporary output is not a regular file."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsFailedWritesAndNeverInstallsWhatIsLeft) {
  {
    AtomicTextFileWriter writer(existing, {});
    calls.limitCount(SystemCall::write, 1, 3);
    calls.fail(SystemCall::write, 2, ENOSPC);
    const auto failed = failsWithPosix(ENOSPC, "Could not write the output data.");
    EXPECT_THAT([&] { writer.write("content"); }, failed);
    EXPECT_THAT([&] { writer.finish(); }, failed);
  }
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsAWriteThatStops) {
  calls.limitCount(SystemCall::write, 1, 0);
  EXPECT_THAT(exporting(existing),
              failsWithPosix(EIO, "The output write stopped before all data was saved."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsAFileThatMayNotBecomeSoLarge) {
  fs::permissions(folder.path(), fs::perms::all);
  EXPECT_EQ(test::inRestrictedProcess(1000,
                                      [&] {
                                        return test::errorText([&] {
                                          AtomicTextFileWriter writer(fresh, {});
                                          writer.write(std::string(2000, 'x'));
                                        });
                                      }),
            std::to_string(EFBIG) + " Could not write the output data.");
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsPermissionsThatCannotBeKept) {
  calls.fail(SystemCall::fchmod, 1, EPERM);
  EXPECT_THAT(exporting(existing),
              failsWithPosix(EPERM, "Could not preserve the existing output file permissions."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, neverBelievesASecondFlush) {
  {
    AtomicTextFileWriter writer(existing, {});
    calls.fail(SystemCall::fsync, 1, EIO);
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_EQ(calls.count(SystemCall::fsync), 1);
  }
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, installsNothingWhenTheCloseFails) {
  {
    AtomicTextFileWriter writer(existing, {});
    const int closesBefore = calls.count(SystemCall::close);
    calls.fail(SystemCall::close, closesBefore + 1, EIO);
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_EQ(calls.count(SystemCall::close), closesBefore + 1);
  }
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsAFailedInstall) {
  calls.fail(SystemCall::rename, 1, EACCES);
  EXPECT_THAT(exporting(existing), failsWithPosix(EACCES, kCouldNotInstall));
  calls.fail(SystemCall::renameat2, 1, ENOSPC);
  EXPECT_THAT(exporting(fresh), failsWithPosix(ENOSPC, kCouldNotInstall));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, canBeFinishedAgainWhenOnlyTheInstallFailed) {
  AtomicTextFileWriter writer(existing, {});
  writer.write("new");
  calls.fail(SystemCall::rename, 1, EIO);
  EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO, kCouldNotInstall));
  writer.finish();
  EXPECT_EQ(folder.read("existing.txt"), "new");
}

TEST_F(AtomicTextFileWriterTest, isFinishedOnceInstalledEvenWhenTheDirectoryCannotBeFlushed) {
  AtomicTextFileWriter writer(existing, {});
  writer.write("new");
  calls.fail(SystemCall::fsync, 2, EIO);
  EXPECT_NO_THROW(writer.finish());
  EXPECT_EQ(calls.count(SystemCall::fsync), 2);
  EXPECT_EQ(folder.read("existing.txt"), "new");
  EXPECT_TRUE(test::isUnreserved(existing));
  EXPECT_NO_THROW(writer.finish());
  EXPECT_THAT([&] { writer.write("more"); },
              failsWith(1001, "The output writer is already closed."));
}

TEST_F(AtomicTextFileWriterTest, isFinishedOnceInstalledEvenWhenItsLastDescriptorFailsToClose) {
  AtomicTextFileWriter writer(existing, {});
  writer.write("new");
  calls.fail(SystemCall::close, calls.count(SystemCall::close) + 2, EIO);
  EXPECT_NO_THROW(writer.finish());
  EXPECT_EQ(folder.read("existing.txt"), "new");
  EXPECT_TRUE(test::isUnreserved(existing));
}

TEST_F(AtomicTextFileWriterTest, resumesShortWrites) {
  calls.limitCount(SystemCall::write, FaultySystemCalls::kEvery, 1);
  exportTo(existing);
  EXPECT_EQ(folder.read("existing.txt"), "new content");
}

TEST_F(AtomicTextFileWriterTest, repeatsWhatWasInterrupted) {
  calls.interruptEveryCall();
  exportTo(existing);
  exportTo(fresh);
  EXPECT_EQ(folder.read("existing.txt"), "new content");
  EXPECT_EQ(folder.read("fresh.txt"), "new content");
}

/// Runs an export over and over, with every call failing once, and looks at what is left.
class AtomicTextFileWriterFaults : public AtomicTextFileWriterTest {
 protected:
  struct Outcome {
    bool isError;
    /// True when the destination holds the whole new content, false when it is as before.
    bool isInstalled;
  };

  void resetFolder() {
    for (const std::string& name : folder.names()) fs::remove(folder.path() / name);
    folder.write("existing.txt", "old content");
  }

  Outcome exportWith(FaultySystemCalls& faulty, const FileLocation& destination) {
    resetFolder();
    const ScopedSystemCalls scope(faulty);
    const std::int64_t descriptors = test::openDescriptorCount();
    const std::string error = test::errorText(exporting(destination));
    EXPECT_EQ(test::openDescriptorCount(), descriptors);
    EXPECT_TRUE(test::isUnreserved(destination));
    const std::string name = destination.lastPathComponent();
    const std::string content = folder.exists(name) ? folder.read(name) : "";
    const std::string before = name == "existing.txt" ? "old content" : "";
    EXPECT_TRUE(content == "new content" || content == before) << "torn: " << content;
    return {.isError = error != "no error", .isInstalled = content == "new content"};
  }

  void sweep(const FileLocation& destination, bool byHardLink) {
    const auto prepare = [byHardLink](FaultySystemCalls& faulty) {
      if (byHardLink) faulty.fail(SystemCall::renameat2, FaultySystemCalls::kEvery, ENOSYS);
    };
    FaultySystemCalls clean;
    prepare(clean);
    exportWith(clean, destination);
    const auto log = clean.log();
    for (const int errorNumber : {EIO, ENOSPC, EACCES, EINVAL}) {
      for (std::ptrdiff_t nth = 1; nth <= std::ssize(log); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth) + ", error " + std::to_string(errorNumber));
        FaultySystemCalls faulty;
        prepare(faulty);
        faulty.failCall(static_cast<int>(nth), errorNumber);
        const Outcome outcome = exportWith(faulty, destination);
        EXPECT_EQ(temporaryName(), "");
        EXPECT_NE(outcome.isError, outcome.isInstalled);
      }
    }
  }

  void sweepPairs(const FileLocation& destination) {
    FaultySystemCalls clean;
    exportWith(clean, destination);
    const auto callCount = static_cast<int>(clean.log().size()) + 3;
    for (int first = 1; first <= callCount; ++first) {
      for (int second = first + 1; second <= callCount; ++second) {
        SCOPED_TRACE("calls " + std::to_string(first) + " and " + std::to_string(second));
        FaultySystemCalls faulty;
        faulty.failCall(first, EIO);
        faulty.failCall(second, EIO);
        const Outcome outcome = exportWith(faulty, destination);
        EXPECT_NE(outcome.isError, outcome.isInstalled);
      }
    }
  }
};

TEST_F(AtomicTextFileWriterFaults, leaveANewDestinationWholeOrAbsent) {
  sweep(fresh, false);
}

TEST_F(AtomicTextFileWriterFaults, leaveAnExistingDestinationWholeOrUntouched) {
  sweep(existing, false);
}

TEST_F(AtomicTextFileWriterFaults, leaveADestinationInstalledByHardLinkWholeOrAbsent) {
  sweep(fresh, true);
}

TEST_F(AtomicTextFileWriterFaults, inPairsLeaveTheDestinationWholeOrUntouched) {
  sweepPairs(fresh);
  sweepPairs(existing);
}

TEST_F(AtomicTextFileWriterFaults, whileAbandoningAreIgnored) {
  for (const auto kind : {SystemCall::close, SystemCall::unlink}) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    resetFolder();
    {
      AtomicTextFileWriter writer(existing, {});
      faulty.fail(kind, FaultySystemCalls::kEvery, EIO);
    }
    EXPECT_EQ(folder.read("existing.txt"), "old content");
    EXPECT_EQ(temporaryName().empty(), kind == SystemCall::close);
  }
}

}  // namespace
}  // namespace quillmor
