#include "faults/window/FakeInput.h"

#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <vector>

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

/// "ctrl+shift+z" as the names of its keys.
std::vector<std::string> keysOf(const std::string& chord) {
  std::vector<std::string> keys;
  for (std::size_t begin = 0; begin <= chord.size();) {
    const std::size_t end = std::min(chord.find('+', begin), chord.size());
    const std::string key = chord.substr(begin, end - begin);
    begin = end + 1;
    if (key == "ctrl") {
      keys.emplace_back("Control_L");
    } else if (key == "shift") {
      keys.emplace_back("Shift_L");
    } else {
      keys.push_back(key == "alt" ? "Alt_L" : key);
    }
  }
  return keys;
}

}  // namespace

FakeInput::FakeInput(const std::string& display)
    : display_(functionOf<void*(const char*)>(kX11, "XOpenDisplay")(display.c_str())) {
  if (display_ == nullptr) throw std::runtime_error("no display " + display);
}

FakeInput::~FakeInput() {
  functionOf<int(void*)>(kX11, "XCloseDisplay")(display_);
}

void FakeInput::key(const std::string& key) const {
  const auto keys = keysOf(key);
  for (auto each = keys.begin(); each != keys.end(); ++each) send(*each, true);
  for (auto each = keys.rbegin(); each != keys.rend(); ++each) send(*each, false);
  flush();
}

void FakeInput::character(char character) const {
  const std::string name(1, character);
  if (character >= 'A' && character <= 'Z') return key("shift+" + name);
  // The others are called by what they are.
  static const std::map<char, std::string> names = {
      {'/', "slash"}, {'-', "minus"}, {'.', "period"}, {'_', "shift+underscore"}};
  const auto named = names.find(character);
  key(named == names.end() ? name : named->second);
}

void FakeInput::click(ScreenPoint place, unsigned number) const {
  move(place);
  button(number, true);
  button(number, false);
  flush();
}

void FakeInput::drag(ScreenPoint from, ScreenPoint to) const {
  move(from);
  button(1, true);
  move({(from.x + to.x) / 2, (from.y + to.y) / 2});
  move(to);
  button(1, false);
  flush();
}

void FakeInput::send(const std::string& keyName, bool down) const {
  static auto* const symbolOf = functionOf<unsigned long(const char*)>(kX11, "XStringToKeysym");
  static auto* const codeOf =
      functionOf<unsigned char(void*, unsigned long)>(kX11, "XKeysymToKeycode");
  static auto* const fake =
      functionOf<int(void*, unsigned, int, unsigned long)>(kXTest, "XTestFakeKeyEvent");
  const unsigned code = codeOf(display_, symbolOf(keyName.c_str()));
  if (code == 0) throw std::runtime_error("no key " + keyName);
  fake(display_, code, down ? 1 : 0, 0);
}

void FakeInput::move(ScreenPoint place) const {
  static auto* const fake =
      functionOf<int(void*, int, int, int, unsigned long)>(kXTest, "XTestFakeMotionEvent");
  constexpr int kCurrentScreen = -1;
  fake(display_, kCurrentScreen, place.x, place.y, 0);
}

void FakeInput::button(unsigned number, bool down) const {
  static auto* const fake =
      functionOf<int(void*, unsigned, int, unsigned long)>(kXTest, "XTestFakeButtonEvent");
  fake(display_, number, down ? 1 : 0, 0);
}

void FakeInput::flush() const {
  static auto* const synchronize = functionOf<int(void*, int)>(kX11, "XSync");
  synchronize(display_, 0);
}

}  // namespace quillmor::test
