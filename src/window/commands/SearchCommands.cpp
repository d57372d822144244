#include "window/commands/SearchCommands.h"

#include "search/SearchAnswers.h"
#include "search/SearchCandidates.h"
#include "search/Searching.h"
#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kFind = "Find";
constexpr const char* kReplace = "Replace";
constexpr const char* kFindNext = "Find Next";
constexpr const char* kFindPrevious = "Find Previous";
constexpr const char* kSearchFailed = "Search Failed";
constexpr const char* kSearching = "Searching…";
constexpr const char* kWildcardTitle = "Find Wildcard/Mask";

}  // namespace

std::span<const CommandRow<SearchCommands>> SearchCommands::rows() {
  using Family = SearchCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardFind:",
        .title = "Find…",
        .key = "f",
        .need = CommandNeed::bytes,
        .busyTitle = kFind},
       &Family::find},
      {{.action = "forwardReplace:",
        .title = "Replace…",
        .key = "r",
        .need = CommandNeed::bytes,
        .busyTitle = kReplace},
       &Family::replace},
      {{.action = "forwardFindNext:",
        .title = kFindNext,
        .key = "g",
        .need = CommandNeed::bytes,
        .busyTitle = kFindNext},
       &Family::findNext},
      {{.action = "forwardFindPrevious:",
        .title = kFindPrevious,
        .key = "G",
        .shift = true,
        .need = CommandNeed::bytes,
        .busyTitle = kFindPrevious},
       &Family::findPrevious},
      {{.action = "forwardFindWildcardMask:",
        .title = "Find Wildcard/Mask…",
        .need = CommandNeed::bytes,
        .busyTitle = kWildcardTitle},
       &Family::findWildcardMask},
  };
  return kRows;
}

void SearchCommands::find() {
  if (context_.hasWindow())
    context_.window()->showFindReplacePanel(PanelKind::find, lastSearchRequest_);
}

void SearchCommands::replace() {
  if (context_.hasWindow())
    context_.window()->showFindReplacePanel(PanelKind::replace, lastSearchRequest_);
}

void SearchCommands::findNext() {
  SearchRequest request = lastSearchRequest_;
  if (request.direction == SearchDirection::all) request.direction = SearchDirection::forward;
  search(request, /*advanceFromCurrentSelection=*/true, kSearchFailed);
}

void SearchCommands::findPrevious() {
  SearchRequest request = lastSearchRequest_;
  request.direction = SearchDirection::backward;
  search(request, /*advanceFromCurrentSelection=*/true, kSearchFailed);
}

void SearchCommands::performFind(const SearchRequest& request, bool advanceFromCurrentSelection) {
  messages_.clearNotice();
  if (context_.refuseWhileBusy(kFind)) return;
  if (request.searchText.empty()) return messages_.refuse(std::string(kNothingToSearchFor));
  lastSearchRequest_ = request;
  search(request, advanceFromCurrentSelection, kSearchFailed);
}

void SearchCommands::search(const SearchRequest& request, bool advanceFromCurrentSelection,
                            const std::string& failureTitle) {
  messages_.attempt(failureTitle,
                    [&] { startSearch(request, advanceFromCurrentSelection, failureTitle); });
}

void SearchCommands::startSearch(const SearchRequest& request, bool advanceFromCurrentSelection,
                                 const std::string& failureTitle) {
  const auto plan = searchPlan(request.direction, advanceFromCurrentSelection,
                               {.caretOffset = session_.editor().caretOffset(),
                                .selection = session_.selectedRange(),
                                .byteCount = session_.byteCount()});
  auto candidateList = candidates(request);
  if (candidateList.empty()) return messages_.refuse(refusalOfSearch(request));
  if (!plan) return messages_.refuse(std::string(kNoMatch));
  using Match = std::optional<SearchMatch>;
  auto work = [request, plan = *plan, candidateList = std::move(candidateList)](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return nextMatch(bytes.span(), request, candidateList, plan, progress);
  };
  auto completion = [this, failureTitle](Result<Match> result) {
    if (messages_.failed(result, failureTitle)) return;
    if (!result.value()) return messages_.refuse(std::string(kNoMatch));
    selectMatch(*result.value());
  };
  context_.runSnapshotTaskFrom(backgroundSearchThresholdBytes, session_.byteCount(), kSearching, {},
                               std::move(work), std::move(completion));
}

void SearchCommands::performSearchAll(const SearchRequest& request) {
  messages_.clearNotice();
  if (context_.refuseWhileBusy("Search All")) return;
  messages_.attempt(kSearchFailed, [&] { startSearchAll(request); });
}

void SearchCommands::startSearchAll(const SearchRequest& request) {
  auto candidateList = candidates(request);
  if (candidateList.empty()) return messages_.refuse(refusalOfSearch(request));
  lastSearchRequest_ = request;
  auto work = [request, candidateList = std::move(candidateList)](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return searchAllSummary(bytes.span(), request, candidateList, progress);
  };
  auto completion = [this](Result<SearchAllSummary> result) {
    if (messages_.failed(result, kSearchFailed)) return;
    const SearchAllSummary& summary = result.value();
    if (summary.firstMatch) selectMatch(*summary.firstMatch);
    showCount(summary.count, "Search Results", foundText(summary.count));
  };
  context_.runBackgroundSnapshotTask(kSearching, {}, std::move(work), std::move(completion));
}

void SearchCommands::selectMatch(const SearchMatch& match) {
  session_.goTo({match.offset, {match.offset, std::ssize(match.bytes)}});
}

void SearchCommands::showCount(std::int64_t count, const std::string& title,
                               const std::string& answer) {
  messages_.alert(title, answer);
  if (count == 0) messages_.refuse(answer);
}

void SearchCommands::findWildcardMask() {
  const auto refusalOf = [](const std::string& typed) -> std::optional<std::string> {
    const auto read = typedWildcardPattern(typed);
    if (read.isOk()) return std::nullopt;
    return read.error().message();
  };
  const auto text = context_.ask(kWildcardTitle, [&] {
    return askForText(
        messages_.alerts(), kWildcardTitle,
        "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F",
        {.label = "Pattern:", .placeholder = "DE AD ?? EF", .text = lastWildcardText_}, refusalOf);
  });
  if (text) findPattern(*text);
}

/// Looks for the pattern that `text` stands for, from the caret on and round to it again.
void SearchCommands::findPattern(const std::string& text) {
  auto pattern = typedWildcardPattern(text);
  lastWildcardText_ = text;
  const std::int64_t length = pattern.value().length();
  // After the selection, so that asking again goes to the next match.
  const HexSelection selected = session_.selectedRange();
  const std::int64_t from =
      selected.length > 0 ? selected.start + selected.length : session_.editor().caretOffset();
  auto work = [pattern = std::move(pattern.value()), from](const ByteBuffer& bytes, HexSelection,
                                                           TaskProgress& progress) {
    return pattern.firstMatchWrapped(bytes.span(), from, progress);
  };
  auto completion = [this, length](const Result<std::optional<std::int64_t>>& result) {
    if (messages_.failed(result, std::string(kWildcardTitle) + " Failed")) return;
    if (!result.value()) {
      messages_.showNotice(std::string(kNoMatch));
      return messages_.alert(kWildcardTitle, std::string(kNoMatch));
    }
    session_.goTo({*result.value(), {*result.value(), length}});
  };
  context_.runBackgroundSnapshotTask("Searching wildcard pattern…", {}, std::move(work),
                                     std::move(completion));
}

}  // namespace quillmor
