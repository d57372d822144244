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

/// The rooms of src/ from the ground up, a floor a line. A room may include itself and the rooms of
/// lower floors; rooms of one floor know nothing of each other.
const std::vector<std::vector<std::string>> kFloors = {
    {"base"},
    {"platform"},
    {"kernels"},
    {"fileaccess"},
    {"document"},
    {"search/scan", "search/typed"},
    {"search"},
    {"tools/text"},
    {"tools/firmware"},
    {"tools/analysis"},
    {"tools/checksum", "tools/export"},
    {"tools/patches", "tools/edits"},
    {"editor", "cli"},
    {"window/commands"},
    {"window"},
    {"app"},
    {"ui/editor"},
    {"ui/window"},
    {"ui/app"},
};

/// The rooms beside the house: what they may include.
const std::map<std::string, std::set<std::string>> kAnnexes = {
    {"platform_qt", {"base", "platform"}},
    {"cli/generate", {"cli"}},
};

/// The program's entry point wires the layers together, so it alone sees platform_qt as well.
constexpr const char* kEntryPoint = "src/ui/app/main.cpp";

/// What each room may include besides itself.
std::map<std::string, std::set<std::string>> allowedIncludes() {
  std::map<std::string, std::set<std::string>> allowed = kAnnexes;
  std::set<std::string> below;
  for (const auto& floor : kFloors) {
    for (const auto& room : floor) allowed[room] = below;
    for (const auto& room : floor) {
      if (room != "cli") below.insert(room);
    }
  }
  return allowed;
}

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

/// "tools/text" for src/tools/text/Base64.h.
std::string roomOf(const fs::path& file) {
  return fs::relative(file.parent_path(), kRoot / "src").generic_string();
}

/// Whether the toolkit may be used there.
bool knowsQt(const std::string& room) {
  return room.starts_with("ui/") || room == "platform_qt";
}

TEST(Policy, everyRoomIsKnown) {
  const auto allowed = allowedIncludes();
  std::set<std::string> unknown;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (!allowed.contains(roomOf(file))) unknown.insert(rootedName(file));
  }
  EXPECT_THAT(unknown, testing::IsEmpty());
}

TEST(Policy, includesPointOneWay) {
  const std::regex include(R"re(^\s*#\s*include\s+"([^"]+)/[^"/]*")re");
  const auto allowedAnywhere = allowedIncludes();
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    const std::string room = roomOf(file);
    std::set<std::string> allowed = allowedAnywhere.at(room);
    allowed.insert(room);
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

TEST(Policy, unitTestsLieInTheRoomOfWhatTheyTest) {
  const auto allowed = allowedIncludes();
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "tests" / "unit")) {
    const auto room = fs::relative(file.parent_path(), kRoot / "tests" / "unit").generic_string();
    // The fuzz targets are replayed by a test beside the rooms.
    if (room != "fuzz" && !allowed.contains(room)) wrong.push_back(rootedName(file));
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST(Policy, dialogsClipboardAndSettingsLiveInPlatformQtOnly) {
  const std::regex forbidden(
      R"(\b(QMessageBox|QFileDialog|QInputDialog|QColorDialog|QFontDialog|QProgressDialog|QErrorMessage|QClipboard|QSettings|QDesktopServices)\b|\bQ(Gui)?Application::(beep|clipboard)\b|\bqApp->(beep|clipboard)\b)");
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (roomOf(file) == "platform_qt") continue;
    for (const auto& line : linesOf(file)) {
      if (std::regex_search(line, forbidden)) wrong.push_back(rootedName(file) + ": " + line);
    }
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST(Policy, theCoreIsFreeOfQt) {
  const std::regex qtName(
      R"(#\s*include\s*<Q|\bQ_OBJECT\b|\bQ[A-Z][a-z]\w*(::|\s*[&*(<]|\s+\w+\s*[;=({,)])|\bqApp\b)");
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (knowsQt(roomOf(file))) continue;
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
  const std::set<std::string> allowed = {"src/base/FileLocation.cpp",
                                         "src/ui/editor/DraggedFiles.cpp",
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
