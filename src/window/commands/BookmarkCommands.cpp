#include "window/commands/BookmarkCommands.h"

#include "base/HexText.h"
#include "window/commands/BookmarkReport.h"

namespace quillmor {

namespace {

constexpr const char* kTitle = "Bookmarks";

}  // namespace

std::span<const CommandRow<BookmarkCommands>> BookmarkCommands::rows() {
  static constexpr CommandRow<BookmarkCommands> kRows[] = {
      {{.action = "forwardAddBookmark:", .title = "Add Bookmark", .key = "b", .busyTitle = kTitle},
       &BookmarkCommands::addBookmark},
      {{.action = "forwardNextBookmark:",
        .title = "Next Bookmark",
        .key = "]",
        .need = CommandNeed::bookmarks},
       &BookmarkCommands::nextBookmark},
      {{.action = "forwardPreviousBookmark:",
        .title = "Previous Bookmark",
        .key = "[",
        .need = CommandNeed::bookmarks},
       &BookmarkCommands::previousBookmark},
      {{.action = "forwardShowBookmarks:",
        .title = "Show Bookmarks",
        .need = CommandNeed::bookmarks},
       &BookmarkCommands::showBookmarks},
      {{.action = "forwardClearBookmarks:",
        .title = "Clear Bookmarks",
        .need = CommandNeed::bookmarks,
        .busyTitle = kTitle},
       &BookmarkCommands::clearBookmarks},
  };
  return kRows;
}

void BookmarkCommands::addBookmark() {
  const std::int64_t offset = session_.editor().caretOffset();
  const std::string shown = offsetText(offset) + ".";
  switch (session_.bookmarks().add(offset)) {
    case Bookmarks::AddResult::alreadyPresent:
      return messages_.alert(kTitle, "Bookmark already exists at " + shown);
    case Bookmarks::AddResult::limitReached:
      return messages_.alert(kTitle, "The bookmark limit of " +
                                         std::to_string(Bookmarks::maxBookmarkEntries) +
                                         " entries has been reached.");
    case Bookmarks::AddResult::added:
      messages_.alert(kTitle, "Added bookmark at " + shown);
      context_.updateStatus();
  }
}

bool BookmarkCommands::refuseWithoutBookmarks() {
  if (!session_.bookmarks().offsets().empty()) return false;
  messages_.alert(kTitle, "No bookmarks are set.");
  return true;
}

void BookmarkCommands::nextBookmark() {
  if (refuseWithoutBookmarks()) return;
  session_.goTo({*session_.bookmarks().next(session_.editor().caretOffset()), {}});
}

void BookmarkCommands::previousBookmark() {
  if (refuseWithoutBookmarks()) return;
  session_.goTo({*session_.bookmarks().previous(session_.editor().caretOffset()), {}});
}

void BookmarkCommands::showBookmarks() {
  if (refuseWithoutBookmarks()) return;
  const auto work = [offsets = session_.bookmarks().offsets()](TaskProgress&) {
    return bookmarkReport(offsets);
  };
  context_.runBackgroundTask("Listing bookmarks…", work, [this](Result<std::string> report) {
    if (messages_.failed(report, "Show Bookmarks Failed")) return;
    context_.showUtilityReport(kTitle, report.value());
  });
}

void BookmarkCommands::clearBookmarks() {
  const std::size_t count = session_.bookmarks().offsets().size();
  session_.bookmarks().clear();
  context_.updateStatus();
  messages_.alert(kTitle, "Cleared " + std::to_string(count) + " bookmark(s).");
}

}  // namespace quillmor
