#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/Result.h"
#include "document/Bookmarks.h"
#include "document/DocumentController.h"
#include "document/DocumentSaver.h"
#include "document/DocumentWindow.h"
#include "document/HexDocument.h"
#include "document/UndoRecords.h"
#include "editor/HexEditorState.h"
#include "fileaccess/StableReading.h"
#include "platform/PlatformServices.h"
#include "search/Replacing.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"
#include "tools/edits/ByteTransforms.h"
#include "tools/edits/ClipboardText.h"
#include "tools/edits/EditChecks.h"
#include "tools/export/TextExport.h"
#include "tools/firmware/PolarisRom.h"
#include "tools/patches/HexPatch.h"
#include "tools/patches/JSONPatchPreset.h"
#include "window/AnnouncedEdit.h"
#include "window/commands/BackgroundTaskFrame.h"
#include "window/commands/EditorEnvironment.h"
#include "window/commands/EditorWindowSurface.h"
#include "window/commands/SelectionMutation.h"
#include "window/commands/WindowAlerts.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {

/// The controller of one editor window: owns the editor's state, the bookmarks and the busy state,
/// carries out the commands of the menus on its document. Knows no toolkit; main thread only.
///
/// The implementation stands in a file per family of commands; the sections below name them.
class HexWindowController : public DocumentWindow,
                            public HexEditorViewDelegate,
                            public UndoRecordsEditor,
                            public std::enable_shared_from_this<HexWindowController>,
                            private BusyStateObserver {
 public:
  using SaveCompletion = std::function<void(DocumentSaveResult)>;
  using OpenCompletion = std::function<void(OpenCurrentResult)>;
  /// What loading into the window ended with; `broughtToFront` when another window shows the file.
  using LoadCompletion = std::function<void(Result<OpenCurrentResult>)>;

  // HexWindowController.cpp: creation, status, closing.

  HexWindowController(std::shared_ptr<HexDocument> document, const EditorEnvironment& environment);
  ~HexWindowController() override;

  /// Attaches the window, which outlives its use until `windowWillClose`, and shows the first
  /// status.
  void attachWindow(EditorWindowSurface& window);

  HexDocument& document() { return *hexDocument_; }
  HexEditorState& editor() { return editor_; }
  const Bookmarks& bookmarks() const { return bookmarks_; }
  bool isBusy() const { return frame_.isBusy(); }

  /// True from `attachWindow` until the window closes. Work under way may keep the controller alive
  /// for longer.
  bool hasWindow() const { return window_ != nullptr; }
  void stopCurrentOperation() { frame_.requestStop(); }

  /// The size, offset, mode and selection as the status line shows them.
  std::string statusText() const;

  /// Decides whether the window may close now; alerts when it may not because of a running
  /// operation.
  bool windowShouldClose();

  /// Asks about unsaved changes as far as needed, saves on request, and reports whether closing may
  /// go on.
  void requestClose(std::function<void(bool)> completion);

  /// Closes the window of a document that came to nothing, without asking.
  void closeUnusedWindow();

  /// The window has closed or is about to, whatever the reason.
  void windowWillClose();

  // HexWindowControllerNotices.cpp: sentences in the status area. A notice stays until another one
  // takes its place, the window's next command begins, the caret or the selection moves, or bytes
  // change. Without a window nothing is shown.

  static constexpr const char* kNothingToUndo = "There is nothing to undo.";
  static constexpr const char* kNothingToRedo = "There is nothing to redo.";

  void showNotice(const std::string& text);
  void clearNotice();

  /// Beeps and shows `reason`, a sentence.
  void refuse(const std::string& reason);
  void didRefuse(const std::string& reason) override;

  /// Shows the error's sentence with the system's reason, when it has one; beside an alert with the
  /// sentence alone.
  void noteReason(const Error& error);

  /// Names the file that could not be opened, and why.
  void noteOpenFailure(const FileLocation& location, const Error& error);

  // HexWindowControllerCommands.cpp: commands by the names that menus use.

  /// True when an editor has the command of this menu action ("forwardGoToOffset:").
  static bool hasCommand(std::string_view action);
  void perform(std::string_view action);

  // HexWindowControllerEditing.cpp: announced edits, undo, applying results.

  void announceEdit(std::int64_t start, std::int64_t removedCount,
                    std::int64_t insertedCount) override;
  void editDidNotHappen() noexcept override;
  void hexEditorDidEdit(HexEditorState& editor) override;
  void updateStatus() override;
  std::int64_t caretOffset() const override { return editor_.caretOffset(); }
  HexSelection selection() const override { return editor_.selection(); }
  void restoreCaretAndSelection(std::int64_t caret, HexSelection selection) noexcept override;

  /// Called before a command changes the bytes; the record becomes part of the history with
  /// `markManualEdit`. When memory runs out, nothing has changed.
  bool registerUndoEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
                        const std::string& actionName, std::optional<ByteBuffer> removed = {});
  bool registerUndoSnapshot(const std::string& actionName,
                            std::optional<std::int64_t> resultingByteCount);

  /// After a command changed the bytes itself: caret, selection, history and change count; then
  /// shows them.
  void markManualEdit(std::int64_t caretOffset, HexSelection selection, bool undoRegistered);

  void undo();
  void redo();
  void deleteSelection();
  void selectAll();

  // HexWindowControllerTasks.cpp: background runners and the checks before a command.

  bool beginBusyStatus(const std::string& text) { return frame_.beginBusyStatus(text); }
  void endBusyStatus() { frame_.endBusyStatus(); }

  /// Runs `work(TaskProgress&)` off the main thread in the busy state.
  template <class Work, class T = std::invoke_result_t<Work&, TaskProgress&>>
  void runBackgroundTask(const std::string& statusText, Work work,
                         std::function<void(Result<T>)> completion) {
    frame_.run(statusText, std::move(work), guarded(std::move(completion)));
  }

  /// The same; the work gets an immutable copy of all bytes and the normalised selection.
  template <class Work,
            class T = std::invoke_result_t<Work&, const ByteBuffer&, HexSelection, TaskProgress&>>
  void runBackgroundSnapshotTask(const std::string& statusText, HexSelection selection, Work work,
                                 std::function<void(Result<T>)> completion) {
    const HexSelection range = selection.normalized(byteCount());
    auto task = [work = std::move(work), bytes = hexDocument_->storage()->bytes,
                 range](TaskProgress& progress) mutable { return work(bytes, range, progress); };
    frame_.run(statusText, std::move(task), guarded(std::move(completion)));
  }

  /// The same; the work gets an immutable copy of the selected bytes alone. Copying is sharing: the
  /// bytes stay where they are, and an edit made meanwhile would go to a copy of its own.
  template <class Work,
            class T = std::invoke_result_t<Work&, std::span<const std::uint8_t>, TaskProgress&>>
  void runBackgroundSelectionSnapshotTask(const std::string& statusText, HexSelection selection,
                                          Work work, std::function<void(Result<T>)> completion) {
    auto selected = [work = std::move(work)](const ByteBuffer& bytes, HexSelection range,
                                             TaskProgress& progress) mutable {
      return work(bytes.span(range.start, range.length), progress);
    };
    runBackgroundSnapshotTask(statusText, selection, std::move(selected), std::move(completion));
  }

  /// Runs `work(bytes, range, TaskProgress&)` on all bytes and the selected range: in the
  /// background as above, but at once and without the busy state when fewer than
  /// `backgroundEditThresholdBytes` bytes are selected.
  template <class Work,
            class T = std::invoke_result_t<Work&, const ByteBuffer&, HexSelection, TaskProgress&>>
  void runSelectionTask(const std::string& statusText, HexSelection selection, Work work,
                        std::function<void(Result<T>)> completion) {
    const HexSelection range = selection.normalized(byteCount());
    if (range.length >= backgroundEditThresholdBytes) {
      return runBackgroundSnapshotTask(statusText, range, std::move(work), std::move(completion));
    }
    TaskProgress progress;
    completion(resultOf([&] { return work(hexDocument_->storage()->bytes, range, progress); }));
  }

  using MutationWork = std::function<ByteBuffer(std::span<const std::uint8_t>, TaskProgress&)>;
  using MutationCompletion = std::function<void(Result<SelectionMutation>)>;

  /// Transforms the selected bytes: at once when they are fewer than
  /// `backgroundEditThresholdBytes`, in the background otherwise.
  void runBackgroundSelectionMutationTask(const std::string& statusText, HexSelection selection,
                                          MutationWork work, MutationCompletion completion);

  /// Puts transformed bytes into the document as one undoable step; false when nothing was changed.
  bool applyCompletedSelectionMutation(const Result<SelectionMutation>& result,
                                       HexSelection originalSelection,
                                       const std::string& actionName);

  std::optional<HexSelection> activeSelectionOrAlert(const std::string& title);
  bool validateGeneratedByteCount(std::int64_t count, const std::string& title);
  bool validateResultingDocumentByteCount(std::int64_t removing, std::int64_t inserting,
                                          const std::string& title);

  /// Shows a report in a window of its own, cut to what a window can show.
  void showUtilityReport(const std::string& title, const std::string& report);

  // HexWindowControllerExporting.cpp: writing the bytes to other files.

  void exportHexDump();
  void exportSelectionHexDump();
  void exportSelection();
  void exportIntelHex();
  void exportASCIIStrings();
  void exportDifferenceReport();
  void createBackupCopy();
  void saveAtomicBackup();
  /// Asks where to and writes a report that a window shows.
  void saveReport(const std::string& title, const std::string& report);

  // HexWindowControllerReports.cpp: analyses shown in windows of their own, comparing with a file.

  void showChecksums();
  void checksumRange();
  void showSelectionStatistics();
  void showFileInformation();
  void showEntropyMap();
  void showByteFrequency();
  void stringsViewer();
  void detectFileStructure();
  void showPCIRomInfo();
  void compareWithFile();
  void openCompareWindow();

  // HexWindowControllerFormats.cpp: patches, presets and bookmark files.

  void exportHexPatch();
  void applyHexPatch();
  void dryRunJSONPreset();
  void applyJSONPreset();
  void exportBookmarks();
  void importBookmarks();

  // HexWindowControllerFirmware.cpp: firmware checksums, presets for graphics cards.

  void validateACPIChecksum();
  void fixACPIChecksum();
  void validatePolarisChecksum();
  void fixPolarisChecksum();
  void applyRx580MacOSPreset();
  void applyRx580MacOSPresetAndFixChecksum();

  // HexWindowControllerDocument.cpp: saving, reverting, reloading, replacing.

  bool hasFileURLForMenu() const { return hexDocument_->location().has_value(); }
  void saveDocument();
  void saveDocumentAs();
  void revertDocument();
  void reloadFromDisk();

  /// Opens `location` into this window after the question about unsaved changes.
  void openURLInCurrentWindow(const FileLocation& location, OpenCompletion completion);

  /// A file was dropped on the window.
  void openDroppedFile(const FileLocation& location);

  void prepareToReplaceCurrentDocument(
      const FileLocation& afterValidatingReadURL, const std::string& validationErrorTitle,
      std::function<void(DocumentReplacementPreparation)> completion);
  void saveCurrentDocumentBeforeReplacing(std::function<void(DocumentSaveResult)> completion);
  void performDocumentSave(const FileLocation& destination, DocumentSaveOperation operation,
                           const std::string& statusTitle, SaveCompletion completion);
  void beginLoadFileInCurrentWindow(const FileLocation& location, bool preservingEditorState,
                                    LoadCompletion completion);

  void documentStorageDidReload() override;
  void documentIdentityDidChange() override;
  void activate() override;

  // HexWindowControllerClipboard.cpp

  void copy();
  void cut();
  void paste();
  void copySelectionAsText(const std::string& title, ClipboardTextStyle style);
  void copyCurrentOffset();
  void copySelectionRange();
  void copyFilePath();

  // HexWindowControllerTransforms.cpp: rewriting the selection in place, cropping to it.

  void invertSelection();
  void reverseSelection();
  void swapSelection16();
  void swapSelection32();
  void xorSelection();
  void andSelection();
  void orSelection();
  void cropToSelection();

  // HexWindowControllerInserting.cpp: filling, inserting bytes and files.

  void fillSelection();
  void fillSelectionWithZero();
  void fillSelectionWithFF();
  void insertBytes();
  void insertFileAtOffset();
  void appendFileToEnd();

  // HexWindowControllerValues.cpp: the values at the caret.

  void showDataInspectorDetail();
  void editCurrentValue();
  void bitEditor();

  // HexWindowControllerNavigation.cpp: going to places, view settings, the session's offset.

  /// Puts the caret at `offset`, or at the end when it lies behind it, and shows it.
  void showOffset(std::int64_t offset);
  void goToOffset();
  void goToStart();
  void goToEnd();
  void selectRange();
  void setBytesPerRow(std::int64_t bytesPerRow);
  void toggleInsertMode();
  void revealInFinder();
  std::optional<std::string> sessionOffsetKey() const;
  void restoreLastSessionOffset();

  // HexWindowControllerSearch.cpp: the panels and what they ask for, going to matches.

  /// What was searched for last; the panels start with it, Find Next and Find Previous repeat it.
  const SearchRequest& lastSearchRequest() const { return lastSearchRequest_; }

  void find();
  void replace();
  void findNext();
  void findPrevious();
  void findWildcardMask();

  void performFind(const SearchRequest& request, bool advanceFromCurrentSelection);
  void performSearchAll(const SearchRequest& request);

  // HexWindowControllerReplacing.cpp

  void performReplace(const SearchRequest& request);
  void performReplaceAll(const SearchRequest& request);

  // HexWindowControllerBookmarks.cpp

  void addBookmark();
  void nextBookmark();
  void previousBookmark();
  void showBookmarks();
  void clearBookmarks();
  void jumpToBookmark(std::int64_t offset);

 private:
  struct LoadedFile {
    FileLocation location;
    /// Held until the document has the location, so that no save lands on the file meanwhile.
    std::shared_ptr<ReadReservation> reservation;
    ReadSnapshot snapshot;
    std::optional<KnownFile> known;
  };

  void busyStateDidBegin() override;
  void showBusyStatus(const std::string& statusText) override;
  void busyStateDidEnd() override;
  void showProgress(double fraction, bool canStop) override;
  void hideProgress() override;

  /// Where the editor stood when a notice was shown.
  struct NoticePlace {
    std::int64_t caretOffset = 0;
    HexSelection selection;
    bool highNibble = true;

    bool operator==(const NoticePlace&) const = default;
  };
  NoticePlace noticePlace() const;
  void clearNoticeAfterMove();

  std::int64_t byteCount() const { return hexDocument_->storage()->count(); }
  HexSelection selectedRange() const { return editor_.selection().normalized(byteCount()); }
  void moveCaret(std::int64_t offset, HexSelection selection);
  /// The same for a place to go to, which is shown with its surroundings.
  void goTo(std::int64_t offset, HexSelection selection);

  /// What an edit is called in the Edit menu, and the title of an alert about its failure.
  struct EditTitles {
    std::string actionName;
    std::string failure;
  };
  /// Where an edit leaves the editor.
  struct EditPlace {
    std::int64_t caretOffset = 0;
    HexSelection selection;
  };
  void announceEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
                    const std::string& actionName);
  bool replaceRange(HexSelection range, std::span<const std::uint8_t> bytes,
                    const EditTitles& titles, const EditPlace& after);
  void unannouncedEditDidHappen();
  void announcedEditDidHappen(AnnouncedEdit edit);
  void forgetAnnouncements();

  /// A completion that is not called once this object has gone, and keeps it while it runs.
  template <class T>
  std::function<void(Result<T>)> guarded(std::function<void(Result<T>)> completion) {
    return [weak = weak_from_this(), completion = std::move(completion)](Result<T> result) {
      if (const auto self = weak.lock()) completion(std::move(result));
    };
  }
  void applyUserDefaults();
  void saveSessionOffset();
  void removeUndoActions() { hexDocument_->undoManager().removeAllActions(this); }

  void alert(const std::string& title, const std::string& text);
  /// The reason, which no alert has, is shown as a notice.
  void alert(const std::string& title, const Error& error);
  /// Whether there is a refusal; it is shown.
  bool alertRefusal(const Refusal& refusal, const std::string& title);
  /// Shows what went wrong, unless the user stopped it or the window has gone.
  void showFailure(const Error& error, const std::string& title);
  /// Whether work of a command failed; the failure is shown.
  template <class T>
  bool failed(const Result<T>& result, const std::string& title) {
    if (!result.isOk()) showFailure(result.error(), title);
    return !result.isOk() || !window_;
  }
  /// The same, with another title for the alert that the range has changed.
  bool applyCompletedSelectionMutation(const Result<SelectionMutation>& result,
                                       HexSelection originalSelection,
                                       const std::string& actionName,
                                       const std::string& misfitTitle);
  void writeMutation(const SelectionMutation& mutation, HexSelection range,
                     const std::string& actionName);
  /// Does `work`; returns true after showing why when it fails.
  bool attempt(const std::string& failureTitle, const std::function<void()>& work);
  /// Alerts and returns true when a running operation forbids to start an editing command.
  bool refuseWhileBusy(const std::string& title);
  bool refuseWithoutFile(const std::string& title);
  bool refuseWithoutBookmarks();

  std::optional<HexSelection> rangeForClipboardOrAlert(const std::string& title,
                                                       Refusal (*refusalOf)(std::int64_t length));
  void copySelectionToPasteboard(bool deleteAfterCopy);
  bool publishStandardClipboardPayload(StandardClipboardPayload payload);
  std::optional<std::string> boundedPasteboardString();
  void pastePreparedBytes(std::span<const std::uint8_t> bytes);

  void transformSelection(const std::string& title, const std::string& statusText,
                          HexSelection range, MutationWork work, std::function<void()> done = {});
  void swapSelectionBytes(std::int64_t groupSize, const std::string& title);
  void applyPatternOperationToSelection(const std::string& title, const std::string& statusText,
                                        ByteOperation operation);
  void installCrop(HexSelection range, ByteBuffer kept);

  struct InsertedFileTexts {
    std::string title;
    std::string actionName;
    std::string statusText;
    std::string tooLarge;
    std::string empty;
  };
  /// Bytes to be inserted.
  struct Insertion {
    std::int64_t offset = 0;
    ByteBuffer bytes;
    /// The whole document with them, where they are many.
    std::optional<ByteBuffer> document = {};
  };
  static Insertion prepareInsertion(const ByteBuffer& original, std::int64_t offset,
                                    ByteBuffer bytes, TaskProgress& progress);
  void insert(const Insertion& insertion, const EditTitles& titles);
  void generateRepeatedBytes(std::vector<std::uint8_t> pattern, std::int64_t count,
                             const std::string& statusText,
                             std::function<void(Result<Insertion>)> completion);
  void fillSelectionWithByte(std::uint8_t value, const std::string& title);
  void fillCurrentSelection(HexSelection range, std::vector<std::uint8_t> pattern,
                            const std::string& title, const std::string& statusText);
  void insertFill();
  Refusal refusalOfInserting(std::int64_t count) const;
  void generateAndInsert(std::vector<std::uint8_t> pattern, std::int64_t count,
                         const std::string& title, const std::string& statusText);
  void insertFile(const InsertedFileTexts& texts, const std::function<std::int64_t()>& place);
  void insertReadFile(const InsertedFileTexts& texts, const Result<Insertion>& read);

  bool refuseAtEnd(const std::string& title);
  bool fitsAtCaret(const std::vector<std::uint8_t>& bytes) const;
  void overwriteAtCaret(const std::vector<std::uint8_t>& bytes, const std::string& title,
                        const std::string& actionName);

  struct PromptedRun;
  enum class ReplaceDecision { replace, skip, cancel };

  void search(const SearchRequest& request, bool advanceFromCurrentSelection,
              const std::string& failureTitle);
  void startSearch(const SearchRequest& request, bool advanceFromCurrentSelection,
                   const std::string& failureTitle);
  void startSearchAll(const SearchRequest& request);
  void replaceAndFindNext(const SearchRequest& request);
  void startReplaceAll(const SearchRequest& request);
  void selectMatch(const SearchMatch& match);
  void showCount(std::int64_t count, const std::string& title, const std::string& answer);
  std::optional<SearchMatch> currentSelectionMatch(
      const SearchRequest& request, const std::vector<SearchCandidate>& candidateList) const;
  bool applyReplacement(const SearchMatch& match, std::span<const std::uint8_t> replacement);
  void installReplaceAll(ReplaceAllComputation computation);
  void showReplacedCount(std::int64_t count);
  void performReplaceAllWithPrompt(const std::shared_ptr<PromptedRun>& run);
  void offerNextOccurrence(const std::shared_ptr<PromptedRun>& run);
  bool takeDecision(PromptedRun& run, const SearchMatch& match);
  ReplaceDecision promptForReplace(const SearchMatch& match);
  void computePromptReplaceAll(const std::shared_ptr<PromptedRun>& run);
  void finishPromptReplaceAll(const PromptedRun& run, ReplaceAllComputation computation);
  void abandonPromptReplaceAll(const PromptedRun& run, const Error& error);

  struct ExportTexts {
    std::string title;
    std::string suggestedName;
    std::string statusText;
    std::string failureTitle;
    std::string savedPrefix = "Saved: ";
  };
  using ExportWork = std::function<void(const ByteBuffer&, const ExportTarget&, TaskProgress&)>;
  /// An output that must land on no open document, nor on `input`.
  ExportTarget exportTarget(FileLocation location, const std::optional<FileLocation>& input) const;
  void exportTo(const ExportTexts& texts, ExportWork work,
                const std::optional<FileLocation>& input = {});
  std::optional<HexSelection> rangeForExportOrAlert(const std::string& title);
  static void writeAllBytes(const ByteBuffer& bytes, const ExportTarget& target,
                            TaskProgress& progress);

  using ReportWork = std::function<std::string(const ByteBuffer&, HexSelection, TaskProgress&)>;
  void showReport(const std::string& title, const std::string& statusText, ReportWork work);

  void applyPatch(const QuillmorPatch& patch);
  void runJSONPreset(const std::string& title, const std::string& statusText, bool applies);
  void installPresetResult(JSONPresetResult result);

  bool writeChecksumByte(std::int64_t offset, std::uint8_t value, const EditTitles& titles);
  bool isConfirmed(const std::string& title, const std::string& text, const std::string& button,
                   const std::string& busyTitle);
  std::optional<PCIRomValidation> validatePCIRomForPolarisPreset(const std::string& title);
  std::optional<PolarisChecksumResult> applyPolarisChecksumFix();
  std::optional<Rx580PatchRun> applyRx580MacOSPatchRules();
  void applyRx580MacOSPresetInternal(bool fixChecksumAfterPatch);

  /// Where a file panel starts.
  std::optional<FileLocation> documentDirectory() const;
  void chooseDestinationAndSave(std::function<void(DocumentSaveResult)> completion);
  DocumentSaver::Hooks saveHooks(const FileLocation& destination,
                                 const std::shared_ptr<SaveCompletion>& completion);
  void saveDidEnd(const DocumentSaveOutcome& outcome, SaveCompletion& completion);
  void startLoad(const FileLocation& location, bool preservingEditorState,
                 LoadCompletion completion);
  void finishLoad(bool preservingEditorState, Result<LoadedFile> result,
                  const LoadCompletion& completion);
  OpenCurrentResult showLoadedFile(bool preservingEditorState, LoadedFile& file);
  void takeStorage(std::shared_ptr<HexStorage> storage, bool preservingEditorState) noexcept;
  void showStorage();
  void loadPreservingEditorState(const FileLocation& location, const std::string& failureTitle,
                                 std::function<void()> success);

  const std::shared_ptr<HexDocument> hexDocument_;
  PlatformServices platform_;
  DocumentController& documents_;
  DocumentSaver& saver_;
  EditorWindowSurface* window_ = nullptr;
  WindowAlerts promptAlerts_{platform_.alerts, [this] { return hasWindow(); }};
  HexEditorState editor_;
  Bookmarks bookmarks_;
  UndoRecords undoRecords_;
  BackgroundTaskFrame frame_;
  SearchRequest lastSearchRequest_;
  std::string lastWildcardText_;
  /// Present while a notice is shown.
  std::optional<NoticePlace> noticePlace_;
  /// Where the newest undo step left its bytes, as long as it is a typed edit and the last change.
  std::optional<HexSelection> newestRecordedEdit_;
  /// From its announcement until it has happened.
  std::optional<AnnouncedEdit> announcedEdit_;
};

}  // namespace quillmor
