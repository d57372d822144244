#include "platform_qt/QtUserDefaults.h"

#include <QVariant>

namespace quillmor {

namespace {

/// The name under which QSettings keeps `key`. QSettings splits names at slashes, drops doubled
/// ones and refuses the empty name; escaping every byte but letters, digits and "-._~" leaves it
/// nothing to change. A lone "%" is no escape sequence, so it stands for the empty key.
QString storedName(const std::string& key) {
  if (key.empty()) return QStringLiteral("%");
  return QString::fromLatin1(QByteArray::fromStdString(key).toPercentEncoding());
}

}  // namespace

QtUserDefaults::QtUserDefaults() : settings_("tenvale", "Quillmor") {
  // Without this, files of other applications of the same organisation would shine through.
  settings_.setFallbacksEnabled(false);
}

QtUserDefaults::QtUserDefaults(const QString& filePath)
    : settings_(filePath, QSettings::IniFormat) {}

void QtUserDefaults::writeNoOtherSettings() {
  // No folder can be made there.
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, "/dev/null");
}

std::optional<std::int64_t> QtUserDefaults::integer(const std::string& key) const {
  bool isNumber = false;
  const qlonglong value = settings_.value(storedName(key)).toString().toLongLong(&isNumber, 10);
  if (!isNumber) return std::nullopt;
  return value;
}

std::optional<bool> QtUserDefaults::boolean(const std::string& key) const {
  const QString text = settings_.value(storedName(key)).toString();
  if (text == "true") return true;
  if (text == "false") return false;
  return std::nullopt;
}

void QtUserDefaults::setInteger(const std::string& key, std::int64_t value) {
  settings_.setValue(storedName(key), QString::number(value));
}

void QtUserDefaults::setBoolean(const std::string& key, bool value) {
  settings_.setValue(storedName(key), QString(value ? "true" : "false"));
}

}  // namespace quillmor
