// Tries candidates(request) on any text in every mode and encoding. The last byte of the input
// chooses both. Invariants:
//  - no candidate is empty; longer ones come first, equally long ones in the order of their bytes,
//    none twice; kinds agree with the mode and widths with the bytes;
//  - text: one candidate, which decodes back to the text's scalars, exactly when the text is valid,
//    not empty and the encoding has all of it;
//  - hexadecimal: one candidate, exactly when the reference parser reads one, with its bytes;
//  - integers: none exactly when the reference parser reads none; every candidate decodes to the
//    value in its kind; every width, sign and byte order that holds the value is among them, and
//    the kind is the first that gives the bytes;
//  - floating point: the same for the number and for what it is in single precision.

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "base/Check.h"
#include "base/Unicode.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTargets.h"
#include "fuzz/ReferenceParsers.h"
#include "search/SearchCandidates.h"

namespace quillmor::fuzz {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Candidates = std::vector<SearchCandidate>;
using reference::WideInteger;
using SearchCandidateKind::Floating;
using SearchCandidateKind::Integer;
using SearchCandidateKind::Raw;

constexpr std::array kByteOrders{Endianness::little, Endianness::big};

void checkOrder(const Candidates& list) {
  for (std::size_t i = 0; i < list.size(); ++i) {
    checkPrecondition(!list[i].bytes.empty(), "No candidate is empty");
    if (i == 0) continue;
    const Bytes& before = list[i - 1].bytes;
    const Bytes& after = list[i].bytes;
    checkPrecondition(
        before.size() > after.size() || (before.size() == after.size() && before < after),
        "Longer candidates come first, then smaller ones");
  }
}

/// The bytes as a number without sign.
std::uint64_t bitsOf(Bytes bytes, Endianness endianness) {
  if (endianness == Endianness::little) std::reverse(bytes.begin(), bytes.end());
  std::uint64_t bits = 0;
  for (const std::uint8_t byte : bytes) bits = bits << 8 | byte;
  return bits;
}

// --- text and hexadecimal values ------------------------------------------------------------

/// The scalars that bytes in UTF-16 stand for.
std::u32string utf16Scalars(const Bytes& bytes, Endianness endianness) {
  checkPrecondition(bytes.size() % 2 == 0, "UTF-16 is pairs of bytes");
  std::u32string scalars;
  char32_t lead = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto unit = static_cast<char32_t>(bitsOf({bytes[i], bytes[i + 1]}, endianness));
    if (unit >= 0xD800 && unit < 0xDC00) {
      checkPrecondition(lead == 0, "A leading surrogate follows no other");
      lead = unit;
    } else if (unit >= 0xDC00 && unit < 0xE000) {
      checkPrecondition(lead != 0, "A trailing surrogate follows a leading one");
      scalars.push_back(0x10000 + ((lead - 0xD800) << 10) + (unit - 0xDC00));
      lead = 0;
    } else {
      checkPrecondition(lead == 0, "A leading surrogate stands before a trailing one");
      scalars.push_back(unit);
    }
  }
  checkPrecondition(lead == 0, "No leading surrogate is left over");
  return scalars;
}

