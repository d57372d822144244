#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/FileLocation.h"
#include "fileaccess/OutputDestination.h"
#include "fileaccess/ReplacedFileAccess.h"
#include "fileaccess/Reservations.h"
#include "fileaccess/TemporaryOutput.h"

namespace quillmor {

/// An output whose destination has been checked and whose temporary file is open.
struct PreparedOutput {
  TemporaryOutput temporary;
  std::shared_ptr<OutputReservation> reservation;
  /// Absent when no file existed at the destination.
  std::optional<OutputDestinationSnapshot> initialDestinationSnapshot;
  /// Absent without a snapshot, and valid as long as that is.
  std::optional<ReplacedFileAccess> replacedFileAccess;
};

namespace SecureFileAccess {

/// Reserves and checks the destination, removes stale temporary files in its directory and creates
/// a new one there. A file that will replace another is for its owner only until it is complete.
/// Codes 1207, 1200, 1206, 1212, 1210, 1211, 1215 or a POSIX error; on failure nothing remains.
PreparedOutput prepareOutput(const FileLocation& destination,
                             std::span<const FileLocation> protectedURLs);

}  // namespace SecureFileAccess

/// Writes a file that appears at its destination complete, in one step, or not at all. It never
/// overwrites a protected file, nor one that appeared or changed during the write. A file that
/// replaces another takes over its access; see `SecureFileAccess::carryOverAccess`.
///
/// Used by one thread at a time. A writer that is destroyed without a successful `finish` leaves
/// the destination unchanged and removes its temporary file, unless that was moved away or the
/// system refuses.
class AtomicTextFileWriter {
 public:
  /// Prepares the output. `protectedURLs` are the open documents and the input files of the running
  /// operation. Fails as `SecureFileAccess::prepareOutput` does.
  AtomicTextFileWriter(FileLocation destinationURL, std::vector<FileLocation> protectedURLs);
  ~AtomicTextFileWriter();
  AtomicTextFileWriter(const AtomicTextFileWriter&) = delete;
  AtomicTextFileWriter& operator=(const AtomicTextFileWriter&) = delete;

  /// Appends bytes. Code 1001 once the writer is finished or closed, else a POSIX error.
  void write(std::span<const std::uint8_t> data);

  /// Appends UTF-8 text as it stands.
  void write(std::string_view text);

  /// Flushes the file and moves it to the destination; a second call does nothing. Codes 1206,
  /// 1212, 1210, 1211, 1213, 1214, 1215 or a POSIX error. After a failed write, flush or close,
  /// every call reports that failure and nothing is ever installed.
  ///
  /// After any failure the destination is unchanged. Once the file is in place its directory is
  /// flushed as well. If only that fails, a power cut may lose the name, but the output is complete
  /// and this is no failure.
  ///
  /// `beforeInstalling` is called when the file is flushed and not yet in its place. What it throws
  /// is passed on, and nothing is installed.
  void finish(const std::function<void()>& beforeInstalling = {});

 private:
  /// Only moves: the temporary file exists, so nothing may fail before there is a destructor to
  /// remove it.
  AtomicTextFileWriter(FileLocation&& destinationURL, std::vector<FileLocation>&& protectedURLs,
                       PreparedOutput&& prepared) noexcept;

  void completeTemporaryFile();
  void closeIfNeeded();
  void atomicallyInstallTemporaryFile();
  void installTemporaryFileWithoutReplacing();
  void installTemporaryFileByHardLink();
  void replaceDestinationWithTemporaryFile(const OutputDestinationSnapshot& expected);

  const FileLocation destinationURL_;
  TemporaryOutput temporary_;
  const std::vector<FileLocation> protectedURLs_;
  const std::shared_ptr<OutputReservation> outputReservation_;
  const std::optional<OutputDestinationSnapshot> initialDestinationSnapshot_;
  const std::optional<ReplacedFileAccess> replacedFileAccess_;
  bool finished_ = false;
  bool closed_ = false;
  /// The first failure after which the content of the temporary file is uncertain.
  std::optional<Error> finalFailure_;
};

}  // namespace quillmor
