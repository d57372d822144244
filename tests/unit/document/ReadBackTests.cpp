#include "document/ReadBack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

class ReadBackTest : public test::FileAccessTest {};

TEST_F(ReadBackTest, givesTheDigestOfWhatTheFileHas) {
  const auto file = folder.write("data.bin", "abc");
  const ReadBack read = readBack(file);
  EXPECT_EQ(read.sha256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(read.status, SecureFileAccess::fileStatus(file, FollowSymlinks::no));
}

TEST_F(ReadBackTest, asksTheSystemToForgetTheFileFirst) {
  calls.before(test::SystemCall::pread, 1, [&] {
    EXPECT_THAT(calls.log(), testing::Contains(test::SystemCall::posix_fadvise));
  });
  readBack(folder.write("data.bin", "abc"));
}

TEST_F(ReadBackTest, stopsOnRequest) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THROW(readBack(folder.write("data.bin", "abc"), &progress), Error);
}

}  // namespace
}  // namespace quillmor
