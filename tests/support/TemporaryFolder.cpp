#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace quillmor::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (fs::canonical(fs::temp_directory_path()) / "quillmor-XXXXXX").native();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

FileLocation TemporaryFolder::location(std::string_view name) const {
  return FileLocation::fromPath((path_ / name).native());
}

FileLocation TemporaryFolder::write(std::string_view name, std::string_view content) const {
  std::ofstream(path_ / name, std::ios::binary | std::ios::trunc) << content;
  return location(name);
}

void TemporaryFolder::append(std::string_view name, std::string_view content) const {
  std::ofstream(path_ / name, std::ios::binary | std::ios::app) << content;
}

std::string TemporaryFolder::read(std::string_view name) const {
  return read(location(name));
}

std::string TemporaryFolder::read(const FileLocation& location) {
  std::ifstream in(location.path(), std::ios::binary);
  EXPECT_TRUE(in.is_open()) << "no file " << location.path();
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool TemporaryFolder::exists(std::string_view name) const {
  return fs::exists(fs::symlink_status(path_ / name));
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(path_)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

std::int64_t openDescriptorCount() {
  // The iterator's own descriptor is counted every time, so differences are right.
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator{});
}

}  // namespace quillmor::test
