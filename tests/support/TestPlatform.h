#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Result.h"
#include "platform/PlatformServices.h"

namespace quillmor::test {

/// Alerts answered by a script. An alert that no script entry expected fails the test, and so does
/// an expected alert that never came.
class ScriptedAlerts : public AlertPresenter {
 public:
  ~ScriptedAlerts() override;

  /// The next alert has these texts; it is answered with `button`, a title among its buttons.
  void expect(const std::string& messageText, const std::string& informativeText,
              const std::string& button = "OK", std::vector<std::string> answers = {});

  /// The next alert is a form that is answered with `answers`. An alert says `refusal`, then the
  /// form holds what was typed and is cancelled.
  void expectRefusedAnswer(const std::string& messageText, const std::string& informativeText,
                           const std::string& button, const std::vector<std::string>& answers,
                           const std::string& refusal);

  /// In the next alert with a form, the pop-up `field` is set to its entry `choice`.
  void chooseInNext(std::size_t field, std::size_t choice) { nextChoice_ = {field, choice}; }

  /// Runs while the next alert is on screen, as the event loop of a real one would.
  void duringNext(std::function<void()> action) { duringNext_ = std::move(action); }

  /// From now on an alert that nothing expected is answered with its first button.
  void acceptAnything() { acceptsAnything_ = true; }

  AlertResponse runModal(const Alert& alert) override;

  const std::vector<Alert>& shown() const { return shown_; }

 private:
  struct Expected {
    std::string messageText;
    std::string informativeText;
    std::string button;
    std::vector<std::string> answers;
    std::optional<std::vector<std::string>> heldTexts = {};  ///< of the text fields
  };
  std::deque<Expected> script_;
  std::vector<Alert> shown_;
  std::function<void()> duringNext_;
  bool acceptsAnything_ = false;
  std::optional<std::pair<std::size_t, std::size_t>> nextChoice_;
};

/// File panels with answers prepared; a panel without one fails the test.
class ScriptedFilePanels : public FilePanels {
 public:
  std::deque<std::vector<FileLocation>> openAnswers;
  std::deque<std::optional<FileLocation>> saveAnswers;
  std::vector<std::string> suggestedNames;
  /// Runs while the next panel is on screen, as the event loop of a real one would.
  std::function<void()> duringNext;

  std::vector<FileLocation> runOpenPanel(const std::string& title, bool allowsMultipleSelection,
                                         const std::optional<FileLocation>& directory) override;
  std::optional<FileLocation> runSavePanel(const std::string& title,
                                           const std::string& suggestedName,
                                           const std::optional<FileLocation>& directory) override;
};

/// A pasteboard in memory, which can be told to refuse what it is given.
class FakePasteboard : public Pasteboard {
 public:
  std::optional<std::string> heldText;
  std::optional<ByteBuffer> heldBytes;
  bool refuses = false;
  /// The most bytes that were ever asked for.
  mutable std::int64_t greatestByteCountAsked = 0;

  bool setText(std::string text) override;
  bool setBytes(ByteBuffer bytes, std::string text) override;
  std::optional<BoundedBytes> bytes(std::int64_t maximumByteCount) const override;
  std::optional<BoundedText> text(std::int64_t maximumByteCount) const override;
};

class FakeUserDefaults : public UserDefaults {
 public:
  std::map<std::string, std::int64_t> integers;
  std::map<std::string, bool> booleans;

  std::optional<std::int64_t> integer(const std::string& key) const override;
  std::optional<bool> boolean(const std::string& key) const override;
  void setInteger(const std::string& key, std::int64_t value) override { integers[key] = value; }
  void setBoolean(const std::string& key, bool value) override { booleans[key] = value; }
};

class CountingBeeper : public Beeper {
 public:
  int count = 0;
  void beep() override { ++count; }
};

class FakeWorkspace : public Workspace {
 public:
  std::vector<FileLocation> revealed;
  std::vector<std::string> openedLinks;
  /// The reasons for which the end of the session was put off, and how many of them still hold.
  std::vector<std::string> holdReasons;
  std::shared_ptr<Done> holds = std::make_shared<Done>();
  std::int64_t holdCount() const { return holds.use_count() - 1; }
  void revealInFileManager(const FileLocation& location) override { revealed.push_back(location); }
  void openLink(const std::string& url) override { openedLinks.push_back(url); }
  std::shared_ptr<void> holdSessionEnd(const std::string& reason) override {
    holdReasons.push_back(reason);
    return holds;
  }
};

/// Watches nothing: files change for it when a test says so.
class FakeFileWatcher : public FileWatcher {
 public:
  std::unique_ptr<FileWatch> watch(const FileLocation& location,
                                   std::function<void()> mayHaveChanged) override;

  /// Calls everyone who watches `location`; false when nobody does.
  bool tell(const FileLocation& location) const;
  std::vector<FileLocation> watched() const;

 private:
  struct Watch;
  std::vector<Watch*> watches_;
};

/// Runs background work and posted functions only when told, on a second thread and on the calling
/// thread; so that "busy", "window closed meanwhile" and "bytes changed" happen when a test says.
class ManualExecutor : public BackgroundExecutor {
 public:
  void runDetached(std::function<void()> work) override;
  /// There is no memory for the next background work.
  void failNextWork() { failsNextWork_ = true; }
  void postToMain(std::function<void()> function) override;
  void postToMainAfter(std::chrono::milliseconds delay, std::function<void()> function) override;

  /// Runs the oldest background work on a thread of its own and waits for it. False when there is
  /// none.
  bool runOneWork();

  /// Runs the next background work through `around`, on the thread of the work.
  void aroundNextWork(std::function<void(const std::function<void()>& work)> around) {
    aroundNextWork_ = std::move(around);
  }

  /// Runs what was posted to the main thread; false when there was nothing.
  bool runPosted();

  /// Runs work and posted functions until nothing is left. Time does not pass.
  void runAll();

  /// Lets time pass for `postToMainAfter`.
  void advance(std::chrono::milliseconds time);

  bool hasWork() const;

 private:
  struct Delayed {
    std::chrono::milliseconds due;
    std::function<void()> function;
  };
  using Queue = std::deque<std::function<void()>>;

  static std::thread startThread(std::function<void()> work);

  /// The oldest entry of a queue, taken out; null when it is empty.
  std::function<void()> takeFrom(Queue& queue);

  mutable std::mutex lock_;  ///< guards the two queues, which any thread may fill
  Queue work_;
  Queue posted_;
  std::vector<Delayed> delayed_;
  std::function<void(const std::function<void()>&)> aroundNextWork_;
  std::chrono::milliseconds now_{0};
  bool failsNextWork_ = false;
};

/// All services of a platform under the control of a test.
class TestPlatform {
 public:
  ScriptedAlerts alerts;
  ScriptedFilePanels filePanels;
  FakePasteboard pasteboard;
  FakeUserDefaults defaults;
  CountingBeeper beeper;
  FakeWorkspace workspace;
  FakeFileWatcher fileWatcher;
  ManualExecutor executor;

  PlatformServices services() {
    return {alerts, filePanels, pasteboard, defaults, beeper, workspace, executor, fileWatcher};
  }
};

}  // namespace quillmor::test
