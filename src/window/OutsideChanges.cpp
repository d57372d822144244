#include "window/OutsideChanges.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "fileaccess/FileErrors.h"
#include "fileaccess/StableFile.h"
#include "platform/RunInBackground.h"

namespace quillmor {

/// One look at the file. The background work and the main thread use it in turns.
struct OutsideChanges::Look {
  FileLocation location;
  KnownFile known;
  /// The last file that was seen, not to be read again.
  std::optional<StableFileStatus> seenStatus;
  ChangeCount::Token token;

  enum class Found { gone, asKnown, asSeen, noRegularFile, file };
  Found found = Found::gone;
  std::optional<StableFileStatus> status = {};
  std::unique_ptr<StableFile> file = {};
  /// The bytes that were read last, and how many have been read.
  std::vector<std::uint8_t> chunk = {};
  std::int64_t position = 0;
  ContentDigester digester = {};
  ChangedRanges ranges = {};

  bool isAtEnd() const { return !file || position == file->size(); }
  bool isOtherFile() const { return status && status->identity() != known.status.identity(); }
  /// Whether the bytes must have changed, read or not.
  bool isCertainlyChanged() const { return isOtherFile() || status->size != known.status.size; }

  /// Does the next part, which may wait for a disk.
  void advance() {
    if (!file) find();
    if (file) readChunk();
  }

 private:
  void find() {
    status = SecureFileAccess::fileStatusIfExists(location, FollowSymlinks::no);
    found = whatIsThere();
    // No reservation: a save must never be refused because of a look, which a save overtakes.
    if (found == Found::file)
      file.reset(new StableFile(StableFile::reservedByCaller(location, std::nullopt)));
  }

  Found whatIsThere() const {
    if (!status) return Found::gone;
    if (*status == known.status) return Found::asKnown;
    if (status == seenStatus) return Found::asSeen;
    return status->isRegularFile() ? Found::file : Found::noRegularFile;
  }

