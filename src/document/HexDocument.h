#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/AsyncWriteSnapshotHolder.h"
#include "document/ChangeCount.h"
#include "document/DocumentWindow.h"
#include "document/HexStorage.h"
#include "document/KnownFile.h"
#include "document/SafetyCopy.h"
#include "document/SaveReceipt.h"
#include "document/UndoManager.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/Reservations.h"
#include "platform/BackgroundExecutor.h"

namespace quillmor {

/// One open file, or an untitled one: its bytes, where they live on disk, what has changed since,
/// and the windows that show them. Main thread only, except `bytesToWrite` and `write` during a
/// background save.
class HexDocument : public std::enable_shared_from_this<HexDocument> {
 public:
  using WindowMaker = std::function<std::shared_ptr<DocumentWindow>(HexDocument&)>;

  /// The one document type: every file is opened and saved as plain binary data.
  static constexpr std::string_view documentType = "com.tenvale.binary-data";

  /// Belongs to the thread that creates it, the main thread; `executor` outlives the document.
  explicit HexDocument(BackgroundExecutor& executor);
  ~HexDocument();
  HexDocument(const HexDocument&) = delete;
  HexDocument& operator=(const HexDocument&) = delete;

  const std::shared_ptr<HexStorage>& storage() const { return storage_; }
  UndoManager& undoManager() { return undoManager_; }

  /// The file this document is saved to; absent for an untitled document.
  const std::optional<FileLocation>& location() const { return location_; }

  /// Seconds since 1970 of the file's last modification as it was read or saved.
  const std::optional<double>& modificationDate() const { return modificationDate_; }

  /// The file as it was last read or saved; absent without a file.
  const std::optional<KnownFile>& knownFile() const { return knownFile_; }

  /// The file's name as titles and messages show it, or "Untitled" with the number of this untitled
  /// document from the second on.
  std::string displayName() const;
  int untitledNumber() const { return untitledNumber_; }
  void setUntitledNumber(int number) { untitledNumber_ = number; }

  /// True while the document was created empty for a window whose file is still being read.
  bool isPendingInitialLoad = false;

  /// Read reservations held from the first read until the document's window exists.
  ReadReservationHolder& openingReadReservationHolder() { return openingReadReservationHolder_; }

  // Reading.

  /// Reads `location` whole into the document; see `loadDocument`. After a failure the document is
  /// unchanged. The read reservation stays held until the windows are made.
  void read(const FileLocation& location);

  /// Installs bytes that came from elsewhere. Throws 1205 when they exceed the document limit.
  void readData(ByteBuffer data);

  /// `replaceStorageAfterRead` on the main thread, from any thread; returns when it is done.
  void installBytesAfterRead(ByteBuffer bytes, std::optional<double> modificationDate);
  void replaceStorageAfterRead(ByteBuffer bytes, std::optional<double> modificationDate);

  /// Makes this the document of another file, `file` when that is known: new storage, location and
  /// date, no unsaved changes. All of that has happened before the windows are told, which may
  /// fail.
  void replaceContentsForSingleWindowOpen(std::shared_ptr<HexStorage> storage,
                                          FileLocation location,
                                          std::optional<double> modificationDate,
                                          std::optional<KnownFile> file = std::nullopt);
  void setKnownFile(const KnownFile& file) { knownFile_ = file; }

  /// Makes this a document with unsaved changes, as they were recovered: new storage, the file they
  /// are to be saved to, if there is one, and that file as they were based on it. Otherwise as
  /// `replaceContentsForSingleWindowOpen`.
  void installRecovered(std::shared_ptr<HexStorage> storage, std::optional<FileLocation> location,
                        std::optional<KnownFile> file);

  /// `settled` is called once: when all changes of the document are in a file, or the user has
  /// given them up. Takes the place of the one before.
  void whenChangesAreSettled(std::function<void()> settled) { settled_ = std::move(settled); }

  /// To be called when the user has given up the unsaved changes and the document has closed.
  void changesWereGivenUp() { settleChanges(); }

  // Writing.

  /// The document's bytes, shared with it.
  ByteBuffer data() const { return storage_->bytes; }

  /// Takes the snapshot for the next `bytesToWrite` off the main thread; always true.
  bool canAsynchronouslyWrite();

  /// Drops a snapshot that will not be written, so that edits need not copy the bytes.
  void dropSnapshot() { asyncWriteSnapshotHolder_.take(); }

  /// The bytes to be written: the current ones on the main thread, and the snapshot taken before,
  /// which is gone then, on any other. Throws 1210 when there is no snapshot.
  ByteBuffer bytesToWrite();

  /// Keeps the safety copy of a save that has left the file incomplete until a later save succeeds
  /// or the document is closed.
  void setUnfinishedSave(std::shared_ptr<SafetyCopy> copy) { unfinishedSave_ = std::move(copy); }
  /// Null when no save has left its file incomplete.
  const std::shared_ptr<SafetyCopy>& unfinishedSave() const { return unfinishedSave_; }

  /// Notes a finished save: the real location and the file there. There are no unsaved changes if
  /// the bytes are still those of `token`, taken when the save began. All of that has happened
  /// before the windows are told, which may fail.
  void didSave(FileLocation realLocation, const KnownFile& file, ChangeCount::Token token);

  /// What the last successful save of this document into its file has done; absent before.
  const std::optional<SaveReceipt>& lastSave() const { return lastSave_; }
  void setLastSave(SaveReceipt receipt) { lastSave_ = std::move(receipt); }

  // Changes.

  bool isDocumentEdited() const { return changeCount_.isEdited(); }
  void updateChangeCount(ChangeCount::Change change);

  /// Notes a change that undo does not know: no undo or redo leads back to the saved state.
  void makeSavedStateUnreachable();
  ChangeCount::Token changeCountToken() const { return changeCount_.token(); }

  // Windows.

  /// Makes the document's window with `make`, adds it and releases the opening reservations.
  void makeWindowControllers(const WindowMaker& make);
  void addWindowController(std::shared_ptr<DocumentWindow> window);
  void removeWindowController(const DocumentWindow* window);
  const std::vector<std::shared_ptr<DocumentWindow>>& windowControllers() const { return windows_; }

  /// Brings every window of the document to the front.
  void activateOpenWindows();
  void notifyWindowControllersOfStorageReplacement();

  /// Lets the windows show name, location and edited state again.
  void showIdentity();

 private:
  void settleChanges();

  BackgroundExecutor& executor_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::shared_ptr<HexStorage> storage_ = std::make_shared<HexStorage>();
  UndoManager undoManager_;
  ChangeCount changeCount_;
  std::optional<FileLocation> location_;
  std::optional<double> modificationDate_;
  std::optional<KnownFile> knownFile_;
  int untitledNumber_ = 1;
  ReadReservationHolder openingReadReservationHolder_;
  AsyncWriteSnapshotHolder asyncWriteSnapshotHolder_;
  std::shared_ptr<SafetyCopy> unfinishedSave_;
  std::optional<SaveReceipt> lastSave_;
  std::vector<std::shared_ptr<DocumentWindow>> windows_;
  std::function<void()> settled_;
};

/// Throws 1205 when a document may not have so many bytes.
void requireDocumentByteCount(std::int64_t byteCount);

}  // namespace quillmor
