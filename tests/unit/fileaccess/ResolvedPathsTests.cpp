#include "fileaccess/ResolvedPaths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fileaccess/StableReading.h"
#include "fileaccess/URLReservations.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace SecureFileAccess;
using test::FaultySystemCalls;
using test::SystemCall;

/// here/link leads to there/sub, so that here/link/../data.bin is there/data.bin to the system.
class ResolvedPaths : public test::FileAccessTest {
 protected:
  void SetUp() override {
    FileAccessTest::SetUp();
    fs::create_directories(folder.path() / "here");
    fs::create_directories(folder.path() / "there/sub");
    fs::create_directory_symlink("../there/sub", folder.path() / "here/link");
    folder.write("there/data.bin", "there");
    folder.write("there/sub/inner.bin", "inner");
  }

  std::string path(std::string_view name) const { return folder.location(name).path(); }
  std::string resolved(std::string_view name) const { return resolvedPath(folder.location(name)); }
  std::string real(std::string_view name) const {
    return realLocation(folder.location(name)).path();
  }
};

TEST_F(ResolvedPaths, areResolvedAsFarAsThePathExists) {
  EXPECT_EQ(resolved("here/link/inner.bin"), path("there/sub/inner.bin"));
  EXPECT_EQ(resolved("here/link/missing.bin"), path("there/sub/missing.bin"));
  EXPECT_EQ(resolved("here/link/missing/too.bin"), path("there/sub/missing/too.bin"));
  EXPECT_EQ(resolved("there/data.bin/behind"), path("there/data.bin/behind"));
  EXPECT_EQ(resolved("there/sub/"), path("there/sub"));
  EXPECT_EQ(resolvedPath(FileLocation::fromPath("/")), "/");
  EXPECT_EQ(resolvedPath(FileLocation::fromPath("/missing-at-the-root")), "/missing-at-the-root");
}

TEST_F(ResolvedPaths, ofKeysAreStandardizedFirst) {
  EXPECT_EQ(resolved("here/link/../data.bin"), path("here/data.bin"));
}

TEST_F(ResolvedPaths, ofKeysGoOnWithTheDirectoryWhenTheSystemFails) {
  for (const int errorNumber : {ENOENT, EACCES, ELOOP, EIO}) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    faulty.fail(SystemCall::realpath, 1, errorNumber);
    EXPECT_EQ(resolved("here/link/inner.bin"), path("there/sub/inner.bin"));
  }
  calls.fail(SystemCall::realpath, FaultySystemCalls::kEvery, EIO);
  EXPECT_EQ(resolved("here/link/inner.bin"), path("here/link/inner.bin"));
}

TEST_F(ResolvedPaths, ofLocationsAreWhatTheSystemOpens) {
  EXPECT_EQ(real("here/link/../data.bin"), path("there/data.bin"));
  EXPECT_EQ(real("here/link/inner.bin"), path("there/sub/inner.bin"));
  EXPECT_EQ(real("here/link/../missing.bin"), path("there/missing.bin"));
  EXPECT_EQ(realLocation(FileLocation::fromPath("/")).path(), "/");
  EXPECT_EQ(realLocation(FileLocation::fromPath("/missing-at-the-root")).path(),
            "/missing-at-the-root");
}

TEST_F(ResolvedPaths, ofLocationsStayAsTheyAreWhenTheyCannotBeFollowed) {
  for (const char* const name :
       {"here/link/missing/too.bin", "there/data.bin/behind", "there/data.bin/",
        "here/link/missing/", "here/link/missing/.", "here/link/missing/.."}) {
    EXPECT_EQ(real(name), path(name));
  }
  const auto notAFile = FileLocation::fromURL("https://example.org/here/../data.bin");
  EXPECT_EQ(realLocation(notAFile), notAFile);
}

TEST_F(ResolvedPaths, ofLocationsStayAsTheyAreWhenTheSystemFails) {
  calls.fail(SystemCall::realpath, 1, EACCES);
  EXPECT_EQ(real("here/link/inner.bin"), path("here/link/inner.bin"));
  calls.fail(SystemCall::realpath, 3, EIO);
  EXPECT_EQ(real("here/link/missing.bin"), path("here/link/missing.bin"));
}

TEST_F(ResolvedPaths, areFoundHoweverOftenTheSystemIsInterrupted) {
  calls.interruptEveryCall();
  EXPECT_EQ(resolved("here/link/inner.bin"), path("there/sub/inner.bin"));
  EXPECT_EQ(real("here/link/missing.bin"), path("there/sub/missing.bin"));
}

TEST_F(ResolvedPaths, neverEndAtANulByte) {
  const auto cut = FileLocation::fromURL("file://" + path("there/data.bin") + "%00/behind");
  EXPECT_EQ(realLocation(cut), cut);
  EXPECT_EQ(resolvedPath(cut), cut.path());
  EXPECT_EQ(calls.count(SystemCall::realpath), 0);
  EXPECT_FALSE(urlsReferToSameFile(cut, folder.location("there/data.bin")));
  EXPECT_THAT([&] { readSnapshot(realLocation(cut), {}); }, test::failsWithPosix(EINVAL));
}

}  // namespace
}  // namespace quillmor
