#include "blackbox/FakePointer.h"

#include <dlfcn.h>

#include <stdexcept>

namespace quillmor::test {

namespace {

/// A function of a library; libraries stay loaded until the process ends.
template <class Function>
Function* functionOf(const char* library, const char* name) {
  void* const handle = ::dlopen(library, RTLD_NOW);
  void* const symbol = handle != nullptr ? ::dlsym(handle, name) : nullptr;
  if (symbol == nullptr) throw std::runtime_error(std::string("no ") + name + " in " + library);
  return reinterpret_cast<Function*>(symbol);
}

constexpr const char* kX11 = "libX11.so.6";
constexpr const char* kXTest = "libXtst.so.6";

}  // namespace

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

void FakePointer::press(bool down) const {
  functionOf<int(void*, unsigned, int, unsigned long)>(kXTest, "XTestFakeButtonEvent")(
      display_, 1, down ? 1 : 0, 0);
}

}  // namespace quillmor::test
