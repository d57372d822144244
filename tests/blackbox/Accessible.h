#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>
#include <optional>
#include <string>
#include <vector>

namespace quillmor::test {

/// A place on the screen.
struct ScreenRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

/// One object of a program's user interface as assistive technology sees it, read over the
/// accessibility bus. An object that has gone in the meantime answers with nothing.
class Accessible {
 public:
  Accessible(QDBusConnection bus, QString program, QString path);

  std::string name() const;
  std::string description() const;
  std::string role() const;
  bool isActive() const;
  bool isVisible() const;
  bool isFocused() const;
  std::vector<Accessible> children() const;

  ScreenRect rect() const;

  /// The text of an object that holds text.
  std::string text() const;
  /// The cell of a character of the text.
  ScreenRect characterRect(int index) const;

  /// Itself and all objects inside of it, as they stand on the screen.
  std::vector<Accessible> all() const;
  /// All with one role.
  std::vector<Accessible> allWithRole(const std::string& role) const;
  std::optional<Accessible> named(const std::string& name) const;

  /// Roles, names and texts, for a failed test.
  std::string outline() const;

 private:
  QDBusMessage call(const QString& interface, const QString& method,
                    const QVariantList& arguments = {}) const;
  std::string property(const QString& name) const;
  bool hasState(int bit) const;
  void addTo(std::vector<Accessible>& found) const;
  void addOutline(std::string& outline, const std::string& indentation) const;

  QDBusConnection bus_;
  QString program_;
  QString path_;
};

/// The application object of the process `id` on the bus; none while it is not there.
std::optional<Accessible> findApplication(const QDBusConnection& bus, unsigned id);

}  // namespace quillmor::test
