#include "search/SearchCandidates.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Unicode.h"
#include "search/typed/HexParser.h"
#include "search/typed/TypedInput.h"

namespace quillmor {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::array kByteOrders{Endianness::little, Endianness::big};

/// The limit on characters implies the limit on bytes, so text needs no check of its own.
static_assert(maxTextInputCharacters * kMaxEncodedScalarLength <= maxGeneratedInputBytes);

std::vector<SearchCandidate> rawCandidate(std::optional<Bytes> bytes) {
  std::vector<SearchCandidate> list;
  if (bytes && !bytes->empty()) {
    list.push_back({.bytes = std::move(*bytes), .kind = SearchCandidateKind::Raw{}});
  }
  return list;
}

std::vector<SearchCandidate> textCandidates(const SearchRequest& request) {
  if (Unicode::hasMoreScalarsThan(request.searchText, maxTextInputCharacters)) return {};
  return rawCandidate(bytesForText(request.searchText, request.textEncoding));
}

std::vector<SearchCandidate> hexCandidates(std::string_view trimmed) {
  return rawCandidate(
      HexParser::parseHexBytes(trimmed, maxGeneratedInputBytes, maxTextInputCharacters));
}

std::vector<SearchCandidate> integerTextCandidates(std::string_view trimmed) {
  if (Unicode::hasMoreScalarsThan(trimmed, maxTextInputCharacters)) return {};
  const auto value = parseSearchInteger(trimmed);
  if (!value) return {};
  return uniqueCandidates(integerCandidates(*value));
}

std::vector<SearchCandidate> floatTextCandidates(std::string_view trimmed) {
  if (Unicode::hasMoreScalarsThan(trimmed, maxTextInputCharacters)) return {};
  const auto value = parseSearchFloat(trimmed);
  if (!value) return {};
  return uniqueCandidates(floatCandidates(*value));
}

std::optional<Bytes> bytesOfInteger(const ParsedSearchInteger& value,
                                    const SearchCandidateKind::Integer& kind) {
  if (value.isUnsigned) return integerBytes(value.bits, kind.width, kind.endianness);
  const auto signedValue = static_cast<std::int64_t>(value.bits);
  return integerBytes(signedValue, kind.width, kind.isSigned, kind.endianness);
}

}  // namespace

std::vector<SearchCandidate> candidates(const SearchRequest& request) {
  if (request.mode == SearchMode::textString) return textCandidates(request);
  const std::string_view trimmed = Unicode::trimmedOfWhiteSpace(request.searchText);
  if (request.mode == SearchMode::hexValues) return hexCandidates(trimmed);
  if (request.mode == SearchMode::integerNumber) return integerTextCandidates(trimmed);
  return floatTextCandidates(trimmed);
}

std::vector<SearchCandidate> integerCandidates(const ParsedSearchInteger& value) {
  std::vector<SearchCandidate> list;
  for (const int width : {1, 2, 4, 8}) {
    for (const bool isSigned : {true, false}) {
      if (isSigned && value.isUnsigned) continue;
      for (const Endianness endianness : kByteOrders) {
        const SearchCandidateKind::Integer kind{width, isSigned, endianness};
        auto bytes = bytesOfInteger(value, kind);
        if (bytes) list.push_back({.bytes = std::move(*bytes), .kind = kind});
      }
    }
  }
  return list;
}

std::vector<SearchCandidate> floatCandidates(double value) {
  std::vector<SearchCandidate> list;
  for (const int width : {4, 8}) {
    for (const Endianness endianness : kByteOrders) {
      const SearchCandidateKind::Floating kind{width, endianness};
      auto bytes = floatBytes(value, width, endianness);
      if (bytes) list.push_back({.bytes = std::move(*bytes), .kind = kind});
    }
  }
  return list;
}

std::vector<SearchCandidate> uniqueCandidates(std::vector<SearchCandidate> candidateList) {
  // Stable, so that of equal sequences the one that came first stays first and is the one kept.
  std::stable_sort(candidateList.begin(), candidateList.end(), [](const auto& a, const auto& b) {
    if (a.bytes.size() != b.bytes.size()) return a.bytes.size() > b.bytes.size();
    return a.bytes < b.bytes;
  });
  const auto end = std::unique(candidateList.begin(), candidateList.end(),
                               [](const auto& a, const auto& b) { return a.bytes == b.bytes; });
  candidateList.erase(end, candidateList.end());
  return candidateList;
}

}  // namespace quillmor
