#include "document/DocumentSaver.h"

#include <utility>

#include "platform/RunInBackground.h"

namespace quillmor {

/// One save under way. It keeps the document alive and the destination reserved until it ends.
struct DocumentSaver::Job {
  std::shared_ptr<HexDocument> document;
  FileSave save;
  Hooks hooks = {};
  /// The other open documents that the destination has been compared with.
  std::vector<FileLocation> otherDocuments = {};
  bool hasEnded = false;
  /// The user wants the save even without a safety copy.
  bool goesWithoutCopy = false;
  EditorPlaces places = {};
  ChangeCount::Token token{};

  void end(DocumentSaveResult result, std::optional<Error> error = std::nullopt) {
    if (std::exchange(hasEnded, true)) return;
    document->dropSnapshot();
    save.release();
    if (error && error->isStopped()) {
      // Who stopped the save knows of it.
      result = DocumentSaveResult::cancelled;
      error.reset();
    }
    hooks.completion({result, std::move(error)});
  }
};

void DocumentSaver::save(const std::shared_ptr<HexDocument>& document,
                         const FileLocation& destination, DocumentSaveOperation operation,
                         Hooks hooks) {
  auto job = resultOf([&] {
    return std::make_shared<Job>(Job{document, FileSave({.destination = destination,
                                                         .operation = operation,
                                                         .ownFile = document->location(),
                                                         .known = document->knownFile(),
                                                         .safetyCopies = safetyCopies_})});
  });
  if (!job.isOk()) return hooks.completion({DocumentSaveResult::failed, job.error()});
  job.value()->hooks = std::move(hooks);
  endIfItFails(*job.value(), [&] { prepare(job.value()); });
}

void DocumentSaver::prepare(const std::shared_ptr<Job>& job) {
  job->otherDocuments = documents_.openDocumentURLs(job->document.get());
  auto work = [job, byteCount = job->document->storage()->count()] {
    job->save.prepare(byteCount, job->otherDocuments, job->hooks.progress.get());
    return Done();
  };
  runInBackground(executor_, std::move(work), [this, job](const Result<Done>& outcome) {
    endIfItFails(*job, [&] { prepared(job, outcome); });
  });
}

template <class Step>
void DocumentSaver::endIfItFails(Job& job, Step step) {
  const auto outcome = resultOf([&] { return step(), Done(); });
  if (outcome.isOk()) return;
  if (job.hasEnded) throw outcome.error();
  job.end(DocumentSaveResult::failed, outcome.error());
}

void DocumentSaver::prepared(const std::shared_ptr<Job>& job, const Result<Done>& outcome) {
  if (!outcome.isOk()) throw outcome.error();
  // A document may have been opened before the destination was reserved; none can be now.
  if (documents_.openDocumentURLs(job->document.get()) != job->otherDocuments) return prepare(job);
  if (job->save.overwritesOtherChanges()) return askAndWrite(job);
  write(job, Overwriting::whatWasFound);
}

void DocumentSaver::askAndWrite(const std::shared_ptr<Job>& job) {
  if (!job->hooks.confirmOverwritingChangedFile()) return job->end(DocumentSaveResult::cancelled);
  // The question may have stood for a long time.
  write(job, Overwriting::whatIsThereNow);
}

void DocumentSaver::write(const std::shared_ptr<Job>& job, Overwriting overwriting) {
  job->hooks.willWrite();
  if (job->hooks.places) job->places = job->hooks.places();
  job->token = job->document->changeCountToken();
  job->document->canAsynchronouslyWrite();
  auto work = [job, overwriting, isOnDisk = removalOfOlderRecords(*job)] {
    if (overwriting == Overwriting::whatIsThereNow) job->save.acceptChanges();
    TaskProgress* const progress = job->hooks.progress.get();
    const ByteBuffer bytes = job->document->bytesToWrite();
    if (!job->goesWithoutCopy) job->save.secure(bytes, job->places, progress);
    return job->save.write(bytes, progress, isOnDisk);
  };
  runInBackground(executor_, std::move(work),
                  [this, job, overwriting](Result<FileSave::Written> outcome) {
                    endIfItFails(*job, [&] { written(job, overwriting, std::move(outcome)); });
                  });
}

/// A kill after the save must not leave records of older bytes, so they go on its thread, before
/// its own record.
std::function<void()> DocumentSaver::removalOfOlderRecords(const Job& job) {
  std::function<void()> remove;
  if (job.hooks.didTakeBytes) remove = job.hooks.didTakeBytes();
  return [remove = std::move(remove), copy = job.document->unfinishedSave()] {
    if (remove) remove();
    if (copy) resultOf([&] { return copy->remove(), Done(); });
  };
}

void DocumentSaver::written(const std::shared_ptr<Job>& job, Overwriting overwriting,
                            Result<FileSave::Written> outcome) {
  if (outcome.isOk()) {
    FileSave::Written& written = outcome.value();
    forgetUnfinishedSave(*job->document);
    job->document->setLastSave(std::move(written.receipt));
    job->document->didSave(std::move(written.realLocation), written.file, job->token);
    return job->end(DocumentSaveResult::success);
  }
  if (job->save.lacksSafetyCopy() && !job->goesWithoutCopy) {
    if (!job->hooks.confirmSavingWithoutSafetyCopy || !job->hooks.confirmSavingWithoutSafetyCopy())
      return job->end(DocumentSaveResult::cancelled);
    job->goesWithoutCopy = true;
    return write(job, overwriting);
  }
  // Another program was faster than the write, after the question or instead of it.
  if (job->save.isOwnFile() && SecureFileAccess::isChangedDestination(outcome.error()))
    return askAndWrite(job);
  // What a failed write of ours left is no other program's change: the next try does not ask.
  const auto& torn = job->save.tornOwnFile();
  if (torn) job->document->setKnownFile(*torn);
  std::shared_ptr<SafetyCopy> copy = job->save.takeSafetyCopy();
  // No undo leads back to what the file had.
  if (torn || copy) job->document->makeSavedStateUnreachable();
  if (copy) {
    forgetUnfinishedSave(*job->document);
    job->document->setUnfinishedSave(std::move(copy));
    throw outcome.error().withMessage(outcome.error().message() +
                                      " Its new bytes are kept for recovery.");
  }
  throw outcome.error();
}

void DocumentSaver::forgetUnfinishedSave(HexDocument& document) noexcept {
  if (!document.unfinishedSave()) return;
  // What cannot be removed is found again when the program starts, and the user is asked.
  resultOf([&] {
    executor_.runDetached(
        [copy = document.unfinishedSave()] { resultOf([&] { return copy->remove(), Done(); }); });
    return Done();
  });
  document.setUnfinishedSave(nullptr);
}

}  // namespace quillmor
