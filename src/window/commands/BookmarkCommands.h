#pragma once

#include <span>

#include "window/commands/CommandFamily.h"

namespace quillmor {

/// Setting bookmarks, going to them and listing them.
class BookmarkCommands : private CommandFamily {
 public:
  explicit BookmarkCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<BookmarkCommands>> rows();

 private:
  void addBookmark();
  void nextBookmark();
  void previousBookmark();
  void showBookmarks();
  void clearBookmarks();
  bool refuseWithoutBookmarks();
};

}  // namespace quillmor
