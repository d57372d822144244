#include "support/TestPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <utility>

#include "support/FailingAllocation.h"

namespace quillmor::test {

ScriptedAlerts::~ScriptedAlerts() {
  for (const Expected& expected : script_) {
    ADD_FAILURE() << "expected alert was never shown: " << expected.messageText << " / "
                  << expected.informativeText;
  }
}

void ScriptedAlerts::expect(const std::string& messageText, const std::string& informativeText,
                            const std::string& button, std::vector<std::string> answers) {
  script_.push_back({messageText, informativeText, button, std::move(answers)});
}

void ScriptedAlerts::expectRefusedAnswer(const std::string& messageText,
                                         const std::string& informativeText,
                                         const std::string& button,
                                         const std::vector<std::string>& answers,
                                         const std::string& refusal) {
  expect(messageText, informativeText, button, answers);
  expect(messageText, refusal);
  script_.push_back({messageText, informativeText, "Cancel", {}, answers});
}

AlertResponse ScriptedAlerts::runModal(const Alert& alert) {
  const UncountedAllocations ofTheTest;
  shown_.push_back(alert);
  if (duringNext_) std::exchange(duringNext_, nullptr)();
  if (script_.empty() && acceptsAnything_) return {};
  if (script_.empty()) {
    ADD_FAILURE() << "unexpected alert: " << alert.messageText << " / " << alert.informativeText;
    return {.button = alert.buttons.size() - 1,
            .texts = std::vector<std::string>(alert.fields.size()),
            .selectedChoices = std::vector<std::size_t>(alert.fields.size())};
  }
  const Expected expected = std::move(script_.front());
  script_.pop_front();
  EXPECT_EQ(alert.messageText, expected.messageText);
  EXPECT_EQ(alert.informativeText, expected.informativeText);
  const auto button = std::find(alert.buttons.begin(), alert.buttons.end(), expected.button);
  EXPECT_NE(button, alert.buttons.end()) << "no button " << expected.button;
  if (expected.heldTexts) {
    for (std::size_t i = 0; i < alert.fields.size(); ++i) {
      const FormField& field = alert.fields[i];
      if (!field.choices.empty()) continue;
      EXPECT_EQ(field.text, expected.heldTexts->at(i)) << field.label;
    }
  }
  AlertResponse response;
  response.button = static_cast<std::size_t>(button - alert.buttons.begin());
  response.texts = expected.answers;
  response.texts.resize(alert.fields.size());
  for (const FormField& field : alert.fields)
    response.selectedChoices.push_back(field.selectedChoice);
  if (nextChoice_ && nextChoice_->first < alert.fields.size()) {
    response.selectedChoices[nextChoice_->first] = nextChoice_->second;
    nextChoice_.reset();
  }
  return response;
}

std::vector<FileLocation> ScriptedFilePanels::runOpenPanel(const std::string& title, bool,
                                                           const std::optional<FileLocation>&) {
  if (duringNext) std::exchange(duringNext, nullptr)();
  if (openAnswers.empty()) {
    ADD_FAILURE() << "unexpected open panel: " << title;
    return {};
  }
  auto answer = openAnswers.front();
  openAnswers.pop_front();
  return answer;
}

std::optional<FileLocation> ScriptedFilePanels::runSavePanel(const std::string& title,
                                                             const std::string& suggestedName,
                                                             const std::optional<FileLocation>&) {
  suggestedNames.push_back(suggestedName);
  if (duringNext) std::exchange(duringNext, nullptr)();
  if (saveAnswers.empty()) {
    ADD_FAILURE() << "unexpected save panel: " << title;
    return std::nullopt;
  }
  auto answer = saveAnswers.front();
  saveAnswers.pop_front();
  return answer;
}

std::optional<std::int64_t> FakeUserDefaults::integer(const std::string& key) const {
  const auto found = integers.find(key);
  return found == integers.end() ? std::nullopt : std::optional(found->second);
}

std::optional<bool> FakeUserDefaults::boolean(const std::string& key) const {
  const auto found = booleans.find(key);
  return found == booleans.end() ? std::nullopt : std::optional(found->second);
}

bool FakePasteboard::setText(std::string text) {
  heldBytes.reset();
  heldText.reset();
  if (!refuses) heldText = std::move(text);
  return !refuses;
}

bool FakePasteboard::setBytes(ByteBuffer bytes, std::string text) {
  if (!setText(std::move(text))) return false;
  heldBytes = std::move(bytes);
  return true;
}

std::optional<Pasteboard::BoundedBytes> FakePasteboard::bytes(std::int64_t maximumByteCount) const {
  greatestByteCountAsked = std::max(greatestByteCountAsked, maximumByteCount);
  if (!heldBytes) return std::nullopt;
  if (heldBytes->size() > maximumByteCount) return BoundedBytes{.byteCount = heldBytes->size()};
  return BoundedBytes{.bytes = *heldBytes, .byteCount = heldBytes->size()};
}

std::optional<Pasteboard::BoundedText> FakePasteboard::text(std::int64_t maximumByteCount) const {
  if (!heldText) return std::nullopt;
  if (static_cast<std::int64_t>(heldText->size()) > maximumByteCount)
    return BoundedText{.isTooLong = true};
  return BoundedText{.text = *heldText};
}

struct FakeFileWatcher::Watch : FileWatch {
  Watch(FakeFileWatcher& owner, FileLocation file, std::function<void()> function)
      : watcher(owner), location(std::move(file)), mayHaveChanged(std::move(function)) {
    watcher.watches_.push_back(this);
  }
  ~Watch() override { std::erase(watcher.watches_, this); }

