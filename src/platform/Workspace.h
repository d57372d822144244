#pragma once

#include <string>

#include "base/FileLocation.h"

namespace quillmor {

/// The desktop around the application. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Shows the file selected in the desktop's file manager.
  virtual void revealInFileManager(const FileLocation& location) = 0;

  /// Opens a web address, ASCII with everything else percent-encoded, in the user's browser.
  virtual void openLink(const std::string& url) = 0;
};

}  // namespace quillmor
