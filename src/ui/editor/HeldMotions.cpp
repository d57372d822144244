#include "ui/editor/HeldMotions.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstring>

namespace quillmor {

namespace {

/// So many clicks wait at most to be delivered, with room to spare.
constexpr std::size_t kMostPresses = 64;

constexpr quint32 kLeftButton = 1;

/// The numbers of the X protocol. Those of its input extension are the same but for what they are
/// wrapped in, a generic event.
enum class XEvent { press = 4, release = 5, motion = 6, generic = 35 };

template <class Number>
Number numberAt(const void* message, std::size_t offset) {
  Number number{};
  std::memcpy(&number, static_cast<const char*>(message) + offset, sizeof number);
  return number;
}

/// A time of the X server's clock is not after another.
bool isNotAfter(quint32 time, quint32 other) {
  return other - time < 0x80000000U;
}

}  // namespace

HeldMotions::HeldMotions() {
  QCoreApplication::instance()->installNativeEventFilter(this);
}

bool HeldMotions::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (eventType != "xcb_generic_event_t") return false;
  constexpr int kSentByClient = 0x80;
  auto type = static_cast<XEvent>(numberAt<quint8>(message, 0) & ~kSentByClient);
  quint32 button = numberAt<quint8>(message, 1);
  std::size_t timeOffset = 4;
  if (type == XEvent::generic) {
    type = static_cast<XEvent>(numberAt<quint16>(message, 8));
    button = numberAt<quint32>(message, 16);
    timeOffset = 12;
  }
  if (type == XEvent::motion) didMove(numberAt<quint32>(message, timeOffset));
  if (button != kLeftButton) return false;
  if (type == XEvent::press) didPress(numberAt<quint32>(message, timeOffset));
  if (type == XEvent::release) didRelease();
  return false;
}

void HeldMotions::didPress(quint32 time) {
  presses_.push_back({.time = time, .lastMotion = std::nullopt});
  if (presses_.size() > kMostPresses) presses_.pop_front();
}

void HeldMotions::didRelease() {
  if (!presses_.empty()) presses_.back().isHeld = false;
}

void HeldMotions::didMove(quint32 time) {
  if (!presses_.empty() && presses_.back().isHeld) presses_.back().lastMotion = time;
}

bool HeldMotions::tookPlace(quint64 timestamp) const {
  const auto time = static_cast<quint32>(timestamp);
  const auto press =
      std::find_if(presses_.rbegin(), presses_.rend(),
                   [time](const Press& candidate) { return isNotAfter(candidate.time, time); });
  if (press == presses_.rend()) return true;
  return press->lastMotion && isNotAfter(time, *press->lastMotion);
}

}  // namespace quillmor