std::u32string decodedText(const Bytes& bytes, SearchTextEncoding encoding) {
  if (encoding == SearchTextEncoding::utf16LittleEndian) {
    return utf16Scalars(bytes, Endianness::little);
  }
  if (encoding == SearchTextEncoding::utf16BigEndian) return utf16Scalars(bytes, Endianness::big);
  return reference::scalarsOf({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const auto next = Unicode::decodeFirst(text);
    if (!next.isValid) return false;
    text.remove_prefix(next.length);
  }
  return true;
}

void checkText(const SearchRequest& request, const Candidates& list) {
  const std::u32string scalars = reference::scalarsOf(request.searchText);
  const bool isAscii = std::all_of(scalars.begin(), scalars.end(), [](auto s) { return s < 0x80; });
  const bool isExpressible = isUtf8(request.searchText) && !request.searchText.empty() &&
                             (isAscii || request.textEncoding != SearchTextEncoding::ascii);
  checkPrecondition(list.size() == (isExpressible ? 1 : 0), "Text that can be encoded is searched");
  if (list.empty()) return;
  checkPrecondition(std::holds_alternative<Raw>(list[0].kind), "Text is raw bytes");
  checkPrecondition(decodedText(list[0].bytes, request.textEncoding) == scalars,
                    "The bytes of a text decode to it");
}

void checkHex(const SearchRequest& request, const Candidates& list) {
  const auto bytes = reference::hexBytes(request.searchText, {}, {});
  checkPrecondition(list.size() == (bytes ? 1 : 0), "Bytes that can be read are searched");
  if (list.empty()) return;
  checkPrecondition(std::holds_alternative<Raw>(list[0].kind), "Bytes are raw bytes");
  checkPrecondition(list[0].bytes == *bytes, "Bytes are those of the reference");
}

// --- numbers --------------------------------------------------------------------------------

WideInteger decodedInteger(const Bytes& bytes, const Integer& kind) {
  const WideInteger value = bitsOf(bytes, kind.endianness);
  const WideInteger modulus = static_cast<WideInteger>(1) << (8 * kind.width);
  return kind.isSigned && value >= modulus / 2 ? value - modulus : value;
}

bool holds(const Integer& kind, WideInteger value) {
  const WideInteger modulus = static_cast<WideInteger>(1) << (8 * kind.width);
  return kind.isSigned ? value >= -modulus / 2 && value < modulus / 2
                       : value >= 0 && value < modulus;
}

/// The kind of the candidate that reads as `value` in `kind`.
std::optional<Integer> kindFoundFor(const Candidates& list, const Integer& kind,
                                    WideInteger value) {
  for (const auto& candidate : list) {
    if (candidate.bytes.size() != static_cast<std::size_t>(kind.width)) continue;
    if (decodedInteger(candidate.bytes, kind) == value) return std::get<Integer>(candidate.kind);
  }
  return std::nullopt;
}

int rank(const Integer& kind) {
  return (kind.isSigned ? 0 : 2) + (kind.endianness == Endianness::little ? 0 : 1);
}

void checkIntegers(const SearchRequest& request, const Candidates& list) {
  const auto value = reference::searchInteger(request.searchText);
  checkPrecondition(list.empty() == !value, "Integers that can be read are searched");
  for (const auto& candidate : list) {
    const auto& kind = std::get<Integer>(candidate.kind);
    checkPrecondition(candidate.bytes.size() == static_cast<std::size_t>(kind.width),
                      "An integer is as long as its width");
    checkPrecondition(decodedInteger(candidate.bytes, kind) == *value,
                      "The bytes of an integer decode to it");
  }
  if (!value) return;
  for (const int width : {1, 2, 4, 8}) {
    for (const bool isSigned : {true, false}) {
      for (const Endianness endianness : kByteOrders) {
        const Integer kind{width, isSigned, endianness};
        if (!holds(kind, *value)) continue;
        const auto found = kindFoundFor(list, kind, *value);
        checkPrecondition(found.has_value(), "Every kind that holds the integer is searched");
        checkPrecondition(rank(*found) <= rank(kind), "The first kind of equal bytes is kept");
      }
    }
  }
}

double decodedFloat(const Bytes& bytes, const Floating& kind) {
  const std::uint64_t bits = bitsOf(bytes, kind.endianness);
  if (kind.width == 8) return std::bit_cast<double>(bits);
  return double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))};
}

bool isSameNumber(double a, double b) {
  return a == b && std::signbit(a) == std::signbit(b);
}

void checkFloats(const SearchRequest& request, const Candidates& list) {
  const std::string_view text = Unicode::trimmedOfWhiteSpace(request.searchText);
  const auto expected = reference::searchFloat(text);
  if (!expected) checkPrecondition(list.empty(), "What is no number is not searched");
  if (list.empty()) {
    checkPrecondition(!expected || std::isnan(*expected), "Finite numbers are searched");
    return;
  }
  // Bytes of the double come first, and the reference cannot say how small a number is.
  const double value = decodedFloat(list[0].bytes, std::get<Floating>(list[0].kind));
  checkPrecondition(
      std::isnan(*expected) ? std::abs(value) < 1e-307 : isSameNumber(value, *expected),
      "The number is that of the reference");
  const auto single = static_cast<float>(value);
  std::array<std::size_t, 2> countOfWidth{};
  for (const auto& candidate : list) {
    const auto& kind = std::get<Floating>(candidate.kind);
    checkPrecondition(candidate.bytes.size() == static_cast<std::size_t>(kind.width),
                      "A number is as long as its width");
    checkPrecondition(
        isSameNumber(decodedFloat(candidate.bytes, kind), kind.width == 8 ? value : double{single}),
        "The bytes of a number decode to it");
    ++countOfWidth[kind.width == 8 ? 0 : 1];
  }
  const auto isPalindrome = [](auto bits) {
    return bitsOf(rawIntegerBytes(bits, sizeof bits, Endianness::little), Endianness::big) == bits;
  };
  const auto longBits = std::bit_cast<std::uint64_t>(value);
  const auto shortBits = std::bit_cast<std::uint32_t>(single);
  checkPrecondition(countOfWidth[0] == (isPalindrome(longBits) ? 1U : 2U),
                    "Both byte orders are searched");
  checkPrecondition(countOfWidth[1] == (!std::isfinite(single)    ? 0U
                                        : isPalindrome(shortBits) ? 1U
                                                                  : 2U),
                    "Single precision is searched where it is finite");
}

}  // namespace

void fuzzCandidates(std::span<const std::uint8_t> bytes) {
  FuzzInput input(bytes);
  SearchRequest request;
  const std::size_t choice = input.takeBelow(20);
  request.mode = static_cast<SearchMode>(choice / 5);
  request.textEncoding = static_cast<SearchTextEncoding>(choice % 5);
  request.searchText = input.text();
  const Candidates list = candidates(request);
  checkOrder(list);
  switch (request.mode) {
    case SearchMode::textString:
      return checkText(request, list);
    case SearchMode::hexValues:
      return checkHex(request, list);
    case SearchMode::integerNumber:
      return checkIntegers(request, list);
    case SearchMode::floatingPointNumber:
      return checkFloats(request, list);
  }
}

}  // namespace quillmor::fuzz
