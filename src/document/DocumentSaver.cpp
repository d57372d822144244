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

/// What a failed write left behind; absent when that cannot be told either.
std::optional<StableFileStatus> statusAfterFailure(const FileLocation& destination) {
  try {
    return SecureFileAccess::fileStatusIfExists(destination, FollowSymlinks::no);
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
  auto job = std::make_shared<Job>(Job{std::move(document), destination, operation,
                                       std::move(hooks), nullptr, ChangeCount::Token{}});
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
  const auto& known = job->document->fileStatus();
  const bool changedOnDisk = job->operation == DocumentSaveOperation::save && known &&
                             preparation.value().statusOnDisk != known;
  if (changedOnDisk && !job->hooks.confirmOverwritingChangedFile()) {
    return job->end(DocumentSaveResult::cancelled);
  }
  write(job);
}

void DocumentSaver::write(const std::shared_ptr<Job>& job) {
  job->hooks.willWrite();
  job->token = job->document->changeCountToken();
  job->document->canAsynchronouslyWrite();
  const auto work = [document = job->document, destination = job->destination,
                     progress = job->hooks.progress] {
    WriteOutcome outcome;
    try {
      outcome.status = document->write(destination, progress.get());
    } catch (const Error& error) {
      outcome.error = error;
      outcome.status = statusAfterFailure(destination);
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
  if (write.error) {
    // What a failed write of ours left behind is no other program's change: the next try does not
    // ask.
    if (job->operation == DocumentSaveOperation::save && write.status) {
      job->document->setFileStatus(*write.status);
    }
    return job->end(DocumentSaveResult::failed, write.error);
  }
  job->document->didSave(job->destination, *write.status, job->token);
  job->end(DocumentSaveResult::success);
}

}  // namespace quillmor
