#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "base/Result.h"
#include "document/EditHistory.h"
#include "editor/EditSession.h"
#include "recovery/UnsavedChanges.h"
#include "window/commands/BackgroundTaskFrame.h"
#include "window/commands/DocumentLock.h"
#include "window/commands/EditorEnvironment.h"
#include "window/commands/EditorWindowSurface.h"
#include "window/commands/WindowLimits.h"
#include "window/commands/WindowMessages.h"

namespace quillmor {

/// The surroundings of the commands of one editor window: its edit session, its window, questions
/// and sentences for the user, and background work. Main thread only.
class CommandContext : private BusyStateObserver, private EditSessionObserver {
 public:
  /// `owner` refers to the object that a completion keeps alive while it runs, and after whose end
  /// no completion is called any more. What the environment holds outlives the context.
  CommandContext(std::shared_ptr<HexDocument> document, const EditorEnvironment& environment,
                 std::function<std::weak_ptr<void>()> owner);
  CommandContext(const CommandContext&) = delete;
  CommandContext& operator=(const CommandContext&) = delete;

  EditSession& session() { return session_; }
  HexDocument& document() { return session_.document(); }
  HexEditorState& editor() { return session_.editor(); }
  EditHistory& history() { return *history_; }
  /// For a window that shows the history and may outlive this object by an event.
  const std::shared_ptr<EditHistory>& sharedHistory() { return history_; }
  const PlatformServices& platform() const { return platform_; }
  DocumentController& documents() { return documents_; }
  DocumentSaver& saver() { return saver_; }
  DocumentLock& documentLock() { return documentLock_; }
  UnsavedChanges& unsavedChanges() { return unsavedChanges_; }

  // What is left behind (CommandContextTraces.cpp).

  Traces traces() const;
  /// With `none` everything kept so far is removed off the main thread, and nothing more is kept
  /// until this is called again.
  void setTraces(Traces traces);
  /// False in a process that keeps nothing at all.
  bool mayKeepTraces() const { return mayKeepTraces_; }

  // The window.

  /// Null until the window is attached, and after it has closed.
  EditorWindowSurface* window() { return window_; }
  bool hasWindow() const { return window_ != nullptr; }
  void attachWindow(EditorWindowSurface& window) { window_ = &window; }
  /// Returns the window, which is not used any more.
  EditorWindowSurface* detachWindow() { return std::exchange(window_, nullptr); }

  /// The size, offset, mode and selection as the status line shows them.
  std::string statusText() const;
  /// Shows the status again, unless an operation runs. A notice goes when the caret has moved.
  void updateStatus() override;
  /// Shows a report in a window of its own, cut to what a window can show.
  void showUtilityReport(const std::string& title, const std::string& report);

  /// Notices and alerts.
  WindowMessages& messages() { return messages_; }

  /// Shows bytes as an unsaved document in a new window; see `EditorEnvironment::openUntitled`.
  void openUntitled(ByteBuffer bytes, EditorPlaces places) const {
    openUntitled_(std::move(bytes), std::move(places));
  }

  // Refusals, each with an alert, and true if the command is refused.

  bool refuseWhileBusy(const std::string& title);
  bool refuseWithoutFile(const std::string& title);
  /// The normalised selection; absent, after an alert, while busy, without a selection, and when
  /// more bytes are selected than may be edited at once.
  std::optional<HexSelection> activeSelectionOrAlert(const std::string& title);
  /// False, after an alert, when so many bytes may not be made at once.
  bool validateGeneratedByteCount(std::int64_t count, const std::string& title);
  /// False, after an alert, when the document may not have so many bytes.
  bool validateResultingDocumentByteCount(std::int64_t removing, std::int64_t inserting,
                                          const std::string& title);

  // Questions (CommandContextQuestions.cpp).

