#include "document/DocumentSaver.h"

#include <cerrno>
#include <utility>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/OutputDestination.h"
#include "fileaccess/ResolvedPaths.h"
#include "fileaccess/StableReading.h"
#include "fileaccess/UrlReservations.h"
#include "platform/RunInBackground.h"

namespace quillmor {

/// One save under way. It keeps the document alive and the destination reserved until it ends.
struct DocumentSaver::Job {
  std::shared_ptr<HexDocument> document;
  /// The destination right before this save.
  DocumentDestination destination;
  DocumentSaveOperation operation;
  Hooks hooks = {};
  std::shared_ptr<OutputReservation> reservation = {};
  /// Whether the destination is the document's own file.
  bool isOwnFile = false;
  bool hasEnded = false;
  ChangeCount::Token token{};

  void end(DocumentSaveResult result, std::optional<Error> error = std::nullopt) {
    if (std::exchange(hasEnded, true)) return;
    document->dropSnapshot();
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
  DocumentDestination destination;
  /// Whether the file there is not the one that the document was read from or saved to.
  bool isChanged = false;
};

/// How the write ended, and what the destination looks like now.
struct DocumentSaver::WriteOutcome {
  std::optional<Error> error;
  std::optional<KnownFile> file = {};
  std::optional<FileLocation> realLocation = {};
};

namespace {

/// What a failed write that has touched the file made of it; absent when another file has taken its
/// place, or when that cannot be told.
std::optional<KnownFile> tornFile(const DocumentDestination& before) {
  const auto now =
      resultOf([&] { return SecureFileAccess::documentDestination(before.location).found; });
  if (!now.isOk() || !now.value() || !before.found) return std::nullopt;
  const bool isSameFile = now.value()->identity() == before.found->identity();
  if (!isSameFile || now.value() == before.found) return std::nullopt;
  return KnownFile{*now.value()};
}

/// A file that may be written but not read, or that has more bytes than a document can have: it can
/// be overwritten as ever, but there is nothing to put back.
bool hasNoBytesToKeep(const Error& error) {
  const bool isForbidden = error.domain() == ErrorDomain::posix && error.code() == EACCES;
  return isForbidden || SecureFileAccess::isExceededLimit(error);
}

/// The bytes of a file that is to be overwritten, as far as they can be kept.
std::optional<ByteBuffer> bytesToKeep(const DocumentDestination& destination,
                                      TaskProgress* progress) {
  const auto read = resultOf([&] {
    return SecureFileAccess::stableBytes(
        destination.location, QuillmorResourceLimits::maximumDocumentByteCount(), progress);
  });
  if (progress != nullptr) progress->restart();
  if (read.isOk() && read.value().status == *destination.found) return read.value().bytes;
  if (read.isOk()) throw SecureFileAccess::changedDestinationError();
  if (hasNoBytesToKeep(read.error())) return std::nullopt;
  throw read.error();
}

}  // namespace

void DocumentSaver::save(const std::shared_ptr<HexDocument>& document,
                         const FileLocation& destination, DocumentSaveOperation operation,
                         Hooks hooks) {
  auto job = resultOf([&] {
    return std::make_shared<Job>(Job{document, DocumentDestination{destination}, operation});
  });
  if (!job.isOk()) return hooks.completion({DocumentSaveResult::failed, std::move(job.error())});
  job.value()->hooks = std::move(hooks);
  endIfItFails(*job.value(), [&] { prepare(job.value()); });
}

void DocumentSaver::prepare(const std::shared_ptr<Job>& job) {
  const auto prepare = [location = job->destination.location, known = job->document->knownFile(),
                        byteCount = job->document->storage()->count(),
                        progress = job->hooks.progress] {
    Preparation preparation{SecureFileAccess::reserveOutputURL(location),
                            SecureFileAccess::documentDestination(location)};
    SecureFileAccess::requireWritable(preparation.destination, byteCount);
    preparation.isChanged = known && known->hasChanged(preparation.destination, progress.get());
    return preparation;
  };
  runInBackground(executor_, prepare, [this, job](Result<Preparation> preparation) {
    endIfItFails(*job, [&] { prepared(job, std::move(preparation)); });
  });
}

template <class Step>
void DocumentSaver::endIfItFails(Job& job, Step step) {
  auto outcome = resultOf([&] { return step(), Done(); });
  if (outcome.isOk()) return;
  if (job.hasEnded) throw std::move(outcome.error());
  job.end(DocumentSaveResult::failed, std::move(outcome.error()));
}

void DocumentSaver::prepared(const std::shared_ptr<Job>& job, Result<Preparation> preparation) {
  if (!preparation.isOk()) throw std::move(preparation.error());
  job->reservation = preparation.value().reservation;
  job->destination = std::move(preparation.value().destination);
  const FileLocation& destination = job->destination.location;
  SecureFileAccess::validateDistinctOutputURL(destination,
                                              documents_.openDocumentURLs(job->document.get()));
  const auto& location = job->document->location();
  job->isOwnFile = location && (job->operation == DocumentSaveOperation::save ||
                                SecureFileAccess::urlsReferToSameFile(*location, destination));
  if (job->isOwnFile && preparation.value().isChanged) return askAndWrite(job);
  write(job);
}

void DocumentSaver::askAndWrite(const std::shared_ptr<Job>& job) {
  if (!job->hooks.confirmOverwritingChangedFile()) return job->end(DocumentSaveResult::cancelled);
  // The question may have stood for a long time.
  job->destination = SecureFileAccess::documentDestination(job->destination.location);
  write(job);
}

void DocumentSaver::write(const std::shared_ptr<Job>& job) {
  job->hooks.willWrite();
  job->token = job->document->changeCountToken();
  job->document->canAsynchronouslyWrite();
  auto work = [document = job->document, destination = job->destination, isOwnFile = job->isOwnFile,
               ownBytes = job->hooks.ownBytes, progress = job->hooks.progress]() mutable {
    bool wasTouched = false;
    auto written = resultOf([&] {
      // Saving must never have to follow a link, so the real file becomes the document's location.
      // It is found before the write, because nothing may fail after it.
      FileLocation realLocation = SecureFileAccess::realLocation(destination.location);
      const bool isFile = destination.found && destination.found->isRegularFile();
      if (isOwnFile) destination.oldBytes = std::move(ownBytes);
      if (!isOwnFile && isFile) destination.oldBytes = bytesToKeep(destination, progress.get());
      return WriteOutcome{std::nullopt, document->write(destination, progress.get(), &wasTouched),
                          std::move(realLocation)};
    });
    if (written.isOk()) return std::move(written.value());
    return WriteOutcome{std::move(written.error()),
                        wasTouched ? tornFile(destination) : std::nullopt};
  };
  runInBackground(executor_, std::move(work), [this, job](Result<WriteOutcome> outcome) {
    endIfItFails(*job, [&] { written(job, std::move(outcome)); });
  });
}

void DocumentSaver::written(const std::shared_ptr<Job>& job, Result<WriteOutcome> outcome) {
  if (!outcome.isOk()) throw std::move(outcome.error());
  WriteOutcome& write = outcome.value();
  if (!write.error) {
    job->document->didSave(*std::move(write.realLocation), *write.file, job->token);
    return job->end(DocumentSaveResult::success);
  }
  // Another program was faster than the write, after the question or instead of it.
  if (job->isOwnFile && SecureFileAccess::isChangedDestination(*write.error))
    return askAndWrite(job);
  // What a failed write of ours left behind is no other program's change: the next try does not
  // ask.
  if (write.file && job->isOwnFile) job->document->setKnownFile(*write.file);
  throw *std::move(write.error);
}

}  // namespace quillmor