  FakeFileWatcher& watcher;
  const FileLocation location;
  const std::function<void()> mayHaveChanged;
};

std::unique_ptr<FileWatch> FakeFileWatcher::watch(const FileLocation& location,
                                                  std::function<void()> mayHaveChanged) {
  return std::make_unique<Watch>(*this, location, std::move(mayHaveChanged));
}

bool FakeFileWatcher::tell(const FileLocation& location) const {
  bool isWatched = false;
  for (const Watch* watch : std::vector(watches_)) {
    if (watch->location != location) continue;
    isWatched = true;
    watch->mayHaveChanged();
  }
  return isWatched;
}

std::vector<FileLocation> FakeFileWatcher::watched() const {
  std::vector<FileLocation> locations;
  for (const Watch* watch : watches_) locations.push_back(watch->location);
  return locations;
}

void ManualExecutor::runDetached(std::function<void()> work) {
  if (std::exchange(failsNextWork_, false)) throw std::bad_alloc();
  const std::lock_guard guard(lock_);
  work_.push_back(std::move(work));
}

void ManualExecutor::postToMain(std::function<void()> function) {
  // The end of work is the platform's to hand over.
  const UncountedAllocations ofTheTest;
  const std::lock_guard guard(lock_);
  posted_.push_back(std::move(function));
}

bool ManualExecutor::hasWork() const {
  const std::lock_guard guard(lock_);
  return !work_.empty();
}

std::function<void()> ManualExecutor::takeFrom(Queue& queue) {
  const std::lock_guard guard(lock_);
  if (queue.empty()) return nullptr;
  auto first = std::move(queue.front());
  queue.pop_front();
  return first;
}

void ManualExecutor::postToMainAfter(std::chrono::milliseconds delay,
                                     std::function<void()> function) {
  delayed_.push_back({now_ + delay, std::move(function)});
}

std::thread ManualExecutor::startThread(std::function<void()> work) {
  const UncountedAllocations ofTheTest;
  return std::thread(std::move(work));
}

bool ManualExecutor::runOneWork() {
  auto work = takeFrom(work_);
  if (!work) return false;
  if (auto around = std::exchange(aroundNextWork_, nullptr)) {
    work = [around = std::move(around), inner = std::move(work)] { around(inner); };
  }
  startThread(std::move(work)).join();
  return true;
}

bool ManualExecutor::runPosted() {
  bool any = false;
  while (auto function = takeFrom(posted_)) {
    function();
    any = true;
  }
  return any;
}

void ManualExecutor::runAll() {
  bool any = true;
  while (any) {
    any = runOneWork();
    any = runPosted() || any;
  }
}

void ManualExecutor::advance(std::chrono::milliseconds time) {
  const auto end = now_ + time;
  while (true) {
    const auto next =
        std::min_element(delayed_.begin(), delayed_.end(),
                         [](const Delayed& a, const Delayed& b) { return a.due < b.due; });
    if (next == delayed_.end() || next->due > end) break;
    Delayed due = std::move(*next);
    delayed_.erase(next);
    now_ = due.due;
    due.function();
  }
  now_ = end;
}

}  // namespace quillmor::test
