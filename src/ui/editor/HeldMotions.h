#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <deque>
#include <optional>

namespace quillmor {

/// Tells real motions of the pointer with the left button held from those that Qt invents. When the
/// button is released away from the last known place, widgets first get a motion to that place with
/// the button held. Under a window manager that replays clicks, the X server may report the release
/// where the pointer is by then, and a plain click would select.
///
/// Listens to the X server's events. GUI thread only.
class HeldMotions : public QAbstractNativeEventFilter {
 public:
  HeldMotions();

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  /// True if the motion with the left button held and this timestamp took place. Always true
  /// without an X server.
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

  /// The newest is the last. Widgets get events some time after this object does.
  std::deque<Press> presses_;
};

}  // namespace quillmor
