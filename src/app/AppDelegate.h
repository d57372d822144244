#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ApplicationSurface.h"
#include "app/MenuEnabling.h"
#include "app/RecoveryController.h"
#include "document/DocumentController.h"
#include "document/DocumentSaver.h"
#include "platform/PlatformServices.h"
#include "recovery/SaveRecords.h"
#include "window/HexWindowController.h"

namespace quillmor {

/// The application's own decisions: the editor for a command, the commands that are enabled, the
/// windows for files, and whether the application may quit. Knows no toolkit; main thread only.
class AppDelegate {
 public:
  using OpenReply = std::function<void(bool everyFileOpened)>;

  /// `records` are where saves are made safe, unsaved changes kept, open files locked, and what is
  /// recovered from; null for none of that. Without `traces` no window keeps unsaved changes; saves
  /// are safe all the same. All arguments outlive this object.
  AppDelegate(const PlatformServices& platform, ApplicationSurface& surface,
              const RecordStore* records = nullptr, Traces traces = Traces::kept);

  // AppDelegate.cpp: windows and commands.

  DocumentController& documents() { return documents_; }

  /// The editor that commands go to: that of the key window, else the one used last.
  std::shared_ptr<HexWindowController> currentHexWindowController() const;

  /// The editor's window became the key window.
  void editorWindowDidBecomeKey(const HexWindowController& controller);

  /// Carries out a menu action by its name ("forwardSaveDocument:", "showAbout:"). A failure is
  /// shown as an alert titled with the command. A command acts on the window that it was chosen in,
  /// whichever window has the keyboard; its editor then counts as the one used last.
  void perform(std::string_view action, const CommandOrigin& origin = {});

  /// True if the menu action is enabled now in the menus of the origin.
  bool validateMenuItem(std::string_view action, const CommandOrigin& origin = {}) const;

  void newDocument();
  /// Shows bytes that are in no file as a document with unsaved changes in a new window. Throws
  /// 1205 when a document may not have so many.
  void openUntitled(ByteBuffer bytes, EditorPlaces places);
  void openDocument(const CommandOrigin& origin = {});
  void showPreferences();

  /// Makes an untitled document when none is open; else brings the first document's windows to the
  /// front.
  void openUntitledDocumentIfNeeded();

  // AppDelegateOpening.cpp: files handed to the application.

  /// Opens the first file into the window of `editor` and the others into new ones, one after
  /// another; into the current window when there is no such window.
  void openFiles(const std::vector<FileLocation>& locations, OpenReply reply,
                 std::weak_ptr<HexWindowController> editor = {});

  /// Reads the file at once and shows it in a new window. Throws the reading layer's errors.
  std::shared_ptr<HexWindowController> openNow(const FileLocation& location);

  /// Looks for documents that can be recovered, once at the start, and shows their list.
  void offerRecovery();

  // AppDelegateQuitting.cpp

  /// Quits unless an editor is busy or the user keeps a document with unsaved changes.
  void requestQuit();

  /// The same questions for a session that is to end: tells whether it may. The application stays.
  void reviewForSessionEnd(std::function<void(bool mayEnd)> completion);

  /// Makes the unsaved changes of all documents durable, so that the next start can recover them.
  /// Returns the names of those for which that has failed, to be shown; empty for none.
  std::string keepUnsavedChanges();

  /// Ends the application without asking, because nobody may be asked: keeps the unsaved changes of
  /// all documents for the next start, then closes the windows. When changes cannot be kept, alerts
  /// and stays; the second time ends it in any case. The unsaved changes of a document that is to
  /// leave no trace are lost, as its user has asked.
  void endSession();

  /// False, with an alert, while an editor is busy.
  bool applicationShouldTerminate();

 private:
  using NewWindowCompletion = std::function<void(bool)>;

  /// A file being opened into a new window, with the completions that wait for it.
  struct PendingNewWindowDocumentLoad {
    FileLocation location;
    std::vector<NewWindowCompletion> completions;
  };

  struct RequestEnd;

  struct OpenRequest {
    std::vector<FileLocation> locations;
    std::shared_ptr<RequestEnd> end;
    std::weak_ptr<HexWindowController> editor;
  };

  struct SharedReply;

  void route(std::string_view action, const CommandOrigin& origin);
  bool performTextAction(std::string_view action, const CommandOrigin& origin);
  /// The editor for a command chosen there; null when there is none.
  std::shared_ptr<HexWindowController> editorFor(const CommandOrigin& origin) const;
  EnablingContext enablingContext(const CommandOrigin& origin) const;
  std::shared_ptr<HexWindowController> showNewEditorWindow(bool isPendingInitialLoad);
  std::shared_ptr<HexWindowController> showEditorWindow(
      const std::shared_ptr<HexDocument>& document);
  std::vector<std::shared_ptr<HexWindowController>> editorControllers() const;

  void runNextOpenRequest();
  void openInWindowOf(std::shared_ptr<HexWindowController> controller, const FileLocation& location,
                      NewWindowCompletion completion);
  void openAdditionalDocuments(std::vector<FileLocation> locations, bool everyFileOpened,
                               OpenReply reply);
  void openInNewWindow(const FileLocation& location, NewWindowCompletion completion);
  bool coalesceWithPendingNewWindowOpenIfPresent(const FileLocation& location,
                                                 NewWindowCompletion& completion);
  void newWindowLoadDidEnd(const FileLocation& location,
                           const std::shared_ptr<HexWindowController>& controller,
                           const Result<OpenCurrentResult>& result);
  void finishPendingLoad(const FileLocation& location, bool opened);

  /// The states of documents whose unsaved changes the user wants to lose.
  using DiscardedStates = std::map<std::shared_ptr<HexWindowController>, ChangeCount::Token>;

  struct Review;

  void beginReview(std::function<void(bool)> completion);
  /// Asks for one document after another. While one is being saved, others can be edited; in the
  /// end the user has been asked about every unsaved state.
  void reviewUnsavedDocuments(DiscardedStates discarded, const std::shared_ptr<Review>& review);

  PlatformServices platform_;
  ApplicationSurface& surface_;
  const RecordStore* records_;
  const Traces traces_;
  DocumentController documents_;
  DocumentSaver saver_;
  /// Null without recovery.
  std::unique_ptr<RecoveryController> recovery_;
  std::vector<std::weak_ptr<HexWindowController>> windowOrder_;  ///< front to back
  std::deque<OpenRequest> openRequests_;
  /// The end of the request that is being carried out, held by its completion: when an error drops
  /// that completion, the application does not wait for it.
  std::weak_ptr<RequestEnd> opening_;
  /// The same for the review before quitting.
  std::weak_ptr<Review> review_;
  /// Changes that could not be kept have held up the end of the session once.
  bool hasRefusedSessionEnd_ = false;
  std::vector<PendingNewWindowDocumentLoad> pendingLoads_;
  /// Destroyed first, so that pending callbacks see that the delegate has gone.
  std::shared_ptr<Done> life_ = std::make_shared<Done>();
};

}  // namespace quillmor
