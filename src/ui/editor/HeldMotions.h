#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <deque>
#include <optional>

namespace quillmor {

/// Tells motions of the pointer that took place with the left button held from those that Qt makes
/// up: a release at another place than the last known one reaches widgets as a motion there with
/// the button held, and then the release. Under a window manager that replays clicks, the X server
/// may report a release where the pointer has gone since, so that a plain click would select.
///
/// Listens to the X server's events. GUI thread only.
class HeldMotions : public QAbstractNativeEventFilter {
 public:
  HeldMotions();

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  /// Whether the motion of a mouse event with the left button held and this timestamp took place.
  /// True where no X server tells.
  bool tookPlace(quint64 timestamp) const;

 private:
  /// The left button going down, and the last motion before it went up. Server times, which wrap.
  struct Press {
    quint32 time = 0;
    std::optional<quint32> lastMotion;
    bool isHeld = true;
  };

  void didPress(quint32 time);
  void didRelease();
  void didMove(quint32 time);

  /// The newest is the last. Widgets hear of events some time after this object does.
  std::deque<Press> presses_;
};

}  // namespace quillmor
