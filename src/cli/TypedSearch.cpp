#include "cli/TypedSearch.h"

#include <map>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "base/Unicode.h"
#include "search/SearchCandidates.h"

namespace quillmor::cli {

namespace {

/// What a text should have been, as the end of a sentence.
std::string_view expectedBy(SearchMode mode) {
  switch (mode) {
    case SearchMode::textString:
      return "text in that encoding.";
    case SearchMode::hexValues:
      return "hexadecimal bytes.";
    case SearchMode::integerNumber:
      return "an integer.";
    case SearchMode::floatingPointNumber:
      return "a floating-point number.";
  }
  return {};
}

std::string unreadable(const std::string& argument, SearchMode mode) {
  return argument + " cannot be read as " + std::string(expectedBy(mode));
}

}  // namespace

TypedSearch typedSearch(const Arguments& arguments) {
  static const std::map<std::string_view, SearchMode> modes = {
      {"text", SearchMode::textString},
      {"hex", SearchMode::hexValues},
      {"integer", SearchMode::integerNumber},
      {"float", SearchMode::floatingPointNumber}};
  static const std::map<std::string_view, SearchTextEncoding> encodings = {
      {"editor", SearchTextEncoding::editor},
      {"utf8", SearchTextEncoding::utf8},
      {"ascii", SearchTextEncoding::ascii},
      {"utf16le", SearchTextEncoding::utf16LittleEndian},
      {"utf16be", SearchTextEncoding::utf16BigEndian}};
  SearchRequest request{
      .mode = modes.at(arguments.find("--mode").value_or("text")),
      .searchText = arguments.text("TEXT"),
      .replaceText = arguments.find("REPLACEMENT").value_or(""),
      .textEncoding = encodings.at(arguments.find("--encoding").value_or("editor")),
      .caseSensitive = arguments.has("--case-sensitive")};
  // Bytes that are not UTF-8 would silently be searched for as U+FFFD.
  auto candidateList =
      Unicode::isValid(request.searchText) ? candidates(request) : std::vector<SearchCandidate>();
  if (candidateList.empty()) throw Error::quillmor(2004, unreadable("TEXT", request.mode));
  return {std::move(request), std::move(candidateList)};
}

ReplacementTable typedReplacements(const TypedSearch& search) {
  const SearchRequest& request = search.request;
  auto table = Unicode::isValid(request.replaceText)
                   ? replacementTable(request, search.candidateList)
                   : std::nullopt;
  if (!table) throw Error::quillmor(2005, unreadable("REPLACEMENT", request.mode));
  return *std::move(table);
}

}  // namespace quillmor::cli
