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

/// An output whose destination was found good and whose temporary file stands open.
struct PreparedOutput {
  TemporaryOutput temporary;
  std::shared_ptr<OutputReservation> reservation;
  /// Absent when no file existed at the destination.
  std::optional<OutputDestinationSnapshot> initialDestinationSnapshot;
  /// Absent with it. It holds for as long as the snapshot does.
  std::optional<ReplacedFileAccess> replacedFileAccess;
};

namespace SecureFileAccess {

/// Reserves and checks the destination and creates the temporary file beside it, where stale ones
/// are removed first. Of a file that is to replace another, nobody but the owner may do anything
/// until it is complete. Codes 1207, 1200,
/// 1206, 1212, 1210, 1211, 1215 or a POSIX error; nothing is left behind on failure.
PreparedOutput prepareOutput(const FileLocation& destination,
                             std::span<const FileLocation> protectedUrls);

}  // namespace SecureFileAccess

/// Writes a file that appears at its destination complete, in one step, or not at all. It never
/// overwrites a protected file, nor one that appeared or changed while it was being written. A file
/// that replaces another takes over its access, as `SecureFileAccess::carryOverAccess` says.
///
/// Used by one thread at a time. A writer that is destroyed without a successful `finish` leaves
/// the destination as it was and removes its temporary file, unless that has been moved away or the
/// system refuses.
class AtomicTextFileWriter {
 public:
  /// Prepares the output. `protectedUrls` are the open documents and the input files of the running
  /// operation. Fails as `SecureFileAccess::prepareOutput` does.
  AtomicTextFileWriter(FileLocation destinationUrl, std::vector<FileLocation> protectedUrls);
  ~AtomicTextFileWriter();
  AtomicTextFileWriter(const AtomicTextFileWriter&) = delete;
  AtomicTextFileWriter& operator=(const AtomicTextFileWriter&) = delete;

  /// Appends bytes. Code 1001 once the writer is finished or closed, else a POSIX error.
  void write(std::span<const std::uint8_t> data);

  /// Appends UTF-8 text as it stands.
  void write(std::string_view text);

  /// Makes the file durable and moves it to the destination; a second call does nothing. Codes
  /// 1206, 1212, 1210, 1211, 1213, 1214, 1215 or a POSIX error. After bytes were lost (a failed
  /// write, flush or close) every call reports that loss and nothing is ever installed.
  ///
  /// After any failure the destination is as it was. Once the file is in place its directory is
  /// flushed as well; should only that fail, the name may be lost in a power cut, but the output is
  /// complete and this is no failure.
  ///
  /// `beforeInstalling` is called when the file is durable and not yet in its place; what it throws
  /// is passed on, and nothing is installed.
  void finish(const std::function<void()>& beforeInstalling = {});

 private:
  /// Only moves, because the temporary file exists by now: nothing may fail before there is a
  /// destructor to remove it.
  AtomicTextFileWriter(FileLocation&& destinationUrl, std::vector<FileLocation>&& protectedUrls,
                       PreparedOutput&& prepared) noexcept;

  void completeTemporaryFile();
  void closeIfNeeded();
  void atomicallyInstallTemporaryFile();
  void installTemporaryFileWithoutReplacing();
  void installTemporaryFileByHardLink();
  void replaceDestinationWithTemporaryFile(const OutputDestinationSnapshot& expected);

  const FileLocation destinationUrl_;
  TemporaryOutput temporary_;
  const std::vector<FileLocation> protectedUrls_;
  const std::shared_ptr<OutputReservation> outputReservation_;
  const std::optional<OutputDestinationSnapshot> initialDestinationSnapshot_;
  const std::optional<ReplacedFileAccess> replacedFileAccess_;
  bool finished_ = false;
  bool closed_ = false;
  /// The first failure after which the temporary file cannot be trusted to hold what was written.
  std::optional<Error> finalFailure_;
};

}  // namespace quillmor
