#include "platform_qt/QtLocations.h"

#include <QByteArray>

namespace quillmor::QtLocations {

FileLocation fromUrl(const QUrl& url) {
  return FileLocation::fromURL(url.toEncoded(QUrl::FullyEncoded).toStdString());
}

QUrl toUrl(const FileLocation& location) {
  const QByteArray path = QByteArray::fromStdString(location.path());
  if (!location.isLocalFile()) return QUrl::fromEncoded(path);
  return QUrl::fromEncoded("file://" + path.toPercentEncoding("/"), QUrl::StrictMode);
}

QString displayText(const FileLocation& location) {
  return QString::fromStdString(location.path());
}

}  // namespace quillmor::QtLocations