  void readChunk() {
    const std::int64_t count =
        std::min(SecureFileAccess::kReadChunkByteCount, file->size() - position);
    chunk.resize(static_cast<std::size_t>(count));
    file->read(position, chunk);
    digester.append(chunk);
    position += count;
    if (!isAtEnd()) return;
    file->requireUnchanged();
    status = file->status();
  }
};

OutsideChanges::~OutsideChanges() = default;

bool OutsideChanges::mayWatch() const {
  const HexDocument& document = context_.document();
  return context_.hasWindow() && document.location() && document.knownFile();
}

void OutsideChanges::documentDidChange() {
  if (!mayWatch()) return stop();
  const HexDocument& document = context_.document();
  if (knownStatus_ != document.knownFile()->status) {
    knownStatus_ = document.knownFile()->status;
    seen_.reset();
    hideLine();
  }
  if (watched_ == document.location()) return;
  watch_.reset();
  watch_ =
      context_.platform().fileWatcher.watch(*document.location(), [this, owner = context_.owner()] {
        if (const auto held = owner.lock()) lookSoon();
      });
  watched_ = document.location();
}

void OutsideChanges::stop() {
  watch_.reset();
  watched_.reset();
  knownStatus_.reset();
  seen_.reset();
  hideLine();
}

void OutsideChanges::lookSoon() {
  if (!mayWatch() || std::exchange(isDue_, true)) return;
  context_.platform().executor.postToMainAfter(delay_, [this, owner = context_.owner()] {
    const auto held = owner.lock();
    if (!held) return;
    isDue_ = false;
    beginLook();
  });
}

void OutsideChanges::beginLook() {
  if (!mayWatch()) return;
  if (look_) {
    mustLookAgain_ = true;
    return;
  }
  // Whatever the operation does to the file is not another program's change.
  if (context_.isBusy()) return lookSoon();
  const HexDocument& document = context_.document();
  const auto look = std::make_shared<Look>(Look{.location = *document.location(),
                                                .known = *document.knownFile(),
                                                .seenStatus = seen_ ? seen_->status : std::nullopt,
                                                .token = document.changeCountToken()});
  nextStep(look);
  look_ = look;
}

void OutsideChanges::nextStep(const std::shared_ptr<Look>& look) {
  auto work = [look] { return look->advance(), Done(); };
  runInBackground(context_.platform().executor, std::move(work),
                  context_.guarded<Done>(
                      [this, look](const Result<Done>& outcome) { stepDidEnd(look, outcome); }));
}

void OutsideChanges::stepDidEnd(const std::shared_ptr<Look>& look, const Result<Done>& outcome) {
  if (!mayWatch()) return look_.reset();
  if (isOvertaken(*look)) {
    mustLookAgain_ = true;
    return endLook();
  }
  const auto shown = resultOf([&] {
    if (!outcome.isOk()) return couldNotRead(*look, outcome.error()), Done();
    compareChunk(*look);
    if (!look->isAtEnd()) return nextStep(look), Done();
    delay_ = kSettlingTime;
    return conclude(*look), Done();
  });
  // Without memory the look is given up; the next event leads to another one.
  if (!shown.isOk() || !outcome.isOk() || look->isAtEnd()) endLook();
}

/// True if the document is not the one any more that the look compares with.
bool OutsideChanges::isOvertaken(const Look& look) const {
  const HexDocument& document = context_.document();
  return context_.isBusy() || document.location() != look.location ||
         document.knownFile()->status != look.known.status ||
         document.changeCountToken() != look.token;
}

void OutsideChanges::compareChunk(Look& look) const {
  if (!look.file) return;
  const auto document = context_.session().bytes().span();
  const std::span<const std::uint8_t> chunk = look.chunk;
  const std::size_t begin = static_cast<std::size_t>(look.position) - chunk.size();
  const auto beside = document.subspan(std::min(begin, document.size()));
  const std::size_t common = std::min(chunk.size(), beside.size());
  look.ranges.compare(beside.first(common), chunk.first(common));
  look.ranges.addAdded(chunk.subspan(common));
  if (look.isAtEnd()) look.ranges.addRemoved(beside.subspan(common));
}

void OutsideChanges::conclude(Look& look) {
  const std::string name = look.location.shownName();
  switch (look.found) {
    case Look::Found::asKnown:
      seen_.reset();
      return hideLine();
    case Look::Found::asSeen:
      return;
    case Look::Found::gone:
      // Told once, until something is there again.
      if (seen_ && !seen_->status) return;
      return show(look, std::nullopt, name + " was deleted on disk.", /*canReload=*/false);
    case Look::Found::noRegularFile:
      if (seen_ && seen_->status && seen_->status->identity() == look.status->identity()) return;
      return show(look, std::nullopt, name + " was replaced on disk.", /*canReload=*/false);
    case Look::Found::file:
      return wasRead(look);
  }
}

void OutsideChanges::wasRead(Look& look) {
  const ContentDigest digest = look.digester.digest();
  const bool isAsSeen = seen_ && seen_->digest == digest;
  const bool isAsKnown = look.known.digest == digest;
  if (isAsSeen && !isAsKnown) {
    seen_->status = look.status;
    return;
  }
  if (isAsKnown || look.ranges.rangeCount() == 0) {
    seen_ = Seen{.status = look.status, .digest = digest};
    return hideLine();
  }
  const std::string what = look.location.shownName() +
                           (look.isOtherFile() ? " was replaced on disk: " : " changed on disk: ") +
                           look.ranges.summary() + ".";
  show(look, digest, what, /*canReload=*/true);
  shownRanges_ = std::move(look.ranges);
}

void OutsideChanges::couldNotRead(const Look& look, const Error& error) {
  const bool isBeingWritten = SecureFileAccess::isChangedWhileReading(error);
  if (isBeingWritten) {
    delay_ = std::min(2 * delay_, kLongestDelay);
    mustLookAgain_ = true;
  }
  if (!look.status || !look.isCertainlyChanged() || (isBeingWritten && isLineShown_)) return;
  const char* const what = look.isOtherFile() ? " was replaced on disk." : " changed on disk.";
  show(look, std::nullopt, look.location.shownName() + what, /*canReload=*/true);
}

void OutsideChanges::endLook() {
  look_.reset();
  if (std::exchange(mustLookAgain_, false)) lookSoon();
}

void OutsideChanges::show(const Look& look, std::optional<ContentDigest> digest,
                          const std::string& what, bool canReload) {
  seen_ = Seen{.status = look.status, .digest = digest};
  shownRanges_.reset();
  isLineShown_ = true;
  context_.unsavedChanges().fileWasChanged();
  context_.window()->showOutsideChange(what,
                                       {.canShow = digest.has_value(), .canReload = canReload});
}

void OutsideChanges::hideLine() {
  shownRanges_.reset();
  if (std::exchange(isLineShown_, false) && context_.hasWindow())
    context_.window()->hideOutsideChange();
}

void OutsideChanges::showReport() {
  if (!shownRanges_ || !watched_) return;
  context_.showUtilityReport("Changes on Disk",
                             "File: " + watched_->shownPath() + "\n" + shownRanges_->summary() +
                                 "\nOld: the bytes in the window. New: the bytes on disk.\n" +
                                 shownRanges_->report());
}

void OutsideChanges::keepMine() {
  hideLine();
}

}  // namespace quillmor
