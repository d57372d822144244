#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileLocation.h"

namespace quillmor::test {

/// A new empty folder that goes with everything in it when the object does. Its path is canonical.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  FileLocation location(std::string_view name) const;

  /// Creates or rewrites a file and returns its location.
  FileLocation write(std::string_view name, std::string_view content) const;
  void append(std::string_view name, std::string_view content) const;
  /// The whole content of a file; a test failure when there is none.
  std::string read(std::string_view name) const;
  static std::string read(const FileLocation& location);
  bool exists(std::string_view name) const;
  /// The names of everything in the folder, sorted.
  std::vector<std::string> names() const;

 private:
  std::filesystem::path path_;
};

/// The number of descriptors this process has open.
std::int64_t openDescriptorCount();

}  // namespace quillmor::test
