// The rules of the house that no compiler checks: which folder may include which, where the
// toolkit's dialogs may be named, and how long a file may grow.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = QUILLMOR_SOURCE_DIR;

/// Every folder of src/ may include itself and the folders listed for it.
const std::map<std::string, std::set<std::string>> kAllowedIncludes = {
    {"base", {}},
    {"platform", {"base"}},
    {"fileaccess", {"base", "platform"}},
    {"document", {"base", "platform", "fileaccess"}},
    {"search", {"base", "platform", "fileaccess", "document"}},
    {"tools", {"base", "platform", "fileaccess", "document", "search"}},
    {"editor", {"base", "platform", "fileaccess", "document", "search", "tools"}},
    {"window", {"base", "platform", "fileaccess", "document", "search", "tools", "editor"}},
    {"app", {"base", "platform", "fileaccess", "document", "search", "tools", "editor", "window"}},
    {"platform_qt", {"base", "platform"}},
    {"cli", {"base", "platform", "fileaccess", "document", "search", "tools"}},
};

/// The program's entry point wires the layers together, so it alone sees platform_qt as well.
constexpr const char* kEntryPoint = "src/app/main.cpp";

std::vector<fs::path> sourcesBelow(const fs::path& folder) {
  std::vector<fs::path> files;
  if (!fs::exists(folder)) return files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const auto extension = entry.path().extension();
    if (extension == ".h" || extension == ".cpp") files.push_back(entry.path());
  }
  return files;
}

std::vector<std::string> linesOf(const fs::path& file) {
  std::ifstream in(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string rootedName(const fs::path& file) {
  return fs::relative(file, kRoot).generic_string();
}

std::string folderOf(const fs::path& file) {
  return fs::relative(file, kRoot / "src").begin()->string();
}

TEST(Policy, everySourceFolderIsKnown) {
  std::set<std::string> unknown;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (!kAllowedIncludes.contains(folderOf(file))) unknown.insert(rootedName(file));
  }
  EXPECT_THAT(unknown, testing::IsEmpty());
}

TEST(Policy, includesPointOneWay) {
  const std::regex include(R"re(^\s*#\s*include\s+"([^"/]+)/[^"]*")re");
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    const std::string folder = folderOf(file);
    std::set<std::string> allowed = kAllowedIncludes.at(folder);
    allowed.insert(folder);
    if (rootedName(file) == kEntryPoint) allowed.insert("platform_qt");
    for (const auto& line : linesOf(file)) {
      std::smatch match;
      if (std::regex_search(line, match, include) && !allowed.contains(match[1])) {
        wrong.push_back(rootedName(file) + ": " + line);
      }
    }
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST(Policy, dialogsClipboardAndSettingsLiveInPlatformQtOnly) {
  const std::regex forbidden(
      R"(\b(QMessageBox|QFileDialog|QInputDialog|QColorDialog|QFontDialog|QProgressDialog|QErrorMessage|QClipboard|QSettings|QDesktopServices)\b|\bQ(Gui)?Application::(beep|clipboard)\b|\bqApp->(beep|clipboard)\b)");
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (folderOf(file) == "platform_qt") continue;
    for (const auto& line : linesOf(file)) {
      if (std::regex_search(line, forbidden)) wrong.push_back(rootedName(file) + ": " + line);
    }
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

/// The files that src/CMakeLists.txt lists as widgets ("window/EditorWindow.cpp").
std::set<std::string> uiSources() {
  std::set<std::string> sources;
  bool isInList = false;
  for (const auto& line : linesOf(kRoot / "src" / "CMakeLists.txt")) {
    if (line.starts_with("set(QUILLMOR_UI_SOURCES")) {
      isInList = true;
    } else if (line.starts_with(")")) {
      isInList = false;
    } else if (isInList) {
      sources.insert(line.substr(line.find_first_not_of(' ')));
    }
  }
  return sources;
}

TEST(Policy, theCoreIsFreeOfQt) {
  const std::set<std::string> widgets = uiSources();
  ASSERT_TRUE(widgets.contains("window/EditorWindow.cpp"));
  const std::regex qtName(
      R"(#\s*include\s*<Q|\bQ_OBJECT\b|\bQ[A-Z][a-z]\w*(::|\s*[&*(<]|\s+\w+\s*[;=({,)])|\bqApp\b)");
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    const auto source = fs::relative(file, kRoot / "src").replace_extension(".cpp");
    if (folderOf(file) == "platform_qt" || rootedName(file) == kEntryPoint) continue;
    const auto name = fs::relative(file, kRoot / "src").generic_string();
    if (widgets.contains(source.generic_string()) || widgets.contains(name)) continue;
    for (const auto& line : linesOf(file)) {
      const std::string code = line.substr(0, line.find("//"));
      if (std::regex_search(code, qtName)) wrong.push_back(rootedName(file) + ": " + line);
    }
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST(Policy, fileAccessMakesItsSystemCallsInOneFileOnly) {
  const std::regex call(
      R"((^|[^A-Za-z0-9_>])::(open|openat|read|pread|write|close|f?stat|fstatat|lstat|access|realpath|f?truncate|f?chmod|fsync|fdatasync|rename|renameat2?|link|unlink|getrandom|fcntl|flock|getdents64|opendir|f?chown|l?getxattr|fgetxattr|f?setxattr|f?removexattr)\()");
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src" / "fileaccess")) {
    if (file.filename() == "SystemCalls.cpp") continue;
    for (const auto& line : linesOf(file)) {
      if (std::regex_search(line, call)) wrong.push_back(rootedName(file) + ": " + line);
    }
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST(Policy, theFileSystemIsAskedThroughTheSystemCallsOnly) {
  // Files whose use of the library cannot be made to fail in a way that matters: what is lexical
  // and the current directory; what the pointer drags over a window; the name a panel suggests.
  const std::set<std::string> allowed = {"src/base/FileLocation.cpp", "src/editor/DraggedFiles.cpp",
                                         "src/platform_qt/QtFilePanels.cpp"};
  const std::regex library(R"(\bstd::filesystem\b|<filesystem>)");
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (allowed.contains(rootedName(file))) continue;
    for (const auto& line : linesOf(file)) {
      if (std::regex_search(line, library)) wrong.push_back(rootedName(file) + ": " + line);
    }
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST(Policy, filesStayShort) {
  std::vector<std::string> tooLong;
  std::vector<std::size_t> implementationLengths;
  for (const char* const top : {"src", "tests", "bench"}) {
    for (const auto& file : sourcesBelow(kRoot / top)) {
      const std::size_t count = linesOf(file).size();
      if (count > 600) tooLong.push_back(rootedName(file) + ": " + std::to_string(count));
      if (top == std::string("src") && file.extension() == ".cpp")
        implementationLengths.push_back(count);
    }
  }
  EXPECT_THAT(tooLong, testing::IsEmpty());
  ASSERT_FALSE(implementationLengths.empty());
  const auto middle =
      implementationLengths.begin() + static_cast<std::ptrdiff_t>(implementationLengths.size() / 2);
  std::nth_element(implementationLengths.begin(), middle, implementationLengths.end());
  EXPECT_LE(*middle, 150U);
}

TEST(Policy, everyHeaderIsIncludedOnce) {
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (file.extension() != ".h") continue;
    const auto lines = linesOf(file);
    if (std::find(lines.begin(), lines.end(), "#pragma once") == lines.end())
      wrong.push_back(rootedName(file));
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

}  // namespace
