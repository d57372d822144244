// The panels' searches, repeating them, and the search for a pattern with wildcards.

#include "search/SearchAnswers.h"
#include "search/SearchCandidates.h"
#include "search/Searching.h"
#include "window/HexWindowController.h"
#include "window/commands/Prompts.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {

namespace {

constexpr const char* kSearching = "Searching…";
constexpr const char* kWildcardTitle = "Find Wildcard/Mask";

}  // namespace

void HexWindowController::find() {
  if (refuseWhileBusy("Find") || !window_) return;
  window_->showFindReplacePanel(PanelKind::find, lastSearchRequest_);
}

void HexWindowController::replace() {
  if (refuseWhileBusy("Replace") || !window_) return;
  window_->showFindReplacePanel(PanelKind::replace, lastSearchRequest_);
}

void HexWindowController::findNext() {
  if (refuseWhileBusy("Find Next")) return;
  SearchRequest request = lastSearchRequest_;
  if (request.direction == SearchDirection::all) request.direction = SearchDirection::forward;
  search(request, /*advanceFromCurrentSelection=*/true, "Search Failed");
}

void HexWindowController::findPrevious() {
  if (refuseWhileBusy("Find Previous")) return;
  SearchRequest request = lastSearchRequest_;
  request.direction = SearchDirection::backward;
  search(request, /*advanceFromCurrentSelection=*/true, "Search Failed");
}

void HexWindowController::performFind(const SearchRequest& request,
                                      bool advanceFromCurrentSelection) {
  clearNotice();
  if (refuseWhileBusy("Find")) return;
  if (request.searchText.empty()) return refuse(std::string(kNothingToSearchFor));
  lastSearchRequest_ = request;
  search(request, advanceFromCurrentSelection, "Search Failed");
}

void HexWindowController::search(const SearchRequest& request, bool advanceFromCurrentSelection,
                                 const std::string& failureTitle) {
  attempt(failureTitle, [&] { startSearch(request, advanceFromCurrentSelection, failureTitle); });
}

void HexWindowController::startSearch(const SearchRequest& request,
                                      bool advanceFromCurrentSelection,
                                      const std::string& failureTitle) {
  const auto plan = searchPlan(request.direction, advanceFromCurrentSelection,
                               {.caretOffset = editor_.caretOffset(),
                                .selection = selectedRange(),
                                .byteCount = byteCount()});
  auto candidateList = candidates(request);
  if (candidateList.empty()) return refuse(reasonForNoCandidates(request));
  if (!plan) return refuse(std::string(kNoMatch));
  using Match = std::optional<SearchMatch>;
  auto work = [request, plan = *plan, candidateList = std::move(candidateList)](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return nextMatch(bytes.span(), request, candidateList, plan, progress);
  };
  std::function completion = [this, failureTitle](Result<Match> result) {
    if (failed(result, failureTitle)) return;
    if (!result.value()) return refuse(std::string(kNoMatch));
    selectMatch(*result.value());
  };
  if (byteCount() >= backgroundSearchThresholdBytes) {
    return runBackgroundSnapshotTask(kSearching, {}, std::move(work), std::move(completion));
  }
  TaskProgress progress;
  completion(resultOf([&] { return work(hexDocument_->storage()->bytes, {}, progress); }));
}

void HexWindowController::performSearchAll(const SearchRequest& request) {
  clearNotice();
  if (refuseWhileBusy("Search All")) return;
  attempt("Search Failed", [&] { startSearchAll(request); });
}

void HexWindowController::startSearchAll(const SearchRequest& request) {
  auto candidateList = candidates(request);
  if (candidateList.empty()) return refuse(reasonForNoCandidates(request));
  lastSearchRequest_ = request;
  auto work = [request, candidateList = std::move(candidateList)](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return searchAllSummary(bytes.span(), request, candidateList, progress);
  };
  std::function completion = [this](Result<SearchAllSummary> result) {
    if (failed(result, "Search Failed")) return;
    const SearchAllSummary& summary = result.value();
    if (summary.firstMatch) selectMatch(*summary.firstMatch);
    showCount(summary.count, "Search Results", foundText(summary.count));
  };
  runBackgroundSnapshotTask(kSearching, {}, std::move(work), std::move(completion));
}

void HexWindowController::selectMatch(const SearchMatch& match) {
  goTo(match.offset, {match.offset, static_cast<std::int64_t>(match.bytes.size())});
}

/// Says how many there were, with a beep when there were none.
void HexWindowController::showCount(std::int64_t count, const std::string& title,
                                    const std::string& answer) {
  alert(title, answer);
  if (count == 0) refuse(answer);
}

void HexWindowController::findWildcardMask() {
  if (refuseWhileBusy(kWildcardTitle)) return;
  const auto text = askForText(
      promptAlerts_, kWildcardTitle, "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F",
      {.label = "Pattern:", .placeholder = "DE AD ?? EF", .text = lastWildcardText_},
      [](const std::string& typed) -> std::optional<std::string> {
        const auto read = typedWildcardPattern(typed);
        if (read.isOk()) return std::nullopt;
        return read.error().message();
      });
  if (!text || !window_ || refuseWhileBusy(kWildcardTitle)) return;
  auto pattern = typedWildcardPattern(*text);
  lastWildcardText_ = *text;
  const std::int64_t length = pattern.value().length();
  // Behind the selection, so that asking again goes to the next match.
  const HexSelection selected = selectedRange();
  const std::int64_t from =
      selected.length > 0 ? selected.start + selected.length : editor_.caretOffset();
  auto work = [pattern = std::move(pattern.value()), from](const ByteBuffer& bytes, HexSelection,
                                                           TaskProgress& progress) {
    return pattern.firstMatchWrapped(bytes.span(), from, progress);
  };
  std::function completion = [this, length](Result<std::optional<std::int64_t>> result) {
    if (failed(result, std::string(kWildcardTitle) + " Failed")) return;
    if (!result.value()) {
      showNotice(std::string(kNoMatch));
      return alert(kWildcardTitle, std::string(kNoMatch));
    }
    goTo(*result.value(), {*result.value(), length});
  };
  runBackgroundSnapshotTask("Searching wildcard pattern…", {}, std::move(work),
                            std::move(completion));
}

}  // namespace quillmor