  /// Asks the user with `question`, which returns an optional answer. Absent when the user cancels,
  /// when the window closes meanwhile, and when another operation has begun meanwhile; that is
  /// alerted with `title`.
  template <class Question, class Answer = std::invoke_result_t<Question&>>
  Answer ask(const std::string& title, Question question) {
    Answer answer = question();
    if (!answer || !hasWindow() || refuseWhileBusy(title)) return std::nullopt;
    return answer;
  }
  /// True if the user chooses `button` rather than "Cancel".
  bool confirm(const std::string& title, const std::string& text, const std::string& button,
               const std::string& busyTitle);
  std::optional<FileLocation> chooseFile(const std::string& title) {
    return chooseFile(title, title);
  }
  std::optional<FileLocation> chooseFile(const std::string& panelTitle,
                                         const std::string& busyTitle);
  std::optional<FileLocation> chooseDestination(const std::string& title,
                                                const std::string& suggestedName);
  /// Where a file panel starts.
  std::optional<FileLocation> documentDirectory();

  // Background work. A completion takes a `Result` of what the work returns. It is not called once
  // the owner has gone.

  bool isBusy() const { return frame_.isBusy(); }
  BackgroundTaskFrame& frame() { return frame_; }

  /// A completion that is not called once the owner has gone, and keeps the owner while it runs.
  template <class T>
  std::function<void(Result<T>)> guarded(std::function<void(Result<T>)> completion) {
    return [owner = owner_(), completion = std::move(completion)](Result<T> result) {
      if (const auto held = owner.lock()) completion(std::move(result));
    };
  }
  std::weak_ptr<void> owner() const { return owner_(); }

  /// Runs `work(TaskProgress&)` off the main thread in the busy state.
  template <class Work, class T = std::invoke_result_t<Work&, TaskProgress&>>
  void runBackgroundTask(const std::string& statusText, Work work,
                         std::type_identity_t<std::function<void(Result<T>)>> completion) {
    frame_.run(statusText, std::move(work), guarded<T>(std::move(completion)));
  }

  /// The same; the work gets an immutable copy of all bytes and the normalised selection.
  template <class Work,
            class T = std::invoke_result_t<Work&, const ByteBuffer&, HexSelection, TaskProgress&>>
  void runBackgroundSnapshotTask(const std::string& statusText, HexSelection selection, Work work,
                                 std::type_identity_t<std::function<void(Result<T>)>> completion) {
    const HexSelection range = selection.normalized(session_.byteCount());
    auto task = [work = std::move(work), bytes = session_.bytes(),
                 range](TaskProgress& progress) mutable { return work(bytes, range, progress); };
    runBackgroundTask(statusText, std::move(task), std::move(completion));
  }

  /// Runs `work(bytes, range, TaskProgress&)` on all bytes and the normalised selection: in the
  /// background as above when `size` is `threshold` or more, else at once and without the busy
  /// state.
  template <class Work,
            class T = std::invoke_result_t<Work&, const ByteBuffer&, HexSelection, TaskProgress&>>
  void runSnapshotTaskFrom(std::int64_t threshold, std::int64_t size, const std::string& statusText,
                           HexSelection selection, Work work,
                           std::type_identity_t<std::function<void(Result<T>)>> completion) {
    if (size >= threshold)
      return runBackgroundSnapshotTask(statusText, selection, std::move(work),
                                       std::move(completion));
    TaskProgress progress;
    completion(resultOf([&] {
      return work(session_.bytes(), selection.normalized(session_.byteCount()), progress);
    }));
  }

 private:
  void sessionDidEdit(bool canBeUndone) override;
  void didRefuse(const std::string& reason) override { messages_.showNotice(reason); }

  UnsavedChanges::Owner ownerOfChanges();
  std::string inspectorText() const;

  void busyStateDidBegin() override;
  void showBusyStatus(const std::string& statusText) override;
  void busyStateDidEnd() override;
  void showProgress(double fraction, bool canStop) override;
  void hideProgress() override;

  PlatformServices platform_;
  DocumentController& documents_;
  DocumentSaver& saver_;
  DocumentLock documentLock_;
  const std::function<std::weak_ptr<void>()> owner_;
  const std::function<void(ByteBuffer, EditorPlaces)> openUntitled_;
  EditorWindowSurface* window_ = nullptr;
  const std::shared_ptr<EditHistory> history_;
  EditSession session_;
  WindowMessages messages_{platform_, session_, [this] { return window_; }};
  BackgroundTaskFrame frame_;
  const bool mayKeepTraces_;
  UnsavedChanges unsavedChanges_;
};

}  // namespace quillmor
