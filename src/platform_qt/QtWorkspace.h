#pragma once

#include <QDBusConnection>
#include <QObject>
#include <functional>

#include "platform/Workspace.h"

namespace quillmor {

/// The desktop's file manager and its login manager, called over D-Bus. If there is no file manager
/// that can select a file, the folder is opened instead. Main thread only. Never waits for an
/// answer.
class QtWorkspace : public Workspace {
 public:
  /// The system's bus is asked for when it is first needed.
  explicit QtWorkspace(QDBusConnection bus = QDBusConnection::sessionBus(),
                       std::function<QDBusConnection()> systemBus = QDBusConnection::systemBus);

  void revealInFileManager(const FileLocation& location) override;
  void openLink(const std::string& url) override;
  std::shared_ptr<void> holdSessionEnd(const std::string& reason) override;

 private:
  QDBusConnection bus_;
  const std::function<QDBusConnection()> systemBus_;
  QObject pendingCalls_;  ///< parent of the calls that have not been answered
};

}  // namespace quillmor
