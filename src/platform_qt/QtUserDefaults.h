#pragma once

#include <QSettings>
#include <QString>

#include "platform/UserDefaults.h"

namespace quillmor {

/// Settings in the user's configuration directory. Main thread only. Values are written to the file
/// from the event loop, at the latest when this object is destroyed.
///
/// The file has no types, so a value's text decides its type: "true" and "false" are Booleans,
/// decimal numbers are integers, and neither is ever read as the other.
class QtUserDefaults : public UserDefaults {
 public:
  /// The user's own settings of this application.
  QtUserDefaults();

  /// Settings kept in the INI file at `filePath`.
  explicit QtUserDefaults(const QString& filePath);

  /// From now on this process writes no settings but those of objects that exist already; all
  /// others begin empty.
  static void writeNoOtherSettings();

  std::optional<std::int64_t> integer(const std::string& key) const override;
  std::optional<bool> boolean(const std::string& key) const override;
  void setInteger(const std::string& key, std::int64_t value) override;
  void setBoolean(const std::string& key, bool value) override;

 private:
  QSettings settings_;
};

}  // namespace quillmor
