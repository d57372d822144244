#include "faults/window/TypedDocument.h"

namespace quillmor::test {

TypedDocument::TypedDocument(std::string bytes, std::uint64_t seed)
    : random_(seed), states_{std::move(bytes)} {}

std::vector<std::string> TypedDocument::next() {
  constexpr std::uint64_t kDigits = 16;
  constexpr std::uint64_t kBytesInOneMode = 20;
  std::vector<std::string> keys;
  const auto place = static_cast<std::size_t>(count() / 2);
  const bool isSecondDigit = count() % 2 == 1;
  if (!isSecondDigit && random_() % kBytesInOneMode == 0) {
    keys.emplace_back("ctrl+i");
    inserts_ = !inserts_;
  }
  const std::uint64_t digit = random_() % kDigits;
  keys.emplace_back(1, "0123456789abcdef"[digit]);
  std::string bytes = states_.back();
  if (!isSecondDigit && inserts_) bytes.insert(place, 1, '\0');
  const auto old = static_cast<std::uint8_t>(bytes[place]);
  bytes[place] =
      static_cast<char>(isSecondDigit ? (old & 0xF0) | digit : (old & 0x0F) | (digit << 4));
  states_.push_back(std::move(bytes));
  return keys;
}

std::optional<std::int64_t> TypedDocument::countIn(const std::string& bytes) const {
  for (std::int64_t typed = count(); typed >= 0; --typed)
    if (after(typed) == bytes) return typed;
  return std::nullopt;
}

}  // namespace quillmor::test
