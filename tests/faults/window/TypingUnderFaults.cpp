#include "faults/window/TypingUnderFaults.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <thread>

#include "faults/window/JudgedWindow.h"

namespace quillmor::test {

namespace fs = std::filesystem;

namespace {

const std::string kPage(kOnePage, 'x');

}  // namespace

TypingUnderFaults::TypingUnderFaults()
    : input_(desktop().environment().at("DISPLAY")), probe_(desktop().accessibilityAddress()) {}

void TypingUnderFaults::startEditor(const std::vector<std::string>& arguments,
                                    std::size_t windowCount) {
  std::vector<std::string> command = {"env", "XDG_STATE_HOME=" + path("state"),
                                      "XDG_CONFIG_HOME=" + path("settings")};
  // The library flushes nothing: a disk that others use at the same time may take seconds, and what
  // was written outlives the editor without it.
  const WatchedFolders watched{.folders = {run_.native()}, .callList = "", .effectLog = ""};
  for (const auto& [name, value] : faultEnvironment(watched, Fault::none()))
    if (!value.empty()) command.push_back(name + "=" + value);
  addJudgedWindow(command);
  startThrough(command, arguments, windowCount);
}

void TypingUnderFaults::startTyping(std::uint64_t seed) {
  run_ = folder.path() / ("run-" + std::to_string(++runs_));
  fs::create_directories(run_ / "state");
  folder.write(run_.filename().native() + "/data.bin", kPage);
  typed_ = std::make_unique<TypedDocument>(kPage, seed);
  looks_.clear();
  startEditor({path("data.bin")}, 1);
  expectStatus(Status{.size = kOnePage});
  expectTitle("data.bin");
  ASSERT_TRUE(probe_.find(static_cast<unsigned>(processId())));
}

void TypingUnderFaults::look() {
  const auto shown = probe_.look();
  // Two digits to a byte; the first of the two does not show.
  if (shown) looks_.push_back({Clock::now(), 2 * shown->offset});
}

void TypingUnderFaults::typeFor(Clock::duration time) {
  constexpr auto kPause = std::chrono::milliseconds(5);
  constexpr std::int64_t kDigitsBetweenLooks = 4;
  const auto end = Clock::now() + time;
  do {
    for (const std::string& key : typed_->next()) input_.key(key);
    if (typed_->count() % kDigitsBetweenLooks == 0) look();
    std::this_thread::sleep_for(kPause);
  } while (Clock::now() < end);
}

void TypingUnderFaults::awaitAllTyped() {
  // To the end of a byte, which shows.
  if (typed_->count() % 2 == 1)
    for (const std::string& key : typed_->next()) input_.key(key);
  EXPECT_TRUE(waitUntil([this] {
    look();
    return !looks_.empty() && looks_.back().digits == typed_->count();
  }));
}

std::int64_t TypingUnderFaults::shownBy(Clock::time_point moment) const {
  std::int64_t digits = 0;
  for (const Look& each : looks_)
    if (each.end <= moment) digits = std::max(digits, each.digits);
  return digits;
}

std::optional<TypingUnderFaults::Clock::time_point> TypingUnderFaults::shownSince(
    std::int64_t count) const {
  const auto look =
      std::ranges::find_if(looks_, [count](const Look& each) { return each.digits >= count; });
  return look == looks_.end() ? std::nullopt : std::optional(look->end);
}

ChildProcess::Environment TypingUnderFaults::environment() const {
  return {{"PATH", desktop().environment().at("PATH")},
          {"HOME", run_.native()},
          {"XDG_STATE_HOME", path("state")}};
}

std::vector<std::string> TypingUnderFaults::records() const {
  ChildProcess list({judgedCli(), "recover", "--list"}, environment());
  list.waitForExit();
  std::istringstream lines(list.output());
  std::vector<std::string> records;
  for (std::string line; std::getline(lines, line);)
    records.push_back(line.substr(0, line.find('\t')));
  return records;
}

std::optional<std::string> TypingUnderFaults::recoveredByCommand() const {
  const auto records = this->records();
  if (records.size() != 1) return std::nullopt;
  ChildProcess recover({judgedCli(), "recover", records.front(), "-o", path("recovered.bin")},
                       environment());
  if (recover.waitForExit() != 0) return std::nullopt;
  return contentIfAny(path("recovered.bin"));
}

std::optional<std::string> TypingUnderFaults::recoveredByEditor() {
  if (records().size() != 1) return std::nullopt;
  startEditor({}, 2);
  expectTitle("Recovered Documents");
  press({"Return"});
  expectTitle("data.bin*");
  press({"ctrl+s"});
  expectTitle("data.bin");
  expectQuitBy({"ctrl+q"});
  return contentIfAny(path("data.bin"));
}

bool TypingUnderFaults::isFileUntouched() const {
  return contentIfAny(path("data.bin")) == kPage;
}

std::string TypingUnderFaults::described(const std::optional<std::string>& recovered) const {
  std::string text = std::to_string(typed().count()) + " digits typed, ";
  if (!recovered) return text + "nothing recovered";
  const auto count = typed().countIn(*recovered);
  text += count ? std::to_string(*count) + " digits" : "something that never was";
  return text + " recovered";
}

}  // namespace quillmor::test
