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
    {"recovery"},
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

/// The lines of src/ that match, each with its file, but for files that are allowed to have them.
template <class IsAllowed>
std::vector<std::string> linesMatching(const std::regex& pattern, const IsAllowed& isAllowed) {
  std::vector<std::string> found;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (isAllowed(file)) continue;
    for (const auto& line : linesOf(file)) {
      if (std::regex_search(line, pattern)) found.push_back(rootedName(file) + ": " + line);
    }
  }
  return found;
}

/// True if the toolkit may be used there.
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
  std::map<std::string, std::string> roomOfUnit;
  for (const auto& file : sourcesBelow(kRoot / "src")) {
    if (file.extension() == ".h") roomOfUnit[file.stem().string()] = roomOf(file);
  }
  std::vector<std::string> wrong;
  for (const auto& file : sourcesBelow(kRoot / "tests" / "unit")) {
    const auto room = fs::relative(file.parent_path(), kRoot / "tests" / "unit").generic_string();
    // The fuzz targets are replayed by a test beside the rooms.
    if (room == "fuzz") continue;
    std::string unit = file.stem().string();
    if (unit.ends_with("Tests")) unit.resize(unit.size() - 5);
    const auto known = roomOfUnit.find(unit);
    const bool isThere = known == roomOfUnit.end() ? allowed.contains(room) : known->second == room;
    if (!isThere) wrong.push_back(rootedName(file));
  }
  EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST(Policy, dialogsClipboardAndSettingsLiveInPlatformQtOnly) {
  const std::regex forbidden(
      R"(\b(QMessageBox|QFileDialog|QInputDialog|QColorDialog|QFontDialog|QProgressDialog|QErrorMessage|QClipboard|QSettings|QDesktopServices)\b|\bQ(Gui)?Application::(beep|clipboard)\b|\bqApp->(beep|clipboard)\b)");
  const auto isPlatform = [](const fs::path& file) { return roomOf(file) == "platform_qt"; };
  EXPECT_THAT(linesMatching(forbidden, isPlatform), testing::IsEmpty());
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

TEST(Policy, systemCallsOnFilesStandInOneFile) {
  // Files that deal with the descriptors that a process starts with, or with a pipe of its own, and
  // with nothing else; and the program that writes manual pages during the build.
  const std::set<std::string> allowed = {
      "src/cli/generate/main.cpp",  "src/fileaccess/SystemCalls.cpp",
      "src/cli/main.cpp",           "src/cli/ProgressLine.cpp",
      "src/cli/Session.cpp",        "src/cli/SpooledText.cpp",
      "src/cli/StandardOutput.cpp", "src/ui/app/TerminationSignals.cpp",
  };
  const std::regex call(
      R"(<fstream>|\bstd::(fopen|ifstream|ofstream|fstream|remove|rename)\b|(^|[^A-Za-z0-9_>])::(open|openat|read|pread|p?write|close|f?stat|fstatat|statx|lstat|access|realpath|f?truncate|f?chmod|fsync|fdatasync|rename|renameat2?|link|unlink|getrandom|fcntl|flock|getdents64|opendir|fallocate|f?statvfs|mkdir|unlinkat|f?chown|l?getxattr|fgetxattr|f?setxattr|f?removexattr)\()");
  EXPECT_THAT(
      linesMatching(call, [&](const fs::path& file) { return allowed.contains(rootedName(file)); }),
      testing::IsEmpty());
}

TEST(Policy, documentsAreWrittenToTheirFilesInOneRoom) {
  const std::regex writer(R"(\bwriteDocumentBytes\b)");
  const auto mayWrite = [](const fs::path& file) {
    return roomOf(file) == "fileaccess" || roomOf(file) == "document";
  };
  EXPECT_THAT(linesMatching(writer, mayWrite), testing::IsEmpty());
}

TEST(Policy, theBytesOfADocumentChangeInFewPlaces) {
  // Typing, edit sessions and undo; a document that reads its file, and storage that is new.
  const auto mayChange = [](const fs::path& file) {
    const std::string name = rootedName(file);
    return roomOf(file) == "editor" || name.starts_with("src/document/") ||
           name == "src/window/commands/DocumentReplacement.cpp";
  };
  const std::regex change(
      R"(storage(_|\(\))?->(bytes(\.(set|replace|mutableSpan)\(|\s*=[^=])|delete_\())");
  EXPECT_THAT(linesMatching(change, mayChange), testing::IsEmpty());
}

TEST(Policy, theProcessorIsAskedInOnePlace) {
  const std::regex question(R"(__builtin_cpu_supports|\bcpuid\b)");
  const auto mayAsk = [](const fs::path& file) {
    return rootedName(file) == "src/kernels/Cpu.cpp";
  };
  EXPECT_THAT(linesMatching(question, mayAsk), testing::IsEmpty());
}

TEST(Policy, theFileSystemIsAskedThroughTheSystemCallsOnly) {
  // Files whose use of the library cannot be made to fail in a way that matters: what is lexical
  // and the current directory; what the pointer drags over a window; the name a panel suggests.
  const std::set<std::string> allowed = {"src/base/FileLocation.cpp",
                                         "src/ui/editor/DraggedFiles.cpp",
                                         "src/platform_qt/QtFilePanels.cpp"};
  const std::regex library(R"(\bstd::filesystem\b|<filesystem>)");
  EXPECT_THAT(
      linesMatching(library,
                    [&](const fs::path& file) { return allowed.contains(rootedName(file)); }),
      testing::IsEmpty());
}

/// The functions of a file that are longer than `limit` lines. Formatted code begins and ends a
/// function in the first column.
std::vector<std::string> functionsLongerThan(std::size_t limit, const fs::path& file) {
  std::vector<std::string> found;
  const auto lines = linesOf(file);
  std::size_t begin = 0;
  bool isOpen = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    if (line == "}" && isOpen) {
      isOpen = false;
      if (i + 1 - begin > limit)
        found.push_back(rootedName(file) + ":" + std::to_string(begin + 1) + ": " +
                        std::to_string(i + 1 - begin) + " lines");
    } else if (!line.empty() && std::string_view(" #}/").find(line[0]) == std::string_view::npos) {
      begin = i;
      isOpen = !line.starts_with("namespace");
    }
  }
  return found;
}

TEST(Policy, functionsStayShort) {
  constexpr std::size_t kLongest = 60;
  std::vector<std::string> tooLong;
  std::size_t functionsOfTenLines = 0;
  for (const char* const top : {"src", "tests", "bench", "fuzz"}) {
    for (const auto& file : sourcesBelow(kRoot / top)) {
      functionsOfTenLines += functionsLongerThan(10, file).size();
      for (auto& function : functionsLongerThan(kLongest, file)) tooLong.push_back(function);
    }
  }
  EXPECT_THAT(tooLong, testing::IsEmpty());
  EXPECT_GT(functionsOfTenLines, 1000U) << "the functions are not found any more";
}

TEST(Policy, filesStayShort) {
  std::vector<std::string> tooLong;
  std::vector<std::size_t> implementationLengths;
  for (const char* const top : {"src", "tests", "bench"}) {
    for (const auto& file : sourcesBelow(kRoot / top)) {
      const std::size_t count = linesOf(file).size();
      const std::size_t longest = top == std::string("src") ? 400 : 600;
      if (count > longest) tooLong.push_back(rootedName(file) + ": " + std::to_string(count));
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
