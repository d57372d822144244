#pragma once

#include <string>

namespace quillmor::test {

struct ScreenPoint {
  int x = 0;
  int y = 0;
};

/// Moves and presses the pointer of an X server without waiting in between: everything reaches the
/// server at once when this object goes. (xdotool pauses between press and release.)
class FakePointer {
 public:
  /// Throws when there is no such display, or the library that xdotool uses is missing.
  explicit FakePointer(const std::string& display);
  ~FakePointer();
  FakePointer(const FakePointer&) = delete;
  FakePointer& operator=(const FakePointer&) = delete;

  void move(ScreenPoint place) const;
  /// Presses or releases a button: 1 left, 3 right, 4 and 5 the wheel.
  void press(bool down, unsigned button = 1) const;

 protected:
  void* display() const { return display_; }

 private:
  void* display_ = nullptr;
};

}  // namespace quillmor::test
