#include "platform_qt/QtWorkspace.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QDesktopServices>
#include <QStringList>
#include <optional>
#include <utility>

#include "platform_qt/QtLocations.h"

namespace quillmor {

namespace {

/// The call of the freedesktop.org File Manager interface that selects files in their folders.
QDBusMessage showItemsMessage(const FileLocation& location) {
  QDBusMessage message = QDBusMessage::createMethodCall(
      "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
      "org.freedesktop.FileManager1", "ShowItems");
  const QString uri = QString::fromLatin1(QtLocations::toUrl(location).toEncoded());
  const QString noStartupId;
  message << QStringList{uri} << noStartupId;
  return message;
}

void openFolder(const FileLocation& location) {
  QDesktopServices::openUrl(QtLocations::toUrl(location.directory()));
}

/// One request to wait, with the descriptor that stands for it once the answer has come.
struct SessionHold {
  QObject pendingCalls;
  std::optional<QDBusUnixFileDescriptor> descriptor;
};

/// The call of the freedesktop.org login manager that puts off a shutdown; `mode` is "block", or
/// "delay" for the few seconds that everybody may ask for.
QDBusMessage inhibitMessage(const QString& reason, const QString& mode) {
  QDBusMessage message =
      QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                     "org.freedesktop.login1.Manager", "Inhibit");
  message << "shutdown"
          << "Quillmor" << reason << mode;
  return message;
}

void ask(SessionHold& hold, const QDBusConnection& bus, const QString& reason,
         const QString& mode) {
  auto* watcher =
      new QDBusPendingCallWatcher(bus.asyncCall(inhibitMessage(reason, mode)), &hold.pendingCalls);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                   [watcher, &hold, bus, reason, mode] {
                     const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
                     watcher->deleteLater();
                     if (reply.isValid()) {
                       hold.descriptor = reply.value();
                     } else if (mode == "block") {
                       ask(hold, bus, reason, "delay");
                     }
                   });
}

}  // namespace

QtWorkspace::QtWorkspace(QDBusConnection bus, std::function<QDBusConnection()> systemBus)
    : bus_(std::move(bus)), systemBus_(std::move(systemBus)) {}

void QtWorkspace::revealInFileManager(const FileLocation& location) {
  if (!location.isLocalFile()) return;
  if (!bus_.isConnected()) {
    openFolder(location);
    return;
  }
  auto* watcher =
      new QDBusPendingCallWatcher(bus_.asyncCall(showItemsMessage(location)), &pendingCalls_);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, location] {
    if (watcher->isError()) openFolder(location);
    watcher->deleteLater();
  });
}

void QtWorkspace::openLink(const std::string& url) {
  QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(url), QUrl::StrictMode));
}

std::shared_ptr<void> QtWorkspace::holdSessionEnd(const std::string& reason) {
  auto hold = std::make_shared<SessionHold>();
  const QDBusConnection bus = systemBus_();
  if (bus.isConnected()) ask(*hold, bus, QString::fromStdString(reason), "block");
  return hold;
}

}  // namespace quillmor
