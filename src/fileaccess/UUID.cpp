#include "fileaccess/UUID.h"

#include <array>
#include <bit>
#include <cstdint>
#include <span>

#include "base/HexText.h"
#include "fileaccess/SystemCalls.h"

namespace quillmor {

namespace {

void fillRandomly(std::span<std::uint8_t> bytes) {
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const auto room = bytes.subspan(filled);
    const ssize_t count = retryingInterrupted(
        [&] { return SystemCalls::current().getrandom(room.data(), room.size(), 0); });
    if (count < 0) throw lastSystemError();
    filled += static_cast<std::size_t>(count);
  }
}

}  // namespace

std::string makeUUID() {
  std::array<std::uint8_t, 16> bytes{};
  fillRandomly(bytes);
  // The version (4) and variant (10xx) bits of RFC 4122, section 4.4.
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
    text.append(uppercaseHexByteStrings[bytes[i]]);
  }
  return text;
}

std::uint64_t randomNumber() {
  std::uint64_t number = 0;
  while (number == 0) {
    std::array<std::uint8_t, sizeof number> bytes{};
    fillRandomly(bytes);
    number = std::bit_cast<std::uint64_t>(bytes);
  }
  return number;
}

bool isUUID(std::string_view text) {
  // x: any digit, v: one that holds the two bits of the variant.
  constexpr std::string_view kForm = "xxxxxxxx-xxxx-4xxx-vxxx-xxxxxxxxxxxx";
  static_assert(kForm.size() == kUUIDLength);
  if (text.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const std::string_view allowed = kForm[i] == 'x'   ? "0123456789ABCDEF"
                                     : kForm[i] == 'v' ? "89AB"
                                                       : kForm.substr(i, 1);
    if (allowed.find(text[i]) == std::string_view::npos) return false;
  }
  return true;
}

}  // namespace quillmor
