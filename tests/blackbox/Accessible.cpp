#include "blackbox/Accessible.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>

namespace quillmor::test {

namespace {

const QString kAccessible = QStringLiteral("org.a11y.atspi.Accessible");
const QString kComponent = QStringLiteral("org.a11y.atspi.Component");
const QString kText = QStringLiteral("org.a11y.atspi.Text");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kRoot = QStringLiteral("/org/a11y/atspi/accessible/root");
constexpr int kTimeoutMilliseconds = 10'000;
constexpr unsigned kScreenCoordinates = 0;

ScreenRect rectFrom(const QVariantList& values) {
  if (values.size() != 4) return {};
  return {values[0].toInt(), values[1].toInt(), values[2].toInt(), values[3].toInt()};
}

// Bits of the accessibility protocol's set of states.
constexpr int kActiveState = 1;
constexpr int kFocusedState = 12;
constexpr int kShowingState = 25;

}  // namespace

Accessible::Accessible(QDBusConnection bus, QString program, QString path)
    : bus_(std::move(bus)), program_(std::move(program)), path_(std::move(path)) {}

QDBusMessage Accessible::call(const QString& interface, const QString& method,
                              const QVariantList& arguments) const {
  QDBusMessage message = QDBusMessage::createMethodCall(program_, path_, interface, method);
  message.setArguments(arguments);
  return bus_.call(message, QDBus::Block, kTimeoutMilliseconds);
}

std::string Accessible::property(const QString& name) const {
  const QDBusReply<QDBusVariant> reply = call(kProperties, "Get", {kAccessible, name});
  return reply.isValid() ? reply.value().variant().toString().toStdString() : "";
}

std::string Accessible::name() const {
  return property("Name");
}

std::string Accessible::description() const {
  return property("Description");
}

std::string Accessible::role() const {
  const QDBusReply<QString> reply = call(kAccessible, "GetRoleName");
  return reply.isValid() ? reply.value().toStdString() : "";
}

bool Accessible::hasState(int bit) const {
  const QDBusReply<QList<uint>> reply = call(kAccessible, "GetState");
  return reply.isValid() && !reply.value().isEmpty() && ((reply.value().at(0) >> bit) & 1U) != 0;
}

bool Accessible::isActive() const {
  return hasState(kActiveState);
}

bool Accessible::isVisible() const {
  return hasState(kShowingState);
}

bool Accessible::isFocused() const {
  return hasState(kFocusedState);
}

std::vector<Accessible> Accessible::children() const {
  std::vector<Accessible> found;
  const QDBusMessage reply = call(kAccessible, "GetChildren");
  if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return found;
  const auto list = reply.arguments().at(0).value<QDBusArgument>();
  list.beginArray();
  while (!list.atEnd()) {
    QString program;
    QDBusObjectPath path;
    list.beginStructure();
    list >> program >> path;
    list.endStructure();
    found.emplace_back(bus_, program, path.path());
  }
  list.endArray();
  return found;
}

std::string Accessible::text() const {
  const QDBusReply<QString> reply = call(kText, "GetText", {0, -1});
  return reply.isValid() ? reply.value().toStdString() : "";
}

ScreenRect Accessible::characterRect(int index) const {
  return rectFrom(call(kText, "GetCharacterExtents", {index, kScreenCoordinates}).arguments());
}

ScreenRect Accessible::rect() const {
  // One structure here, four values above: the protocol has both.
  const QDBusMessage reply = call(kComponent, "GetExtents", {kScreenCoordinates});
  if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return {};
  const auto structure = reply.arguments().at(0).value<QDBusArgument>();
  ScreenRect rect;
  structure.beginStructure();
  structure >> rect.x >> rect.y >> rect.width >> rect.height;
  structure.endStructure();
  return rect;
}

std::vector<Accessible> Accessible::all() const {
  std::vector<Accessible> found;
  addTo(found);
  return found;
}

void Accessible::addTo(std::vector<Accessible>& found) const {
  found.push_back(*this);
  // Menus have hundreds of items, and no test looks for one.
  if (role() == "menu bar") return;
  for (const Accessible& child : children()) child.addTo(found);
}

std::vector<Accessible> Accessible::allWithRole(const std::string& role) const {
  std::vector<Accessible> found = all();
  std::erase_if(found, [&](const Accessible& object) { return object.role() != role; });
  return found;
}

std::optional<Accessible> Accessible::named(const std::string& name) const {
  for (const Accessible& object : all()) {
    if (object.name() == name) return object;
  }
  return std::nullopt;
}

std::string Accessible::outline() const {
  std::string outline;
  addOutline(outline, "");
  return outline;
}

void Accessible::addOutline(std::string& outline, const std::string& indentation) const {
  outline += indentation + role() + " \"" + name() + "\" \"" + description() + "\"";
  outline += isActive() ? " active" : "";
  outline += isFocused() ? " focused\n" : "\n";
  if (role() == "menu bar") return;
  for (const Accessible& child : children()) child.addOutline(outline, indentation + "  ");
}

std::optional<Accessible> findApplication(const QDBusConnection& bus, unsigned id) {
  const QStringList names = bus.interface()->registeredServiceNames();
  for (const QString& name : names) {
    if (!name.startsWith(':') || name == bus.baseService()) continue;
    if (bus.interface()->servicePid(name) != id) continue;
    const Accessible application(bus, name, kRoot);
    // The same process has a second connection, to the session's services.
    if (!application.role().empty()) return application;
  }
  return std::nullopt;
}

}  // namespace quillmor::test
