#include "faults/window/FakeInput.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <vector>

#include "blackbox/XFunctions.h"

namespace quillmor::test {

namespace {

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
  press(true, number);
  press(false, number);
  flush();
}

void FakeInput::drag(ScreenPoint from, ScreenPoint to) const {
  move(from);
  press(true);
  move({(from.x + to.x) / 2, (from.y + to.y) / 2});
  move(to);
  press(false);
  flush();
}

void FakeInput::send(const std::string& keyName, bool down) const {
  static auto* const symbolOf = functionOf<unsigned long(const char*)>(kX11, "XStringToKeysym");
  static auto* const codeOf =
      functionOf<unsigned char(void*, unsigned long)>(kX11, "XKeysymToKeycode");
  static auto* const fake =
      functionOf<int(void*, unsigned, int, unsigned long)>(kXTest, "XTestFakeKeyEvent");
  const unsigned code = codeOf(display(), symbolOf(keyName.c_str()));
  if (code == 0) throw std::runtime_error("no key " + keyName);
  fake(display(), code, down ? 1 : 0, 0);
}

void FakeInput::flush() const {
  static auto* const synchronize = functionOf<int(void*, int)>(kX11, "XSync");
  synchronize(display(), 0);
}

}  // namespace quillmor::test
