#pragma once

#include <memory>
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

  /// Asks the desktop to wait with the end of the session as long as the returned object lives.
  /// `reason` is shown to a user who wants to log out. A desktop that cannot be asked changes
  /// nothing; the object is never null.
  virtual std::shared_ptr<void> holdSessionEnd(const std::string& reason) = 0;
};

}  // namespace quillmor
