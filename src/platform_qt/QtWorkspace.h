#pragma once

#include <QDBusConnection>
#include <QObject>

#include "platform/Workspace.h"

namespace quillmor {

/// The desktop's file manager, called over D-Bus. If there is none that can select a file, the
/// folder is opened instead. Main thread only. Never waits for the file manager to answer.
class QtWorkspace : public Workspace {
 public:
  explicit QtWorkspace(QDBusConnection bus = QDBusConnection::sessionBus());

  void revealInFileManager(const FileLocation& location) override;
  void openLink(const std::string& url) override;

 private:
  QDBusConnection bus_;
  QObject pendingCalls_;  ///< parent of the calls that have not been answered
};

}  // namespace quillmor
