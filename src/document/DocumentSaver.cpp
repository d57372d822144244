#include "document/DocumentSaver.h"

#include <utility>

#include "fileaccess/OutputDestination.h"
#include "fileaccess/StableReading.h"
#include "fileaccess/UrlReservations.h"
#include "platform/RunInBackground.h"

namespace quillmor {

/// One save under way. It keeps the document alive and the destination reserved until it ends.
struct DocumentSaver::Job {
  std::shared_ptr<HexDocument> document;
  FileLocation destination;
  DocumentSaveOperation operation;
  Hooks hooks;
  std::shared_ptr<OutputReservation> reservation;
  /// The destination right before this save; absent when nothing was there.
  std::optional<StableFileStatus> statusBefore = {};
  ChangeCount::Token token{};

  void end(DocumentSaveResult result, std::optional<Error> error = std::nullopt) {
    if (reservation) reservation->release();
    if (error && error->isStopped()) {
      // Who stopped the save knows of it.
      result = DocumentSaveResult::cancelled;
      error.reset();
    }
    hooks.completion({result, std::move(error)});
  }
};

/// What the first background step finds out.
struct DocumentSaver::Preparation {
  std::shared_ptr<OutputReservation> reservation;
  std::optional<StableFileStatus> statusOnDisk;
};

namespace {

/// What a failed write made of the file that was there before; absent when it did not get to change
/// that file, when another file has taken its place, or when that cannot be told.
std::optional<StableFileStatus> tornFile(const FileLocation& destination,
                                         const std::optional<StableFileStatus>& before) {
  try {
    const auto now = SecureFileAccess::fileStatusIfExists(destination, FollowSymlinks::no);
    const bool isSameFile = now && before && now->identity() == before->identity();
    return isSameFile && now != before ? now : std::nullopt;
  } catch (const Error&) {
    return std::nullopt;
  }
}

}  // namespace

/// How the write ended, and what the destination looks like now.
struct DocumentSaver::WriteOutcome {
  std::optional<Error> error;
  std::optional<StableFileStatus> status;
};

void DocumentSaver::save(std::shared_ptr<HexDocument> document, const FileLocation& destination,
                         DocumentSaveOperation operation, Hooks hooks) {
  auto job =
      std::make_shared<Job>(Job{std::move(document), destination, operation, std::move(hooks),
                                nullptr, std::nullopt, ChangeCount::Token{}});
  const auto prepare = [destination] {
    Preparation preparation;
    preparation.reservation = SecureFileAccess::reserveOutputURL(destination);
    preparation.statusOnDisk =
        SecureFileAccess::fileStatusIfExists(destination, FollowSymlinks::no);
    return preparation;
  };
  runInBackground(executor_, prepare, std::function([this, job](Result<Preparation> preparation) {
                    prepared(job, std::move(preparation));
                  }));
}

void DocumentSaver::prepared(const std::shared_ptr<Job>& job, Result<Preparation> preparation) {
  if (!preparation.isOk()) return job->end(DocumentSaveResult::failed, preparation.error());
  job->reservation = preparation.value().reservation;
  try {
    SecureFileAccess::validateDistinctOutputURL(job->destination,
                                                documents_.openDocumentURLs(job->document.get()));
  } catch (const Error& error) {
    return job->end(DocumentSaveResult::failed, error);
  }
  job->statusBefore = preparation.value().statusOnDisk;
  if (isChangedByAnotherProgram(*job) && !job->hooks.confirmOverwritingChangedFile()) {
    return job->end(DocumentSaveResult::cancelled);
  }
  write(job);
}

/// Whether the document's own file is no longer what the document was read from or saved to.
bool DocumentSaver::isChangedByAnotherProgram(const Job& job) {
  const auto& location = job.document->location();
  const auto& known = job.document->fileStatus();
  const bool isOwnFile =
      location && (job.operation == DocumentSaveOperation::save ||
                   SecureFileAccess::urlsReferToSameFile(*location, job.destination));
  return isOwnFile && known && job.statusBefore != known;
}

void DocumentSaver::write(const std::shared_ptr<Job>& job) {
  job->hooks.willWrite();
  job->token = job->document->changeCountToken();
  job->document->canAsynchronouslyWrite();
  const auto work = [document = job->document, destination = job->destination,
                     statusBefore = job->statusBefore, progress = job->hooks.progress] {
    WriteOutcome outcome;
    try {
      outcome.status = document->write(destination, progress.get());
    } catch (const Error& error) {
      outcome.error = error;
      outcome.status = tornFile(destination, statusBefore);
    }
    return outcome;
  };
  runInBackground(executor_, work, std::function([this, job](Result<WriteOutcome> outcome) {
                    written(job, std::move(outcome));
                  }));
}

void DocumentSaver::written(const std::shared_ptr<Job>& job, Result<WriteOutcome> outcome) {
  if (!outcome.isOk()) return job->end(DocumentSaveResult::failed, outcome.error());
  const WriteOutcome& write = outcome.value();
  if (write.error && write.status) {
    // What a failed write of ours left behind is no other program's change: the next try does not
    // ask.
    const bool isOwnFile = job->document->fileStatus() &&
                           job->statusBefore->identity() == job->document->fileStatus()->identity();
    if (isOwnFile) job->document->setFileStatus(*write.status);
  }
  if (write.error) return job->end(DocumentSaveResult::failed, write.error);
  job->document->didSave(job->destination, *write.status, job->token);
  job->end(DocumentSaveResult::success);
}

}  // namespace quillmor
