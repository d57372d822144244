#pragma once

#include <string>

#include "blackbox/FakePointer.h"

namespace quillmor::test {

/// The keyboard and the pointer of an X server, used without a program in between: a key takes
/// microseconds, so that a test can type while it looks. Events reach the server in their order,
/// before the function returns.
class FakeInput : public FakePointer {
 public:
  using FakePointer::FakePointer;

  /// Presses a key and releases it: "a", "ctrl+shift+z", "alt+Down", with the names of X.
  void key(const std::string& key) const;
  /// Types a letter, a digit, or a character of a path.
  void character(char character) const;
  /// Presses and releases a button: 1 left, 3 right, 4 and 5 the wheel.
  void click(ScreenPoint place, unsigned button) const;
  void drag(ScreenPoint from, ScreenPoint to) const;

 private:
  void send(const std::string& keyName, bool down) const;
  void flush() const;
};

}  // namespace quillmor::test
