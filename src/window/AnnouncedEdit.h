#pragma once

#include <cstdint>
#include <optional>

#include "document/HexSelection.h"
#include "document/UndoRecords.h"

namespace quillmor {

/// An edit that is about to happen, with all that accounting for it takes.
struct AnnouncedEdit {
  UndoRecords::Pending undo = {};
  /// Where the new bytes will be and how many they replace; absent when the command moves the
  /// bookmarks itself.
  std::optional<HexSelection> inserted = {};
  std::int64_t removedCount = 0;
};

}  // namespace quillmor
