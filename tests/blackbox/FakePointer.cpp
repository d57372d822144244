#include "blackbox/FakePointer.h"

#include <stdexcept>

#include "blackbox/XFunctions.h"

namespace quillmor::test {

FakePointer::FakePointer(const std::string& display)
    : display_(functionOf<void*(const char*)>(kX11, "XOpenDisplay")(display.c_str())) {
  if (display_ == nullptr) throw std::runtime_error("no display " + display);
}

FakePointer::~FakePointer() {
  functionOf<int(void*)>(kX11, "XCloseDisplay")(display_);
}

void FakePointer::move(ScreenPoint place) const {
  constexpr int kCurrentScreen = -1;
  functionOf<int(void*, int, int, int, unsigned long)>(kXTest, "XTestFakeMotionEvent")(
      display_, kCurrentScreen, place.x, place.y, 0);
}

void FakePointer::press(bool down, unsigned button) const {
  functionOf<int(void*, unsigned, int, unsigned long)>(kXTest, "XTestFakeButtonEvent")(
      display_, button, down ? 1 : 0, 0);
}

}  // namespace quillmor::test
