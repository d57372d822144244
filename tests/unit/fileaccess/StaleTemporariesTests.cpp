// What becomes of the temporary files that dead processes have left.

#include "fileaccess/StaleTemporaries.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "support/AtomicTextFileWriterFixture.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::AtomicTextFileWriterTest;
using test::FaultySystemCalls;
using test::SystemCall;

class StaleTemporariesTest : public AtomicTextFileWriterTest {
 protected:
  /// Makes it last modified an hour ago.
  void age(const std::string& name, std::chrono::seconds seconds = 1h) const {
    fs::last_write_time(folder.path() / name, fs::file_time_type::clock::now() - seconds);
  }

  FileLocation writeAged(const std::string& name) const {
    const FileLocation location = folder.write(name, "stale");
    age(name);
    return location;
  }

  static std::string staleName(int number = 0) {
    return ".out" + std::to_string(number) +
           ".txt.quillmor.01234567-89AB-4DEF-8123-456789ABCDEF.tmp";
  }

  const std::string stale = staleName();
};

TEST_F(StaleTemporariesTest, goWithTheNextExportIntoTheirFolder) {
  const pid_t child = ::fork();
  if (child == 0) {
    AtomicTextFileWriter writer(fresh, {});
    writer.write("half");
    ::raise(SIGKILL);
  }
  ::waitpid(child, nullptr, 0);
  const std::string left = temporaryName();
  ASSERT_NE(left, "");
  exportTo(existing);
  EXPECT_EQ(temporaryName(), left) << "too young";
  age(left);
  exportTo(existing);
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt"));
}

TEST_F(StaleTemporariesTest, goWhateverTheirDestination) {
  for (int number = 0; number < 5; ++number) writeAged(staleName(number));
  exportTo(fresh);
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", "fresh.txt"));
}

TEST_F(StaleTemporariesTest, areOlderThanAMinute) {
  folder.write(stale, "");
  age(stale, 50s);
  exportTo(fresh);
  EXPECT_TRUE(folder.exists(stale));
  age(stale, 70s);
  exportTo(fresh);
  EXPECT_FALSE(folder.exists(stale));
}

TEST_F(StaleTemporariesTest, areNotTheFilesOfLiveProcesses) {
  AtomicTextFileWriter writer(existing, {});
  writer.write("new");
  age(temporaryName());
  exportTo(fresh);
  EXPECT_NE(temporaryName(), "");
  writer.finish();
  EXPECT_EQ(folder.read("existing.txt"), "new");
}

TEST_F(StaleTemporariesTest, areLockedUntilTheyAreInPlace) {
  AtomicTextFileWriter writer(existing, {});
  const auto export_ = [&] {
    age(temporaryName());
    exportTo(fresh);
  };
  EXPECT_NO_THROW(writer.finish(export_));
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", "fresh.txt"));
  const FileDescriptor installed(::open(existing.path().c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(::flock(installed.get(), LOCK_EX | LOCK_NB), 0) << "the lock has gone by now";
}

TEST_F(StaleTemporariesTest, areNotFilesOfOtherNames) {
  const std::vector<std::string> names = {
      "out.txt.quillmor.01234567-89AB-4DEF-8123-456789ABCDEF.tmp",
      ".out.txt.quillmor.01234567-89ab-4def-8123-456789abcdef.tmp",
      ".out.txt.quillmor.01234567-89AB-4DEF-8123-456789ABCDEF.qrec", ".out.txt.tmp",
      "..quillmor.01234567-89AB-4DEF-8123-456789ABCDEF.tmp"};
  for (const std::string& name : names) writeAged(name);
  exportTo(existing);
  for (const std::string& name : names) EXPECT_TRUE(folder.exists(name)) << name;
}

TEST_F(StaleTemporariesTest, areRegularFilesWithOneName) {
  folder.write("target", "kept");
  age("target");
  fs::create_symlink("target", folder.path() / staleName(1));
  fs::create_directory(folder.path() / staleName(2));
  ASSERT_EQ(::mkfifo(folder.location(staleName(3)).path().c_str(), 0600), 0);
  writeAged(staleName(4));
  fs::create_hard_link(folder.path() / staleName(4), folder.path() / "hard");
  for (int number = 2; number <= 4; ++number) age(staleName(number));
  exportTo(existing);
  for (int number = 1; number <= 4; ++number) EXPECT_TRUE(folder.exists(staleName(number)));
  EXPECT_EQ(folder.read("target"), "kept");
}

TEST_F(StaleTemporariesTest, areNotThoseOfOtherUsers) {
  writeAged(stale);
  calls.alterStatus([](struct stat& status) { ++status.st_uid; });
  exportTo(fresh);
  EXPECT_TRUE(folder.exists(stale));
  EXPECT_EQ(calls.count(SystemCall::unlink), 0);
}

TEST_F(StaleTemporariesTest, areLeftWhenAnotherFileTakesTheirPlaceMeanwhile) {
  writeAged(stale);
  const auto replace = [&] {
    fs::rename(folder.path() / stale, folder.path() / "moved");
    folder.write(stale, "foreign");
  };
  calls.before(SystemCall::flock, 1, replace);
  exportTo(fresh);
  EXPECT_EQ(folder.read(stale), "foreign");
  EXPECT_EQ(folder.read("moved"), "stale");
}

TEST_F(StaleTemporariesTest, areLeftWhenTheyGetAnotherNameMeanwhile) {
  writeAged(stale);
  calls.before(SystemCall::flock, 1,
               [&] { fs::create_hard_link(folder.path() / stale, folder.path() / "kept"); });
  exportTo(fresh);
  EXPECT_TRUE(folder.exists(stale));
}

TEST_F(StaleTemporariesTest, neverMakeAnExportFail) {
  FaultySystemCalls clean;
  {
    const ScopedSystemCalls scope(clean);
    writeAged(stale);
    SecureFileAccess::removeStaleTemporariesBeside(fresh);
    EXPECT_FALSE(folder.exists(stale));
  }
  for (int nth = 1; nth <= static_cast<int>(clean.log().size()); ++nth) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    writeAged(stale);
    faulty.failCall(nth, EIO);
    EXPECT_NO_THROW(SecureFileAccess::removeStaleTemporariesBeside(fresh));
    fs::remove(folder.path() / stale);
  }
  for (const auto kind : {SystemCall::flock, SystemCall::getdents64, SystemCall::unlink}) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    writeAged(stale);
    faulty.fail(kind, FaultySystemCalls::kEvery, EIO);
    EXPECT_NO_THROW(exportTo(existing));
    EXPECT_TRUE(folder.exists(stale));
  }
}

TEST_F(StaleTemporariesTest, areLookedForInAPartOfAHugeFolderOnly) {
  for (int number = 0; number < 200; ++number) folder.write("file" + std::to_string(number), "");
  // Room for hardly more than one name at a time.
  calls.limitCount(SystemCall::getdents64, FaultySystemCalls::kEvery, 60);
  exportTo(existing);
  EXPECT_EQ(calls.count(SystemCall::getdents64), 64);
}

}  // namespace
}  // namespace quillmor
