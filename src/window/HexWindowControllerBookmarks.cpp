// The bookmark commands.

#include "base/HexText.h"
#include "window/HexWindowController.h"
#include "window/commands/BookmarkReport.h"

namespace quillmor {

namespace {

constexpr const char* kTitle = "Bookmarks";

}  // namespace

void HexWindowController::addBookmark() {
  if (refuseWhileBusy(kTitle)) return;
  const std::int64_t offset = editor_.caretOffset();
  const std::string shown = "0x" + uppercaseHex(offset, 8) + ".";
  switch (bookmarks_.add(offset)) {
    case Bookmarks::AddResult::alreadyPresent:
      return alert(kTitle, "Bookmark already exists at " + shown);
    case Bookmarks::AddResult::limitReached:
      return alert(kTitle, "The bookmark limit of " +
                               std::to_string(Bookmarks::maxBookmarkEntries) +
                               " entries has been reached.");
    case Bookmarks::AddResult::added:
      alert(kTitle, "Added bookmark at " + shown);
      updateStatus();
  }
}

bool HexWindowController::refuseWithoutBookmarks() {
  if (!bookmarks_.offsets().empty()) return false;
  alert(kTitle, "No bookmarks are set.");
  return true;
}

void HexWindowController::nextBookmark() {
  if (refuseWithoutBookmarks()) return;
  jumpToBookmark(*bookmarks_.next(editor_.caretOffset()));
}

void HexWindowController::previousBookmark() {
  if (refuseWithoutBookmarks()) return;
  jumpToBookmark(*bookmarks_.previous(editor_.caretOffset()));
}

void HexWindowController::jumpToBookmark(std::int64_t offset) {
  goTo(offset, {});
}

void HexWindowController::showBookmarks() {
  if (refuseWithoutBookmarks()) return;
  const auto work = [offsets = bookmarks_.offsets()](TaskProgress&) {
    return bookmarkReport(offsets);
  };
  runBackgroundTask("Listing bookmarks…", work, std::function([this](Result<std::string> report) {
                      if (failed(report, "Show Bookmarks Failed")) return;
                      showUtilityReport(kTitle, report.value());
                    }));
}

void HexWindowController::clearBookmarks() {
  if (refuseWhileBusy(kTitle)) return;
  const std::size_t count = bookmarks_.offsets().size();
  bookmarks_.clear();
  updateStatus();
  alert(kTitle, "Cleared " + std::to_string(count) + " bookmark(s).");
}

}  // namespace quillmor
