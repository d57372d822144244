#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "faults/window/FakeInput.h"
#include "faults/window/WindowWatch.h"

namespace quillmor::test {

/// Presses keys, clicks, drags, turns the wheel and chooses from menus as chance has it, on
/// whatever window of a program is active. It chooses no file outside of its folder and does not
/// quit on purpose.
class Monkey {
 public:
  /// `folder` gets the files that the monkey names.
  Monkey(const FakeInput& input, const WindowWatch& watch, std::string folder, std::uint64_t seed);

  /// Does one thing, and returns what it was.
  std::string act();

 private:
  std::string actInFilePanel();
  std::string actInDialog(const ShownWindow& window);
  std::string actInWindow(const ShownWindow& window);
  std::string press(const std::string& key);
  std::string pressOneOf(const std::vector<std::string>& keys);
  std::string chooseFromMenu();
  std::string chooseFromContextMenu(const ShownWindow& window);
  std::string click(const ShownWindow& window, unsigned button);
  std::string drag(const ShownWindow& window);
  ScreenPoint placeIn(const ShownWindow& window);
  std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

  const FakeInput& input_;
  const WindowWatch& watch_;
  const std::string folder_;
  std::mt19937_64 random_;
};

}  // namespace quillmor::test
