#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>

#include "base/FileLocation.h"
#include "support/FaultySystemCalls.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// Tests of file operations: a folder to work in, system calls that can be made to fail, and at the
/// end of every test the proof that no descriptor was left open.
class FileAccessTest : public testing::Test {
 protected:
  void SetUp() override { descriptorCount_ = openDescriptorCount(); }
  void TearDown() override { EXPECT_EQ(openDescriptorCount(), descriptorCount_); }

  TemporaryFolder folder;
  FaultySystemCalls calls;

 private:
  std::int64_t descriptorCount_ = 0;
  ScopedSystemCalls scope_{calls};
};

/// Bytes that differ from place to place, so that a lost or doubled chunk shows.
std::string patternedText(std::size_t size);

std::span<const std::uint8_t> bytesOf(std::string_view text);
std::string textOf(std::span<const std::uint8_t> bytes);

/// True when nobody holds any reservation for the file.
bool isUnreserved(const FileLocation& location);

inline constexpr std::int64_t kNoSizeLimit = std::numeric_limits<std::int64_t>::max();

/// Runs `body` in a child process that has no rights of root and may write files of at most
/// `maximumFileSize` bytes, and returns the text it returns.
std::string inRestrictedProcess(std::int64_t maximumFileSize,
                                const std::function<std::string()>& body);

/// Forbids this process, which must not be root's, to start threads; false when it still can.
bool forbidThreads();

/// `body`'s error as "code message"; "no error" when there is none.
std::string errorText(const std::function<void()>& body);

}  // namespace quillmor::test
