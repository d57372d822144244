#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "base/ContentDigest.h"
#include "base/FileLocation.h"
#include "fileaccess/StableFileStatus.h"
#include "platform/FileWatcher.h"
#include "tools/analysis/ChangedRanges.h"
#include "window/commands/CommandContext.h"

namespace quillmor {

/// Tells the user of one window when another program has changed, replaced or deleted the
/// document's file, in a line of the window. Only other bytes count, not other times or
/// permissions.
///
/// The file is looked at off the main thread, soon after something may have happened to it. Its
/// bytes are read once, in chunks; each chunk is compared on the main thread with the document's
/// bytes as they are, so that typing never has to copy a shared document. What another operation of
/// the window or an edit comes between is looked at again.
///
/// Main thread only; the context outlives this object.
class OutsideChanges {
 public:
  explicit OutsideChanges(CommandContext& context) : context_(context) {}
  ~OutsideChanges();
  OutsideChanges(const OutsideChanges&) = delete;
  OutsideChanges& operator=(const OutsideChanges&) = delete;

  /// The document may have got another file, or have been read or saved.
  void documentDidChange();

  /// Looks at the file in a moment. Calls that follow one another lead to one look.
  void lookSoon();

  /// Opens a report of the ranges that the line is about.
  void showReport();

  /// Takes the line away until the file changes again. A later save asks all the same.
  void keepMine();

  /// Ends watching; the window has closed.
  void stop();

 private:
  /// Programs write a file in several steps; one look after the last of them is enough.
  static constexpr std::chrono::milliseconds kSettlingTime{200};
  /// A file that is being written all the time is not read all the time.
  static constexpr std::chrono::milliseconds kLongestDelay{5000};

  struct Look;

  /// The file as a look has found it and the user has been told. Without a status it was gone;
  /// without a digest it could not be read.
  struct Seen {
    std::optional<StableFileStatus> status;
    std::optional<ContentDigest> digest = {};
  };

  bool mayWatch() const;
  void beginLook();
  void nextStep(const std::shared_ptr<Look>& look);
  void stepDidEnd(const std::shared_ptr<Look>& look, const Result<Done>& outcome);
  bool isOvertaken(const Look& look) const;
  void compareChunk(Look& look) const;
  void conclude(Look& look);
  void wasRead(Look& look);
  void couldNotRead(const Look& look, const Error& error);
  void endLook();
  void show(const Look& look, std::optional<ContentDigest> digest, const std::string& what,
            bool canReload);
  void hideLine();

  CommandContext& context_;
  std::unique_ptr<FileWatch> watch_;
  std::optional<FileLocation> watched_;
  /// The document's file as it was last read or saved, when that was last looked at.
  std::optional<StableFileStatus> knownStatus_;
  std::optional<Seen> seen_;
  /// What the line says in detail; absent when it can say no more.
  std::optional<ChangedRanges> shownRanges_;
  std::shared_ptr<Look> look_;  ///< null while none is under way
  bool isDue_ = false;
  bool isLineShown_ = false;
  bool mustLookAgain_ = false;
  /// How long a look waits; longer when the ones before met a file that was being written.
  std::chrono::milliseconds delay_ = kSettlingTime;
};

}  // namespace quillmor
