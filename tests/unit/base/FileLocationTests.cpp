#include "base/FileLocation.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/ErrorMatchers.h"
#include "support/TemporaryFolder.h"

namespace quillmor {
namespace {

TEST(FileLocation, namesAFileByItsLastPathComponent) {
  EXPECT_EQ(FileLocation::fromPath("/tmp/data.bin").lastPathComponent(), "data.bin");
  EXPECT_EQ(FileLocation::fromPath("/tmp/folder/").lastPathComponent(), "folder");
  EXPECT_EQ(FileLocation::fromPath("/").lastPathComponent(), "");
}

TEST(FileLocation, makesARelativePathAbsolute) {
  const auto location = FileLocation::fromPath("data.bin");
  EXPECT_EQ(location.path(), (std::filesystem::current_path() / "data.bin").native());
}

TEST(FileLocation, makesNoRelativePathAbsoluteWhenTheCurrentFolderIsGone) {
  const std::filesystem::path before = std::filesystem::current_path();
  {
    const test::TemporaryFolder folder;
    std::filesystem::current_path(folder.path());
  }
  for (const char* path : {"data.bin", "./data.bin", "../data.bin", ""})
    EXPECT_THAT([&] { FileLocation::fromPath(path); },
                test::failsWithPosix(ENOENT, "No such file or directory"));
  EXPECT_EQ(FileLocation::fromPath("/tmp/data.bin").path(), "/tmp/data.bin");
  std::filesystem::current_path(before);
}

TEST(FileLocation, keepsBytesThatAreNotUtf8) {
  const auto location = FileLocation::fromPath("/tmp/\xFF\xFE.bin");
  EXPECT_EQ(location.lastPathComponent(), "\xFF\xFE.bin");
  EXPECT_EQ(FileLocation::fromURL("file:///tmp/%ff%FE.bin"), location);
}

TEST(FileLocation, tellsLocalFilesFromOtherUrls) {
  EXPECT_TRUE(FileLocation::fromURL("file:///tmp/a").isLocalFile());
  EXPECT_TRUE(FileLocation::fromURL("FILE://localhost/tmp/a").isLocalFile());
  EXPECT_FALSE(FileLocation::fromURL("file://elsewhere/tmp/a").isLocalFile());
  EXPECT_FALSE(FileLocation::fromURL("https://example.org/a").isLocalFile());
}

TEST(FileLocation, standardizesWithoutTheFileSystem) {
  EXPECT_EQ(FileLocation::fromPath("/a/./b/../c//d/").standardizedPath(), "/a/c/d");
  EXPECT_EQ(FileLocation::fromPath("/").standardizedPath(), "/");
}

TEST(FileLocation, namesSiblingsAndDirectories) {
  const auto location = FileLocation::fromPath("/tmp/data.bin");
  EXPECT_EQ(location.sibling("x").path(), "/tmp/x");
  EXPECT_EQ(location.directory().path(), "/tmp");
  EXPECT_EQ(FileLocation::fromPath("/data.bin").sibling("x").path(), "/x");
}

}  // namespace
}  // namespace quillmor
