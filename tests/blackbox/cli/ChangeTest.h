#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "blackbox/cli/CliTest.h"

namespace quillmor::test {

/// What a file is on the disk, without following a link: two states are equal only where nobody has
/// touched the file in between.
struct FileState {
  std::uint64_t inode = 0;
  std::uint32_t mode = 0;
  std::int64_t size = 0;
  std::int64_t modified = 0;  ///< nanoseconds
  std::int64_t changed = 0;   ///< nanoseconds

  bool operator==(const FileState&) const = default;
};

/// Tests of the commands that change bytes. The changed file is "in.bin"; the arguments of a run
/// come without "-o" and "--in-place", which the fixture puts behind the command's name.
class ChangeTest : public CliTest {
 protected:
  using Arguments = std::vector<std::string>;

  /// Expects status 0, `text` as one or more lines, `note` (a line) on standard error, and `output`
  /// from `input`: in OUT, and in FILE itself, which stays untouched where both are equal.
  void expectChange(const Arguments& arguments, std::string_view input, const std::string& text,
                    std::string_view output, const std::string& note = {}) const;

  /// Expects status 1 and `text`, with no OUT and FILE untouched, in both ways.
  void expectNoChange(const Arguments& arguments, std::string_view input,
                      const std::string& text) const;

  /// Expects status 2 and `message` only, with no OUT and FILE untouched, in both ways.
  void expectRefusal(const Arguments& arguments, std::string_view input,
                     const std::string& message) const;

  /// Expects the same of "in.bin" as it is.
  void expectRefusalAsItIs(const Arguments& arguments, const std::string& message) const;

  FileState stateOf(const std::string& name) const;

  /// Creates a file of that many zeros that takes no room on the disk.
  void writeZeros(const std::string& name, std::int64_t size) const;

 private:
  void expectUntouched(const Arguments& arguments, const CliRun& expected) const;
};

/// `arguments` with `more` behind the command's name.
std::vector<std::string> withOptions(std::vector<std::string> arguments,
                                     const std::vector<std::string>& more);

/// Bytes as the content of a file.
std::string content(std::span<const std::uint8_t> bytes);

}  // namespace quillmor::test
