#include "support/NaiveHexEditor.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace quillmor::test {

void NaiveHexEditor::setCaret(Int value) {
  caret = std::max<Int>(0, std::min(value, count()));
  high = true;
  pending = false;
  announced = false;
  anchor.reset();
}

void NaiveHexEditor::select(Int start, Int length) {
  // An anchor may lie behind the end once bytes were deleted, and takes the selection with it.
  selectionStart = std::min(start, count());
  selectionLength = std::min(length, count() - selectionStart);
}

void NaiveHexEditor::click(Int offset, bool ascii, bool secondDigit) {
  asciiArea = ascii;
  setCaret(offset);
  high = ascii || !secondDigit;
  select(caret, 0);
  anchor = caret;
}

void NaiveHexEditor::drag(Int start, Int current) {
  setCaret(current);
  select(std::min(start, caret), std::abs(caret - start) + (caret < count() ? 1 : 0));
  anchor = start;
}

void NaiveHexEditor::move(Int amount, bool extending) {
  Int fixed = caret;
  if (anchor) {
    fixed = *anchor;
  } else if (selectionLength > 0) {
    fixed = selectionStart >= caret ? selectionStart + selectionLength - 1 : selectionStart;
  }
  setCaret(caret + amount);
  if (!extending) return select(0, 0);
  drag(fixed, caret);
}

bool NaiveHexEditor::splice(Int start, Int removed, const std::vector<std::uint8_t>& inserted) {
  if (count() - removed + static_cast<Int>(inserted.size()) > maximum) {
    ++beeps;
    return false;
  }
  ++announcements;
  announced = false;
  std::vector<std::uint8_t> result(bytes.begin(), bytes.begin() + start);
  result.insert(result.end(), inserted.begin(), inserted.end());
  result.insert(result.end(), bytes.begin() + start + removed, bytes.end());
  bytes = result;
  return true;
}

void NaiveHexEditor::typeCharacter(char c) {
  if (asciiArea) {
    if (c < 32 || c > 126) {
      ++beeps;
      return;
    }
    return typeByte(static_cast<std::uint8_t>(c));
  }
  static constexpr std::string_view kLower = "0123456789abcdef";
  static constexpr std::string_view kUpper = "0123456789ABCDEF";
  const auto value = std::min(kLower.find(c), kUpper.find(c));
  if (value == std::string_view::npos) {
    ++beeps;
    return;
  }
  typeNibble(static_cast<std::uint8_t>(value));
}

void NaiveHexEditor::typeNibble(std::uint8_t v) {
  if (!high && caret < count()) {
    auto& byte = bytes[static_cast<std::size_t>(caret)];
    const int edited = byte / 16 * 16 + v;
    if (edited != byte) {
      if (!announced) ++announcements;
      byte = static_cast<std::uint8_t>(edited);
      ++edits;
    }
    return setCaret(caret + 1);
  }
  high = true;
  if (selectionLength == 0 && !insertMode && caret < count()) {
    auto& byte = bytes[static_cast<std::size_t>(caret)];
    pending = byte / 16 == v;
    announced = !pending;
    if (!pending) {
      ++announcements;
      ++edits;
      byte = static_cast<std::uint8_t>(byte % 16 + v * 16);
    }
    high = false;
    return;
  }
  const Int place = selectionLength > 0 ? selectionStart : caret;
  if (!splice(place, selectionLength, {static_cast<std::uint8_t>(v * 16)})) return;
  setCaret(place);
  if (selectionLength > 0) select(0, 0);
  high = false;
  announced = true;
  ++edits;
}

void NaiveHexEditor::typeByte(std::uint8_t v) {
  const bool overwrites = selectionLength == 0 && !insertMode && caret < count();
  if (overwrites && bytes[static_cast<std::size_t>(caret)] == v) return setCaret(caret + 1);
  const Int place = selectionLength > 0 ? selectionStart : caret;
  if (!splice(place, overwrites ? 1 : selectionLength, {v})) return;
  if (selectionLength > 0) select(0, 0);
  setCaret(place + 1);
  ++edits;
}

void NaiveHexEditor::erase(bool backward) {
  const Int limit = maximum;
  maximum = count();
  if (selectionLength > 0) {
    splice(selectionStart, selectionLength, {});
    setCaret(selectionStart);
    select(0, 0);
    ++edits;
  } else if (backward ? caret > 0 : caret < count()) {
    splice(backward ? caret - 1 : caret, 1, {});
    if (backward) setCaret(caret - 1);
    ++edits;
  }
  maximum = limit;
}

void NaiveHexEditor::put(const std::vector<std::uint8_t>& replacement, bool isPaste) {
  const Int m = static_cast<Int>(replacement.size());
  const bool selected = selectionLength > 0;
  if (m == 0 && (isPaste || !selected)) return;
  const bool overwrites = !selected && !insertMode && caret < count();
  const Int place = selected ? selectionStart : caret;
  Int removed = selected ? selectionLength : 0;
  if (overwrites) removed = std::min(m, count() - caret);
  const bool same = (selected || overwrites) && removed == m &&
                    std::equal(replacement.begin(), replacement.end(), bytes.begin() + place);
  if (isPaste && same) {
    setCaret(place + m);
    if (selected) select(0, 0);
    return;
  }
  if (!splice(place, removed, replacement)) return;
  isPaste ? select(0, 0) : select(place, m);
  setCaret(place + m);
  ++edits;
}

}  // namespace quillmor::test
