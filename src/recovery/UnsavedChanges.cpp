#include "recovery/UnsavedChanges.h"

#include <utility>

#include "platform/RunInBackground.h"

namespace quillmor {

UnsavedChanges::UnsavedChanges(std::shared_ptr<HexDocument> document, BackgroundExecutor& executor,
                               const RecordStore* store, Owner owner)
    : document_(std::move(document)),
      executor_(executor),
      owner_(std::move(owner)),
      records_(store != nullptr ? std::make_shared<UnsavedRecords>(*store) : nullptr) {}

/// Does `step`, which records a change. When it fails, the change waits for the next snapshot.
template <class Step>
void UnsavedChanges::recording(Step step) noexcept {
  const auto done = resultOf([&] { return step(), Done(); });
  if (!done.isOk()) records_->addUnknown();
  schedule_.didEdit(owner_.now());
  proceed();
}

void UnsavedChanges::willEdit(HexSelection, const ByteBuffer*) noexcept {
  if (!isRecording()) return;
  isEditing_ = true;
  wasUnedited_ = !document_->isDocumentEdited();
  if (run_) run_->stop(kPatience);
}

void UnsavedChanges::didEdit(const RecordedEdit& edit) noexcept {
  if (!isRecording()) return;
  isEditing_ = false;
  if (!document_->isDocumentEdited()) return startAnew();
  recording([&] {
    const ByteBuffer& bytes = document_->storage()->bytes;
    if (isAnew_ || !isOriginalFile()) {
      // An untitled document is nothing before its first edit; a file is what was read or saved.
      const std::int64_t countBefore = bytes.size() - edit.insertedCount + edit.removedCount;
      const bool isBase = document_->location() ? hasKnownFile() : countBefore == 0;
      beginRecording(wasUnedited_ && isBase);
    }
    records_->add({.time = RecordTime::now(),
                   .actionName = edit.actionName,
                   .offset = edit.offset,
                   .removedCount = edit.removedCount,
                   .inserted = bytes.span(edit.offset, edit.insertedCount),
                   .caretOffset = edit.caretOffset,
                   .selection = edit.selection});
  });
}

void UnsavedChanges::documentDidChange() noexcept {
  if (!isRecording()) return;
  if (document_->location() != reportedFor_) hasReported_ = false;
  if (!document_->isDocumentEdited()) return startAnew();
  // An edit under way is reported when it is complete.
  if (!isEditing_ && (isAnew_ || !isOriginalFile())) contentWasReplaced();
}

void UnsavedChanges::contentWasReplaced() noexcept {
  if (!isRecording()) return;
  if (!document_->isDocumentEdited()) return startAnew();
  recording([&] { beginRecording(/*hasBase=*/false); });
}

void UnsavedChanges::fileWasChanged() noexcept {
  lostStatus_ = knownStatus();
  if (!isRecording() || !document_->isDocumentEdited() || records_->hasSnapshot()) return;
  recording([&] { records_->addUnknown(); });
}

void UnsavedChanges::discard() noexcept {
  if (isRecording()) startAnew();
}

std::function<void()> UnsavedChanges::removalOnceSaved() const {
  if (!isRecording() || isAnew_) return nullptr;
  return [records = records_, generation = records_->generation()] {
    records->removeSaved(generation);
  };
}

void UnsavedChanges::setKeeping(bool isKeeping) noexcept {
  if (std::exchange(isKeeping_, isKeeping) == isKeeping || !records_) return;
  if (isKeeping) return contentWasReplaced();
  tellKept();
  startAnew();
}

/// Notes what the records to come belong to. Without a base for a journal a snapshot comes first.
void UnsavedChanges::beginRecording(bool hasBase) {
  location_ = document_->location();
  status_ = knownStatus();
  if (!hasBase) records_->addUnknown();
  records_->setOrigin(header(owner_.places()));
  isAnew_ = false;
}

/// The document is as it is on disk: no record is of any use.
void UnsavedChanges::startAnew() noexcept {
  if (std::exchange(isAnew_, true)) return;
  schedule_.forgetEdits();
  kept_ = nullptr;
  if (run_) run_->stop(std::chrono::milliseconds(0));
  records_->forget();
  const auto removing = resultOf([&] { return flush(), Done(); });
  // Without memory for another thread the records go on this one.
  if (!removing.isOk()) resultOf([&] { return records_->flush(), Done(); });
}

/// False once the document was saved, or its file torn, since the records were begun.
bool UnsavedChanges::isOriginalFile() const {
  return location_ == document_->location() && status_ == knownStatus();
}

/// True if the file has what was last read from it or saved, as far as that is known.
bool UnsavedChanges::hasKnownFile() const {
  const auto status = knownStatus();
  return status && status != lostStatus_;
}

std::optional<StableFileStatus> UnsavedChanges::knownStatus() const {
  const auto& file = document_->knownFile();
  return file ? std::optional(file->status) : std::nullopt;
}

RecordHeader UnsavedChanges::header(const EditorPlaces& places) const {
  RecordHeader header;
  header.kind = RecordKind::unsavedChanges;
  if (const auto& file = document_->knownFile()) {
    header.file = file->status;
    if (file->digest) header.setBaseDigest(*file->digest);
  }
  header.caretOffset = places.caretOffset;
  header.selection = places.selection;
  if (const auto& location = document_->location()) {
    header.path = location->path();
  } else {
    header.untitledNumber = static_cast<std::uint32_t>(document_->untitledNumber());
  }
  return header;
}

RecordContent UnsavedChanges::snapshotContent() const {
  EditorPlaces places = owner_.places();
  RecordHeader recordHeader = header(places);
  return {.header = std::move(recordHeader), .bookmarks = std::move(places.bookmarks)};
}

}  // namespace quillmor
