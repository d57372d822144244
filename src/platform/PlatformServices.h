#pragma once

#include "platform/AlertPresenter.h"
#include "platform/BackgroundExecutor.h"
#include "platform/Beeper.h"
#include "platform/FilePanels.h"
#include "platform/FileWatcher.h"
#include "platform/Pasteboard.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

namespace quillmor {

/// Everything the application needs from its platform, passed in through constructors. The services
/// outlive everyone who holds this.
struct PlatformServices {
  AlertPresenter& alerts;
  FilePanels& filePanels;
  Pasteboard& pasteboard;
  UserDefaults& defaults;
  Beeper& beeper;
  Workspace& workspace;
  BackgroundExecutor& executor;
  FileWatcher& fileWatcher;
};

}  // namespace quillmor
