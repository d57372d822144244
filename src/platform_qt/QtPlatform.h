#pragma once

#include <memory>
#include <utility>

#include "platform/PlatformServices.h"
#include "platform_qt/QtAlertPresenter.h"
#include "platform_qt/QtBackgroundExecutor.h"
#include "platform_qt/QtBeeper.h"
#include "platform_qt/QtFilePanels.h"
#include "platform_qt/QtFileWatcher.h"
#include "platform_qt/QtPasteboard.h"
#include "platform_qt/QtWorkspace.h"

namespace quillmor {

/// All services of the platform in one object. `main` makes it after the application object and
/// keeps it until the last window has closed. Main thread only.
class QtPlatform {
 public:
  /// `defaults` is not null.
  explicit QtPlatform(std::unique_ptr<UserDefaults> defaults) : defaults_(std::move(defaults)) {}

  PlatformServices services() {
    return {alerts_, filePanels_, pasteboard_, *defaults_,
            beeper_, workspace_,  executor_,   fileWatcher_};
  }

 private:
  QtAlertPresenter alerts_;
  QtFilePanels filePanels_;
  QtPasteboard pasteboard_;
  std::unique_ptr<UserDefaults> defaults_;
  QtBeeper beeper_;
  QtWorkspace workspace_;
  QtFileWatcher fileWatcher_;
  QtBackgroundExecutor executor_;
};

}  // namespace quillmor
