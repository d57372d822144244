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
  /// Whether the destination is the document's own file.
  bool isOwnFile = false;
  bool hasEnded = false;
  ChangeCount::Token token{};

  void end(DocumentSaveResult result, std::optional<Error> error = std::nullopt) {
    if (std::exchange(hasEnded, true)) return;
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
      std::make_shared<Job>(Job{std::move(document), destination, operation, std::move(hooks), {}});
  const auto prepare = [destination] {
    Preparation preparation;
    preparation.reservation = SecureFileAccess::reserveOutputURL(destination);
    preparation.statusOnDisk =
        SecureFileAccess::fileStatusIfExists(destination, FollowSymlinks::no);
    return preparation;
  };
  runInBackground(executor_, prepare, std::function([this, job](Result<Preparation> preparation) {
                    endIfItFails(*job, [&] { prepared(job, std::move(preparation)); });
                  }));
}

template <class Step>
void DocumentSaver::endIfItFails(Job& job, Step step) {
  const auto outcome = resultOf([&] { return step(), Done(); });
  if (outcome.isOk()) return;
  if (job.hasEnded) throw outcome.error();
  job.end(DocumentSaveResult::failed, outcome.error());
}

void DocumentSaver::prepared(const std::shared_ptr<Job>& job, Result<Preparation> preparation) {
  if (!preparation.isOk()) throw preparation.error();
  job->reservation = preparation.value().reservation;
  SecureFileAccess::validateDistinctOutputURL(job->destination,
                                              documents_.openDocumentURLs(job->document.get()));
  const auto& location = job->document->location();
  job->isOwnFile = location && (job->operation == DocumentSaveOperation::save ||
                                SecureFileAccess::urlsReferToSameFile(*location, job->destination));
  const auto& known = job->document->fileStatus();
  job->statusBefore = preparation.value().statusOnDisk;
  if (job->isOwnFile && known && job->statusBefore != known) {
    if (!job->hooks.confirmOverwritingChangedFile()) return job->end(DocumentSaveResult::cancelled);
    // The question may have stood for a long time.
    job->statusBefore = SecureFileAccess::fileStatusIfExists(job->destination, FollowSymlinks::no);
  }
  write(job);
}

void DocumentSaver::write(const std::shared_ptr<Job>& job) {
  job->hooks.willWrite();
  job->token = job->document->changeCountToken();
  job->document->canAsynchronouslyWrite();
  const auto work = [document = job->document, destination = job->destination,
                     statusBefore = job->statusBefore, progress = job->hooks.progress] {
    const auto status = resultOf([&] { return document->write(destination, progress.get()); });
    if (status.isOk()) return WriteOutcome{std::nullopt, status.value()};
    return WriteOutcome{status.error(), tornFile(destination, statusBefore)};
  };
  runInBackground(executor_, work, std::function([this, job](Result<WriteOutcome> outcome) {
                    endIfItFails(*job, [&] { written(job, outcome); });
                  }));
}

void DocumentSaver::written(const std::shared_ptr<Job>& job, const Result<WriteOutcome>& outcome) {
  if (!outcome.isOk()) throw outcome.error();
  const WriteOutcome& write = outcome.value();
  if (write.error) {
    // What a failed write of ours left behind is no other program's change: the next try does not
    // ask.
    if (write.status && job->isOwnFile) job->document->setFileStatus(*write.status);
    throw *write.error;
  }
  job->document->didSave(job->destination, *write.status, job->token);
  job->end(DocumentSaveResult::success);
}

}  // namespace quillmor
