#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace quillmor::test {

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "quillmor-test-XXXXXX").native();
  if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
  path_ = std::filesystem::canonical(pattern);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

FileLocation TemporaryFolder::location(std::string_view name) const {
  return FileLocation::fromPath((path_ / name).native());
}

FileLocation TemporaryFolder::write(std::string_view name, std::string_view content) const {
  std::ofstream(path_ / name, std::ios::binary) << content;
  return location(name);
}

std::string TemporaryFolder::read(const FileLocation& location) {
  std::ifstream in(location.path(), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace quillmor::test
