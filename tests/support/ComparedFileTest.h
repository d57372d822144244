#pragma once

#include <string>
#include <string_view>

#include "support/FileAccessTest.h"

namespace quillmor::test {

/// Tests of what compares a document with a file: "other.bin" in the folder.
class ComparedFileTest : public FileAccessTest {
 protected:
  static constexpr const char* kChangedWhileReading =
      "The file changed while it was being read. Try again.";
  static constexpr std::size_t kMiB = 1048576;

  void TearDown() override {
    EXPECT_TRUE(isUnreserved(other));
    FileAccessTest::TearDown();
  }

  const FileLocation other = folder.location("other.bin");
  TaskProgress progress;
};

}  // namespace quillmor::test
