#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileLocation.h"

namespace quillmor::test {

/// A folder of its own for one test, removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  FileLocation location(std::string_view name) const;

  /// Writes a file whole and returns its location.
  FileLocation write(std::string_view name, std::string_view content) const;

  static std::string read(const FileLocation& location);

 private:
  std::filesystem::path path_;
};

}  // namespace quillmor::test
