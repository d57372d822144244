#include "platform_qt/QtWorkspace.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QStringList>
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

}  // namespace

QtWorkspace::QtWorkspace(QDBusConnection bus) : bus_(std::move(bus)) {}

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

}  // namespace quillmor
