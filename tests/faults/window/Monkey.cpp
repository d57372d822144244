#include "faults/window/Monkey.h"

#include <algorithm>
#include <utility>

namespace quillmor::test {

namespace {

const std::vector<std::string> kDigits = {"0", "1", "2", "3", "4", "5", "6", "7",
                                          "8", "9", "a", "b", "c", "d", "e", "f"};
const std::vector<std::string> kMoves = {
    "Left",      "Right",       "Up",         "Down",       "Home",     "End",       "Prior",
    "Next",      "shift+Right", "shift+Left", "shift+Down", "shift+Up", "shift+End", "shift+Next",
    "ctrl+Home", "ctrl+End",    "Tab",        "shift+Tab",  "Escape"};
const std::vector<std::string> kCommands = {
    "ctrl+z", "ctrl+shift+z", "ctrl+x", "ctrl+c", "ctrl+v", "ctrl+a",    "ctrl+i", "ctrl+f",
    "ctrl+g", "ctrl+s",       "ctrl+n", "ctrl+l", "Delete", "BackSpace", "Return", "space"};
const std::vector<std::string> kAnswers = {"Return", "Escape", "Tab", "space", "Down", "Up"};
/// The access keys of the menus, without the one that has Quit.
const std::vector<std::string> kMenus = {"alt+f", "alt+e", "alt+s", "alt+v",
                                         "alt+t", "alt+b", "alt+p"};

}  // namespace

Monkey::Monkey(const FakeInput& input, const WindowWatch& watch, std::string folder,
               std::uint64_t seed)
    : input_(input), watch_(watch), folder_(std::move(folder)), random_(seed) {}

std::string Monkey::act() {
  const auto window = watch_.active();
  if (!window) return press("Escape");
  if (!window->isDialog) return actInWindow(*window);
  return watch_.isFilePanel() ? actInFilePanel() : actInDialog(*window);
}

std::string Monkey::actInFilePanel() {
  if (below(2) == 0) return press("Escape");
  // Nothing but whole paths is typed, so that nothing happens elsewhere.
  const std::string path = folder_ + "/file" + std::to_string(below(3));
  input_.key("ctrl+a");
  for (const char character : path) input_.character(character);
  input_.key("Return");
  return path;
}

std::string Monkey::actInDialog(const ShownWindow& window) {
  const std::uint64_t choice = below(10);
  if (choice < 6) return pressOneOf(kAnswers);
  if (choice < 8) return click(window, 1);
  // A short number in place of the one before: a long one may ask for all memory there is.
  press("ctrl+a");
  return pressOneOf(kDigits) + pressOneOf(kDigits);
}

std::string Monkey::actInWindow(const ShownWindow& window) {
  const std::uint64_t choice = below(100);
  if (choice < 30) return pressOneOf(kDigits);
  if (choice < 50) return pressOneOf(kMoves);
  if (choice < 65) return pressOneOf(kCommands);
  if (choice < 75) return click(window, 1);
  if (choice < 80) return drag(window);
  if (choice < 85) return click(window, below(2) == 0 ? 4 : 5);
  return choice < 90 ? chooseFromContextMenu(window) : chooseFromMenu();
}

std::string Monkey::press(const std::string& key) {
  input_.key(key);
  return key;
}

std::string Monkey::pressOneOf(const std::vector<std::string>& keys) {
  return press(keys[below(keys.size())]);
}

std::string Monkey::chooseFromMenu() {
  // Not as far as Close in the longest menu.
  constexpr std::uint64_t kMostSteps = 10;
  std::string done = pressOneOf(kMenus);
  for (std::uint64_t steps = below(kMostSteps); steps > 0; --steps) done += " " + press("Down");
  return done + " " + press("Return");
}

std::string Monkey::chooseFromContextMenu(const ShownWindow& window) {
  constexpr std::uint64_t kMostSteps = 9;
  std::string done = click(window, 3);
  for (std::uint64_t steps = below(kMostSteps); steps > 0; --steps) done += " " + press("Down");
  return done + " " + press(below(3) == 0 ? "Escape" : "Return");
}

std::string Monkey::click(const ShownWindow& window, unsigned button) {
  const ScreenPoint place = placeIn(window);
  input_.click(place, button);
  return "button " + std::to_string(button) + " at " + std::to_string(place.x) + "," +
         std::to_string(place.y);
}

std::string Monkey::drag(const ShownWindow& window) {
  const ScreenPoint from = placeIn(window);
  const ScreenPoint to = placeIn(window);
  input_.drag(from, to);
  return "drag to " + std::to_string(to.x) + "," + std::to_string(to.y);
}

ScreenPoint Monkey::placeIn(const ShownWindow& window) {
  const auto within = [this](int begin, int length) {
    return begin + static_cast<int>(below(static_cast<std::uint64_t>(std::max(1, length))));
  };
  const int x = within(window.place.x, window.place.width);
  return {x, within(window.place.y, window.place.height)};
}

}  // namespace quillmor::test
