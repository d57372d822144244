#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "window/commands/CommandFamily.h"

namespace quillmor {

/// Going to places, the settings of the view, and the offset remembered from the last session.
class NavigationCommands : private CommandFamily {
 public:
  explicit NavigationCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<NavigationCommands>> rows();

  /// Puts the caret at `offset`, or at the end if that is before it, and shows it.
  void showOffset(std::int64_t offset);

  /// Sets up the view as the user left the last one.
  void applyUserDefaults();

  /// Remembers the caret for the next session, unless nothing is to be kept.
  void saveSessionOffset();

 private:
  void revealInFinder();
  void selectAll();
  void selectRange();
  void goToOffset();
  void goToStart();
  void goToEnd();
  template <std::int64_t BytesPerRow>
  void showBytesPerRow() {
    setBytesPerRow(BytesPerRow);
  }
  void toggleInsertMode();
  void restoreLastSessionOffset();

  void setBytesPerRow(std::int64_t bytesPerRow);
  std::optional<std::string> sessionOffsetKey() const;
};

}  // namespace quillmor
