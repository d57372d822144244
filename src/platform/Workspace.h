#pragma once

#include "base/FileLocation.h"

namespace quillmor {

/// The desktop around the application. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Shows the file selected in the desktop's file manager.
  virtual void revealInFileManager(const FileLocation& location) = 0;
};

}  // namespace quillmor
