#include "faults/SaveUnderFaults.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace quillmor::test {

namespace fs = std::filesystem;

namespace {

constexpr const char* kExportedBefore = "what was exported before";

Places placesBelow(const fs::path& folder) {
  return {.files = (folder / "files").native(), .state = (folder / "state").native()};
}

/// Empties a folder, which may be where a disk is mounted, or makes it.
void makeEmptyFolder(const std::string& folder) {
  fs::create_directories(folder);
  for (const auto& entry : fs::directory_iterator(folder))
    // A disk's own folder, which nobody else uses.
    if (entry.path().filename() != "lost+found") fs::remove_all(entry.path());
  fs::permissions(folder, fs::perms::owner_all);
}

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

std::string firstField(const std::string& line) {
  return line.substr(0, line.find('\t'));
}

}  // namespace

SaveUnderFaults::SaveUnderFaults(Save save)
    : save_(std::move(save)), places_(placesBelow(scratch_.path())) {}

SaveUnderFaults::SaveUnderFaults(const SaveChoice& choice, Places places)
    : save_(choice.make()), places_(std::move(places)) {}

void SaveUnderFaults::reset() const {
  makeEmptyFolder(places_.files);
  makeEmptyFolder(places_.state);
  if (save_.oldBytes) writeFile(places_.file(), *save_.oldBytes);
  if (!save_.patch.empty()) scratch_.write("patch.txt", save_.patch);
}

void SaveUnderFaults::resetWithExport(bool isThere) const {
  reset();
  if (isThere) writeFile(exportPath(), kExportedBefore);
}

Outcome SaveUnderFaults::exportOutcome(bool wasThere) const {
  if (contentIfAny(places_.file()) != save_.oldBytes) return Outcome::lost;
  const auto content = contentIfAny(exportPath());
  if (content == save_.newBytes) return Outcome::newBytes;
  const auto before = wasThere ? std::optional<std::string>(kExportedBefore) : std::nullopt;
  return content == before ? Outcome::oldBytes : Outcome::lost;
}

void SaveUnderFaults::makeStrayFilesOld() const {
  for (const std::string& path : strayFiles())
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::minutes(2));
}

ChildProcess::Environment SaveUnderFaults::environment(const Places& places) const {
  const char* const path = std::getenv("PATH");
  return {{"PATH", path != nullptr ? path : "/usr/bin:/bin"},
          {"HOME", scratch_.path().native()},
          {"XDG_STATE_HOME", places.state}};
}

EndedRun SaveUnderFaults::run(const std::vector<std::string>& target, const Fault& fault,
                              std::vector<std::string> through) const {
  std::vector<std::string> command = std::move(through);
  command.push_back(judgedCli());
  command.insert(command.end(), save_.command.begin(), save_.command.end());
  command.push_back(places_.file());
  command.insert(command.end(), save_.operands.begin(), save_.operands.end());
  if (!save_.patch.empty()) command.push_back((scratch_.path() / "patch.txt").native());
  command.insert(command.end(), target.begin(), target.end());
  std::filesystem::remove(effectLog());
  return runWithFault(command, environment(places_), watched(places_), fault, places_.files);
}

WatchedFolders SaveUnderFaults::watched(const Places& places) const {
  return {.folders = {places.files, places.state},
          .callList = (scratch_.path() / "calls").native(),
          .effectLog = effectLog()};
}

std::unique_ptr<ChildProcess> SaveUnderFaults::runPlainly(const std::vector<std::string>& arguments,
                                                          const Places& places) const {
  std::vector<std::string> command = {judgedCli()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  // With the library all the same, which spares the waiting for the disk.
  ChildProcess::Environment all = environment(places);
  all.merge(faultEnvironment(watched(places), Fault::none()));
  auto process = std::make_unique<ChildProcess>(command, all, places.files);
  process->waitForExit();
  return process;
}

EndedRun SaveUnderFaults::saveInPlace(const Fault& fault, std::vector<std::string> through) const {
  return run({"--in-place"}, fault, std::move(through));
}

EndedRun SaveUnderFaults::exportBeside(const Fault& fault) const {
  return run({"-o", exportPath()}, fault, {});
}

EndedRun SaveUnderFaults::recoverBeside(const Fault& fault) const {
  const auto records = recordsIn(places_);
  if (records.empty()) return {};
  return runWithFault({judgedCli(), "recover", records.front(), "-o", exportPath()},
                      environment(places_), watched(places_), fault, places_.files);
}

std::vector<std::string> SaveUnderFaults::recordsIn(const Places& places) const {
  std::vector<std::string> records;
  const auto list = runPlainly({"recover", "--list"}, places);
  if (list->exitStatus() == 0) {
    std::istringstream lines(list->output());
    for (std::string line; std::getline(lines, line);) records.push_back(firstField(line));
  }
  for (const auto& entry : fs::directory_iterator(places.files)) {
    const std::string id = entry.path().stem().native();
    if (isRecord(entry.path().native()) && std::ranges::find(records, id) == records.end())
      records.push_back(id);
  }
  return records;
}

Outcome SaveUnderFaults::outcomeIn(const Places& places) const {
  const auto content = contentIfAny(places.file());
  if (content == save_.newBytes) return Outcome::newBytes;
  if (content == save_.oldBytes) return Outcome::oldBytes;
  const std::string output = (scratch_.path() / "recovered").native();
  for (const std::string& record : recordsIn(places)) {
    fs::remove(output);
    if (runPlainly({"recover", record, "-o", output}, places)->exitStatus() == 0 &&
        contentIfAny(output) == save_.newBytes)
      return Outcome::recovered;
  }
  return Outcome::lost;
}

std::vector<std::string> SaveUnderFaults::strayFiles() const {
  std::vector<std::string> stray;
  for (const std::string& folder : {places_.files, places_.state}) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      const std::string path = entry.path().native();
      const bool isExpected = path == places_.file() || path == exportPath();
      const bool isLock = folder == places_.state && path.ends_with(".lock");
      if (!entry.is_directory() && !isExpected && !isLock) stray.push_back(path);
    }
  }
  return stray;
}

bool SaveUnderFaults::savesAgain() const {
  std::string content = contentIfAny(places_.file()).value_or("");
  // A user has put something whole there before.
  if (content != save_.oldBytes && content != save_.newBytes) content.clear();
  if (content.empty()) writeFile(places_.file(), content = "ABCD");
  const auto again = runPlainly({"transform", "invert", places_.file(), "--in-place"}, places_);
  if (again->exitStatus() != 0) return false;
  for (char& byte : content) byte = static_cast<char>(~byte);
  return contentIfAny(places_.file()) == content;
}

std::optional<std::string> contentIfAny(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  if (!in.is_open()) return std::nullopt;
  std::string content(static_cast<std::size_t>(in.tellg()), '\0');
  in.seekg(0);
  in.read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

}  // namespace quillmor::test
