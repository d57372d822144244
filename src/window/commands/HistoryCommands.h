#pragma once

#include <cstdint>
#include <span>

#include "window/commands/CommandFamily.h"

namespace quillmor {

/// The list of the edits of the document, and the way back to any state of it.
class HistoryCommands : private CommandFamily {
 public:
  explicit HistoryCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<HistoryCommands>> rows();

  /// Shows the bytes of a state of the history as an untitled document with unsaved changes in a
  /// new window. This document stays as it is. Alerts when the state cannot be had.
  void openState(std::int64_t state);

 private:
  void showHistory();
};

}  // namespace quillmor
