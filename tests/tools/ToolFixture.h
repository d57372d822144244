#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// Runs standard tools on files in a folder of the test's own. A tool that is missing fails the
/// test: test.sh installs them all.
class ToolFixture : public testing::Test {
 protected:
  /// What a shell command prints on standard output when run in the folder, in the C locale.
  std::string outputOf(const std::string& command, int expectedStatus = 0) const;

  FileLocation write(std::string_view name, std::span<const std::uint8_t> bytes) const;

  TemporaryFolder folder;
};

}  // namespace quillmor::test
