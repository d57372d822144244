#include "search/Replacing.h"

#include <algorithm>
#include <string_view>
#include <variant>

#include "base/Check.h"
#include "base/SaturatingMath.h"
#include "base/Unicode.h"
#include "search/OccurrenceWalk.h"
#include "search/ReplacementWriter.h"
#include "search/SearchCandidates.h"
#include "search/typed/HexParser.h"
#include "search/typed/NumberBytes.h"
#include "search/typed/TypedInput.h"

namespace quillmor {

namespace {

using Bytes = std::vector<std::uint8_t>;

std::optional<Bytes> hexReplacement(std::string_view text) {
  if (text.empty()) return Bytes();
  return HexParser::parseHexBytes(text, maxGeneratedInputBytes, maxTextInputCharacters);
}

std::optional<Bytes> textReplacement(std::string_view text, SearchTextEncoding encoding) {
  std::optional<Bytes> bytes = bytesForText(text, encoding);
  if (bytes && bytes->size() > static_cast<std::uint64_t>(maxGeneratedInputBytes)) return {};
  return bytes;
}

/// The bytes of `text` for one kind of candidate.
struct ReplacementFor {
  const SearchRequest& request;
  std::string_view text;

  std::optional<Bytes> operator()(SearchCandidateKind::Raw /*kind*/) const {
    if (request.mode == SearchMode::hexValues) return hexReplacement(text);
    return textReplacement(text, request.textEncoding);
  }

  std::optional<Bytes> operator()(const SearchCandidateKind::Integer& kind) const {
    const std::optional<ParsedSearchInteger> parsed = parseSearchInteger(text);
    if (!parsed) return std::nullopt;
    if (parsed->isUnsigned) return integerBytes(parsed->bits, kind.width, kind.endianness);
    const auto value = static_cast<std::int64_t>(parsed->bits);
    if (auto bytes = integerBytes(value, kind.width, kind.isSigned, kind.endianness)) return bytes;
    return integerBytes(value, kind.width, !kind.isSigned, kind.endianness);
  }

  std::optional<Bytes> operator()(const SearchCandidateKind::Floating& kind) const {
    const std::optional<double> value = parseSearchFloat(text);
    if (!value) return std::nullopt;
    return floatBytes(*value, kind.width, kind.endianness);
  }
};

/// No fewer bytes than any result of replacing occurrences in `size` bytes has: all of the document
/// may be made of the candidate that grows most.
std::int64_t largestOutput(std::int64_t size, const std::vector<SearchCandidate>& candidateList,
                           const ReplacementTable& replacements, std::int64_t maximumGrowth) {
  std::int64_t growth = 0;
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    const auto length = static_cast<std::int64_t>(candidateList[i].bytes.size());
    const std::int64_t each = static_cast<std::int64_t>(replacements[i].size()) - length;
    if (each > 0) growth = std::max(growth, saturatingMultiply(size / length + 1, each));
  }
  return saturatingAdd(size, std::min(growth, std::max<std::int64_t>(maximumGrowth, 0)));
}

}  // namespace

std::optional<Bytes> replacementBytes(const SearchRequest& request,
                                      const SearchCandidate& candidate) {
  const std::string_view typed = request.replaceText;
  const bool isText = request.mode == SearchMode::textString;
  const std::string_view text = isText ? typed : Unicode::trimmedOfWhiteSpace(typed);
  if (Unicode::hasMoreScalarsThan(text, maxTextInputCharacters)) return std::nullopt;
  return std::visit(ReplacementFor{request, text}, candidate.kind);
}

std::optional<ReplacementTable> replacementTable(
    const SearchRequest& request, const std::vector<SearchCandidate>& candidateList) {
  ReplacementTable table;
  table.reserve(candidateList.size());
  for (const SearchCandidate& candidate : candidateList) {
    std::optional<Bytes> bytes = replacementBytes(request, candidate);
    if (!bytes) return std::nullopt;
    table.push_back(std::move(*bytes));
  }
  return table;
}

ReplaceAllComputation computeReplaceAll(const ByteBuffer& original, const SearchRequest& request,
                                        const std::vector<SearchCandidate>& candidateList,
                                        const ReplacementTable& replacementByPattern,
                                        const std::vector<std::int64_t>& bookmarks,
                                        std::int64_t maximumGrowth, TaskProgress& progress) {
  checkPrecondition(candidateList.size() == replacementByPattern.size(),
                    "a replacement for each candidate");
  progress.checkpoint();
  progress.setTotal(saturatingMultiply(original.size(), 2));  // the walk, and the copy
  OccurrenceWalk walk(original.span(), candidateList, request.ignoresASCIICase());
  ReplacementWriter writer(
      original, bookmarks, maximumGrowth,
      largestOutput(original.size(), candidateList, replacementByPattern, maximumGrowth), progress);
  while (const auto hit = walk.next(progress)) {
    writer.replace(hit->offset, hit->length, replacementByPattern[hit->candidate]);
  }
  return writer.finish();
}

}  // namespace quillmor
