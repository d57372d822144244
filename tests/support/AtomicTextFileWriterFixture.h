#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "fileaccess/AtomicTextFileWriter.h"
#include "support/FileAccessTest.h"

namespace quillmor::test {

inline constexpr const char* kChanged =
    "The output file changed or was replaced by another process while the export was running. "
    "Nothing was overwritten; choose the destination again.";
inline constexpr const char* kAppeared =
    "Another file appeared at the output destination while the export was being prepared. Nothing "
    "was overwritten; choose the destination again.";
inline constexpr const char* kTemporaryReplaced =
    "The temporary output file was replaced or moved by another process before the export "
    "completed. Nothing was installed.";
inline constexpr const char* kCouldNotInstall =
    "Could not install the completed output file atomically without overwriting an unexpected "
    "file.";

/// A folder with one file, "existing.txt", and outputs to it or to a new file, "fresh.txt".
class AtomicTextFileWriterTest : public FileAccessTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(isUnreserved(existing));
    EXPECT_TRUE(isUnreserved(fresh));
    FileAccessTest::TearDown();
  }

  void exportTo(const FileLocation& destination) {
    AtomicTextFileWriter writer(destination, {});
    writer.write("new ");
    writer.write(bytesOf("content"));
    writer.finish();
  }

  auto exporting(const FileLocation& destination) {
    return [this, destination] { exportTo(destination); };
  }

  std::string temporaryName() const {
    for (const std::string& name : folder.names()) {
      if (name.starts_with(".")) return name;
    }
    return {};
  }

  /// Nothing is in the folder but what was there before, unchanged.
  void expectNothingHappened() const {
    EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt"));
    EXPECT_EQ(folder.read("existing.txt"), "old content");
  }

  const FileLocation existing = folder.write("existing.txt", "old content");
  const FileLocation fresh = folder.location("fresh.txt");
};

}  // namespace quillmor::test
