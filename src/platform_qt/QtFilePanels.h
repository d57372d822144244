#pragma once

#include "platform/FilePanels.h"

namespace quillmor {

/// The desktop's file dialogs. Main thread only. The dialogs belong to the active window and offer
/// local files.
class QtFilePanels : public FilePanels {
 public:
  std::vector<FileLocation> runOpenPanel(const std::string& title, bool allowsMultipleSelection,
                                         const std::optional<FileLocation>& directory) override;
  std::optional<FileLocation> runSavePanel(const std::string& title,
                                           const std::string& suggestedName,
                                           const std::optional<FileLocation>& directory) override;
};

}  // namespace quillmor
