// The pages for readers name files; those that move or go must not stay in them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = QUILLMOR_SOURCE_DIR;

std::vector<fs::path> pages() {
  std::vector<fs::path> found = {kRoot / "README.md", kRoot / "ARCHITECTURE.md",
                                 kRoot / "CONTRIBUTING.md"};
  for (const auto& entry : fs::directory_iterator(kRoot / "docs")) {
    if (entry.path().extension() == ".md") found.push_back(entry.path());
  }
  return found;
}

std::string contentOf(const fs::path& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// A page may name a unit without its ending, as in `tools/text/Base64`.
bool isThere(const std::string& name) {
  return fs::exists(kRoot / name) || fs::exists(kRoot / (name + ".h"));
}

TEST(Documentation, namesFilesThatExist) {
  const std::regex path(R"(`((src|tests|docs|bench|fuzz|packaging|cmake)/[\w./-]*\w))");
  std::set<std::string> missing;
  for (const auto& page : pages()) {
    const std::string text = contentOf(page);
    for (std::sregex_iterator match(text.begin(), text.end(), path), end; match != end; ++match) {
      const std::string name = (*match)[1];
      if (!isThere(name)) missing.insert(page.filename().string() + ": " + name);
    }
  }
  EXPECT_THAT(missing, testing::IsEmpty());
}

TEST(Documentation, linksToPagesThatExist) {
  const std::regex link(R"(\]\(([\w./-]+\.(md|svg|png|py)))");
  std::set<std::string> missing;
  for (const auto& page : pages()) {
    const std::string text = contentOf(page);
    for (std::sregex_iterator match(text.begin(), text.end(), link), end; match != end; ++match) {
      const std::string target = (*match)[1];
      if (!fs::exists(page.parent_path() / target))
        missing.insert(page.filename().string() + ": " + target);
    }
  }
  EXPECT_THAT(missing, testing::IsEmpty());
}

}  // namespace
