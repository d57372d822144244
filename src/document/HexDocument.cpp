#include "document/HexDocument.h"

#include <algorithm>
#include <future>
#include <utility>

#include "document/DocumentLoader.h"
#include "document/FileSave.h"
#include "document/QuillmorResourceLimits.h"
#include "platform/RunInBackground.h"

namespace quillmor {

HexDocument::HexDocument(BackgroundExecutor& executor) : executor_(executor) {
  undoManager_.setObserver([this](UndoManager::Event event) {
    switch (event) {
      case UndoManager::Event::didRegister:
        return updateChangeCount(ChangeCount::Change::done);
      case UndoManager::Event::didUndo:
        return updateChangeCount(ChangeCount::Change::undone);
      case UndoManager::Event::didRedo:
        return updateChangeCount(ChangeCount::Change::redone);
    }
  });
}

HexDocument::~HexDocument() = default;

void requireDocumentByteCount(std::int64_t byteCount) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  if (byteCount <= limit) return;
  throw Error::quillmor(1205,
                        "The selected file exceeds Quillmor's safe in-memory document limit of " +
                            std::to_string(limit) + " bytes.");
}

std::string HexDocument::displayName() const {
  if (location_) return location_->shownName();
  return untitledNumber_ > 1 ? "Untitled " + std::to_string(untitledNumber_) : "Untitled";
}

void HexDocument::read(const FileLocation& location) {
  LoadedDocument loaded = loadDocument(location);
  installBytesAfterRead(std::move(loaded.snapshot.bytes), loaded.snapshot.modificationDate);
  location_ = std::move(loaded.location);
  knownFile_ = loaded.known;
  openingReadReservationHolder_.add(std::move(loaded.reservation));
}

void HexDocument::readData(ByteBuffer data) {
  requireDocumentByteCount(data.size());
  installBytesAfterRead(std::move(data), std::nullopt);
}

void HexDocument::installBytesAfterRead(ByteBuffer bytes, std::optional<double> modificationDate) {
  if (std::this_thread::get_id() == mainThread_) {
    replaceStorageAfterRead(std::move(bytes), modificationDate);
    return;
  }
  // Shared, so that the promise outlives the call that keeps it, whoever of both threads is faster.
  auto installed = std::make_shared<std::promise<void>>();
  executor_.postToMain([&, installed] {
    try {
      replaceStorageAfterRead(std::move(bytes), modificationDate);
      installed->set_value();
    } catch (...) {
      installed->set_exception(std::current_exception());
    }
  });
  installed->get_future().get();
}

void HexDocument::replaceStorageAfterRead(ByteBuffer bytes,
                                          std::optional<double> modificationDate) {
  storage_->bytes = std::move(bytes);
  modificationDate_ = modificationDate;
  notifyWindowControllersOfStorageReplacement();
}

void HexDocument::replaceContentsForSingleWindowOpen(std::shared_ptr<HexStorage> storage,
                                                     FileLocation location,
                                                     std::optional<double> modificationDate,
                                                     std::optional<KnownFile> file) {
  storage_ = std::move(storage);
  location_ = std::move(location);
  modificationDate_ = modificationDate;
  knownFile_ = file;
  lastSave_.reset();
  changeCount_.update(ChangeCount::Change::cleared);
  settleChanges();
  showIdentity();
}

void HexDocument::installRecovered(std::shared_ptr<HexStorage> storage,
                                   std::optional<FileLocation> location,
                                   std::optional<KnownFile> file) {
  storage_ = std::move(storage);
  location_ = std::move(location);
  knownFile_ = file;
  modificationDate_.reset();
  if (file) modificationDate_ = file->status.modificationDate();
  changeCount_.makeSavedStateUnreachable();
  showIdentity();
}

void HexDocument::settleChanges() {
  // What it does must not be done again, whatever it leads to.
  if (const auto settled = std::exchange(settled_, nullptr)) settled();
}

bool HexDocument::canAsynchronouslyWrite() {
  asyncWriteSnapshotHolder_.store(storage_->bytes);
  return true;
}

ByteBuffer HexDocument::bytesToWrite() {
  if (std::this_thread::get_id() == mainThread_) return storage_->bytes;
  if (auto snapshot = asyncWriteSnapshotHolder_.take()) return *std::move(snapshot);
  throw Error::quillmor(1210,
                        "The asynchronous document save did not have a valid content snapshot.");
}

void HexDocument::didSave(FileLocation realLocation, const KnownFile& file,
                          ChangeCount::Token token) {
  location_ = std::move(realLocation);
  knownFile_ = file;
  modificationDate_ = file.status.modificationDate();
  changeCount_.didSave(token);
  if (!isDocumentEdited()) settleChanges();
  showIdentity();
}

void HexDocument::updateChangeCount(ChangeCount::Change change) {
  const bool wasEdited = isDocumentEdited();
  changeCount_.update(change);
  if (wasEdited != isDocumentEdited()) showIdentity();
}

void HexDocument::makeSavedStateUnreachable() {
  const bool wasEdited = isDocumentEdited();
  changeCount_.makeSavedStateUnreachable();
  if (!wasEdited) showIdentity();
}

void HexDocument::makeWindowControllers(const WindowMaker& make) {
  addWindowController(make(*this));
  openingReadReservationHolder_.releaseAll();
}

void HexDocument::addWindowController(std::shared_ptr<DocumentWindow> window) {
  windows_.push_back(std::move(window));
}

void HexDocument::removeWindowController(const DocumentWindow* window) {
  std::erase_if(windows_, [window](const auto& held) { return held.get() == window; });
}

void HexDocument::activateOpenWindows() {
  for (const auto& window : windows_) window->activate();
}

void HexDocument::notifyWindowControllersOfStorageReplacement() {
  for (const auto& window : windows_) window->documentStorageDidReload();
}

void HexDocument::showIdentity() {
  for (const auto& window : windows_) {
    retryingWithoutMemory([&] { window->documentIdentityDidChange(); });
  }
}

}  // namespace quillmor
