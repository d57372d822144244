#include "faults/window/WindowUnderFaults.h"

#include <signal.h>

#include <filesystem>

#include "faults/window/JudgedWindow.h"

namespace quillmor::test {

namespace {

constexpr const char* kAlertTitle = "Quillmor";
const std::string kPage(kOnePage, 'x');
const std::string kChangedPage = "z" + kPage.substr(1);

Save saveOf(Way way) {
  switch (way) {
    case Way::longer:
      return {.oldBytes = kPage, .newBytes = "z" + kPage, .command = {}, .operands = {}};
    case Way::saveAsNew:
      return {.oldBytes = std::nullopt, .newBytes = kChangedPage, .command = {}, .operands = {}};
    case Way::equal:
      break;
  }
  return {.oldBytes = kPage, .newBytes = kChangedPage, .command = {}, .operands = {}};
}

}  // namespace

std::string nameOf(Way way) {
  if (way == Way::longer) return "Longer";
  return way == Way::equal ? "Equal" : "SaveAsNew";
}

void PrintTo(Way way, std::ostream* out) {
  *out << nameOf(way);
}

WindowUnderFaults::WindowUnderFaults()
    : trial_(saveOf(GetParam())),
      watched_{.folders = {trial_.places().files, trial_.places().state},
               .callList = (folder.path() / "calls").native(),
               .effectLog = "",
               .armed = (folder.path() / "armed").native()} {}

void WindowUnderFaults::startOnWhatIsLeft(const Fault& fault,
                                          const std::vector<std::string>& arguments,
                                          std::size_t windowCount) {
  std::filesystem::remove(watched_.armed);
  std::filesystem::remove(watched_.callList);
  // With the settings of a first start, not those of the last one.
  const std::string settings = (folder.path() / "settings").native();
  std::filesystem::remove_all(settings);
  std::vector<std::string> command = {"env", "XDG_STATE_HOME=" + trial_.places().state,
                                      "XDG_CONFIG_HOME=" + settings};
  for (const auto& [name, value] : faultEnvironment(watched_, fault))
    if (!value.empty()) command.push_back(name + "=" + value);
  addJudgedWindow(command);
  startThrough(command, arguments, windowCount);
}

void WindowUnderFaults::startAndChange(const Fault& fault) {
  trial_.reset();
  const bool isNew = GetParam() == Way::saveAsNew;
  const std::string opened =
      isNew ? folder.write("first.bin", kPage).path() : trial_.places().file();
  startOnWhatIsLeft(fault, {opened}, 1);
  expectStatus(Status{.size = kOnePage});
  if (GetParam() == Way::longer) press({"ctrl+i"});
  type("7a");
  expectTitle(isNew ? "first.bin*" : "data.bin*");
}

void WindowUnderFaults::save() {
  if (GetParam() == Way::saveAsNew && !isSaved()) {
    press({"ctrl+shift+s"});
    expectTitle("Save As");
    press({"ctrl+a"});
    type(trial_.places().file());
    folder.write("armed", "");
    press({"Return"});
  } else {
    folder.write("armed", "");
    press({"ctrl+s"});
  }
  awaitAnswer();
}

void WindowUnderFaults::awaitAnswer() {
  EXPECT_TRUE(waitUntil([this] {
    return !isRunning() || isSaved() || desktop().activeWindowTitle() == kAlertTitle;
  })) << desktop().activeWindowTitle();
}

bool WindowUnderFaults::isSaved() const {
  return desktop().activeWindowTitle() == "data.bin";
}

void WindowUnderFaults::answerAlerts() {
  for (int i = 0; i < 3 && desktop().activeWindowTitle() == kAlertTitle; ++i) {
    press({"Return"});
    expectNoAlert();
    // The window manager may need a moment more.
    waitUntil([this] { return desktop().activeWindowTitle() != kAlertTitle; });
  }
}

void WindowUnderFaults::saveAgain() {
  answerAlerts();
  // Nothing would tell the end of one more save from its beginning.
  if (!isSaved()) save();
}

std::vector<std::string> WindowUnderFaults::leftBehind() const {
  // The records of unsaved changes go on another thread, after the title has changed.
  waitUntil([this] { return trial_.strayFiles().empty(); });
  return trial_.strayFiles();
}

Outcome WindowUnderFaults::outcomeWithoutEditor() const {
  namespace fs = std::filesystem;
  const Places copy{.files = (folder.path() / "copied-files").native(),
                    .state = (folder.path() / "copied-state").native()};
  fs::remove_all(copy.files);
  fs::remove_all(copy.state);
  fs::copy(trial_.places().files, copy.files, fs::copy_options::recursive);
  fs::copy(trial_.places().state, copy.state, fs::copy_options::recursive);
  // The copy gets no permissions of folders along.
  for (const auto& entry : fs::recursive_directory_iterator(copy.state))
    if (entry.is_directory()) fs::permissions(entry.path(), fs::perms::owner_all);
  return trial_.outcomeIn(copy);
}

void WindowUnderFaults::takeAway() {
  if (!isRunning()) return;
  ::kill(processId(), SIGKILL);
  EXPECT_TRUE(waitUntil([this] { return !isRunning(); }));
}

}  // namespace quillmor::test
