#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/FileLocation.h"

namespace quillmor {

/// Asks the user for files. Main thread only; both calls run the event loop.
class FilePanels {
 public:
  virtual ~FilePanels() = default;

  /// Returns the chosen files; empty when cancelled. `directory` is where the panel starts.
  virtual std::vector<FileLocation> runOpenPanel(const std::string& title,
                                                 bool allowsMultipleSelection,
                                                 const std::optional<FileLocation>& directory) = 0;

  /// Returns the chosen destination; absent when cancelled. The panel itself asks before an
  /// existing file is chosen.
  virtual std::optional<FileLocation> runSavePanel(
      const std::string& title, const std::string& suggestedName,
      const std::optional<FileLocation>& directory) = 0;
};

}  // namespace quillmor
