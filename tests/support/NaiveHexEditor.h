#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace quillmor::test {

/// The hex view's editing written as plainly as possible over a vector, for comparison with
/// `HexEditorState`. Every announced edit and every beep is counted.
class NaiveHexEditor {
 public:
  using Int = std::int64_t;

  std::vector<std::uint8_t> bytes;
  bool insertMode = false;
  bool asciiArea = false;
  bool high = true;
  bool pending = false;
  /// Whether the edit of the first digit was announced, which covers the second one.
  bool announced = false;
  Int caret = 0;
  Int selectionStart = 0;
  Int selectionLength = 0;
  std::optional<Int> anchor;
  Int maximum = 0;
  int beeps = 0;
  int announcements = 0;
  int edits = 0;

  Int count() const { return static_cast<Int>(bytes.size()); }

  void setCaret(Int value);
  void click(Int offset, bool ascii, bool secondDigit);
  void drag(Int start, Int current);
  void move(Int amount, bool extending);
  void typeCharacter(char c);
  void erase(bool backward);
  void put(const std::vector<std::uint8_t>& replacement, bool isPaste);

 private:
  void select(Int start, Int length);
  void typeNibble(std::uint8_t v);
  void typeByte(std::uint8_t v);
  /// Returns false, and beeps, when the result would be too long.
  bool splice(Int start, Int removed, const std::vector<std::uint8_t>& inserted);
};

}  // namespace quillmor::test
