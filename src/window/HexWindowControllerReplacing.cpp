// Replacing one match, and all of them with or without a question for each.

#include <algorithm>

#include "base/HexText.h"
#include "search/PromptedReplaceAll.h"
#include "search/Replacing.h"
#include "search/SearchAnswers.h"
#include "search/SearchCandidates.h"
#include "search/Searching.h"
#include "search/typed/TypedInput.h"
#include "window/HexWindowController.h"

namespace quillmor {

namespace {

constexpr const char* kReplaceFailed = "Replace Failed";
constexpr const char* kReplaceAll = "Replace All";
constexpr const char* kReplaceAllFailed = "Replace All Failed";
constexpr const char* kReplacingAll = "Replacing all…";

}  // namespace

/// A Replace All that asks about every match, and where the editor stood before it.
struct HexWindowController::PromptedRun {
  PromptedReplaceAll replacing;
  std::int64_t maximumGrowth;
  std::int64_t caretOffset;
  HexSelection selection;
};

std::optional<SearchMatch> HexWindowController::currentSelectionMatch(
    const SearchRequest& request, const std::vector<SearchCandidate>& candidateList) const {
  return selectionMatch(hexDocument_->storage()->bytes.span(), selectedRange(), request,
                        candidateList);
}

void HexWindowController::performReplace(const SearchRequest& request) {
  clearNotice();
  if (refuseWhileBusy("Replace")) return;
  attempt(kReplaceFailed, [&] { replaceAndFindNext(request); });
}

void HexWindowController::replaceAndFindNext(const SearchRequest& request) {
  const auto candidateList = candidates(request);
  if (candidateList.empty()) return refuse(reasonForNoCandidates(request));
  bool advances = selectedRange().length > 0;
  if (const auto match = currentSelectionMatch(request, candidateList)) {
    const auto replacement = replacementBytes(request, match->candidate);
    if (!replacement) return refuse(reasonForNoReplacement(request.mode));
    if (!applyReplacement(*match, *replacement)) return;
    // Going forward, what a deleted match leaves at the caret may itself begin the next match.
    advances = selectedRange().length > 0 || request.direction == SearchDirection::backward;
  }
  lastSearchRequest_ = request;
  search(request, advances, kReplaceFailed);
}

/// Puts `replacement` in the place of `match`; false when the document may not grow so far.
bool HexWindowController::applyReplacement(const SearchMatch& match,
                                           std::span<const std::uint8_t> replacement) {
  const auto length = static_cast<std::int64_t>(match.bytes.size());
  const HexSelection matched{match.offset, length};
  if (std::ranges::equal(match.bytes, replacement)) {
    moveCaret(match.offset + length, matched);
    return true;
  }
  if (!editor_.canApplyEdit(length, static_cast<std::int64_t>(replacement.size()))) return false;
  moveCaret(match.offset, matched);
  editor_.replaceSelection(replacement);
  return true;
}

void HexWindowController::performReplaceAll(const SearchRequest& request) {
  clearNotice();
  if (refuseWhileBusy(kReplaceAll)) return;
  attempt(kReplaceAllFailed, [&] { startReplaceAll(request); });
}

void HexWindowController::startReplaceAll(const SearchRequest& request) {
  auto candidateList = candidates(request);
  if (candidateList.empty()) return refuse(reasonForNoCandidates(request));
  auto table = replacementTable(request, candidateList);
  if (!table) return refuse(reasonForNoReplacement(request.mode));
  lastSearchRequest_ = request;
  const std::int64_t room = std::max<std::int64_t>(editor_.maximumByteCount() - byteCount(), 0);
  const std::int64_t maximumGrowth = std::min(room, maxGeneratedInputBytes);
  if (request.promptOnReplace) {
    return performReplaceAllWithPrompt(std::shared_ptr<PromptedRun>(new PromptedRun{
        .replacing = {hexDocument_->storage()->bytes, request, std::move(candidateList),
                      *std::move(table), bookmarks_.offsets(), maximumGrowth},
        .maximumGrowth = maximumGrowth,
        .caretOffset = editor_.caretOffset(),
        .selection = editor_.selection()}));
  }
  auto work = [request, candidateList = std::move(candidateList), table = *std::move(table),
               bookmarks = bookmarks_.offsets(),
               maximumGrowth](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return computeReplaceAll(bytes, request, candidateList, table, bookmarks, maximumGrowth,
                             progress);
  };
  std::function completion = [this](Result<ReplaceAllComputation> result) {
    if (failed(result, kReplaceAllFailed)) return;
    const std::int64_t count = result.value().replacements;
    const auto install = [&] { installReplaceAll(std::move(result.value())); };
    if (!attempt(kReplaceAllFailed, install)) showReplacedCount(count);
  };
  runBackgroundSnapshotTask(kReplacingAll, {}, std::move(work), std::move(completion));
}

/// Makes the result the document, as one step of undo.
void HexWindowController::installReplaceAll(ReplaceAllComputation computation) {
  if (computation.replacements < 1) return;
  const bool registered = registerUndoSnapshot(kReplaceAll, computation.bytes.size());
  hexDocument_->storage()->bytes = std::move(computation.bytes);
  bookmarks_.replaceAll(std::move(computation.bookmarks));
  markManualEdit(std::min(computation.lastCaret, byteCount()), {}, registered);
}

void HexWindowController::showReplacedCount(std::int64_t count) {
  showCount(count, kReplaceAll, replacedText(count));
}

void HexWindowController::performReplaceAllWithPrompt(const std::shared_ptr<PromptedRun>& run) {
  if (frame_.beginBusyStatus(kReplacingAll, BackgroundTaskFrame::Stopping::allowed))
    offerNextOccurrence(run);
}

/// Looks for the next match off the main thread, asks about it, and goes on.
void HexWindowController::offerNextOccurrence(const std::shared_ptr<PromptedRun>& run) {
  auto work = [run, progress = frame_.progress()] {
    auto match = run->replacing.findNext(*progress);
    progress->checkpoint();
    return match;
  };
  using Match = std::optional<SearchMatch>;
  auto completion = [this, run](Result<Match> result) {
    if (!result.isOk()) return abandonPromptReplaceAll(*run, result.error());
    if (!window_) return endBusyStatus();
    const auto goesOn =
        resultOf([&] { return result.value() && takeDecision(*run, *result.value()); });
    if (!goesOn.isOk()) return abandonPromptReplaceAll(*run, goesOn.error());
    // The question ran the event loop.
    if (!window_) return endBusyStatus();
    if (goesOn.value()) return offerNextOccurrence(run);
    computePromptReplaceAll(run);
  };
  runInBackground(platform_.executor, std::move(work),
                  guarded(std::function<void(Result<Match>)>(std::move(completion))));
}

/// Asks about one match; false when the run ends with it.
bool HexWindowController::takeDecision(PromptedRun& run, const SearchMatch& match) {
  selectMatch(match);
  switch (promptForReplace(match)) {
    case ReplaceDecision::replace:
      return run.replacing.replaceCurrent();
    case ReplaceDecision::skip:
      run.replacing.skipCurrent();
      return true;
    case ReplaceDecision::cancel:
      break;
  }
  return false;
}

HexWindowController::ReplaceDecision HexWindowController::promptForReplace(
    const SearchMatch& match) {
  const auto response = platform_.alerts.runModal(
      {.messageText = "Replace This Occurrence?",
       .informativeText = "Offset: 0x" + uppercaseHex(match.offset, 8) +
                          "\nMatch length: " + std::to_string(match.bytes.size()) + " bytes",
       .buttons = {"Replace", "Skip", "Cancel"}});
  if (response.button == 0) return ReplaceDecision::replace;
  return response.button == 1 ? ReplaceDecision::skip : ReplaceDecision::cancel;
}

void HexWindowController::computePromptReplaceAll(const std::shared_ptr<PromptedRun>& run) {
  auto work = [run, progress = frame_.progress()] {
    auto computation = run->replacing.finish(*progress);
    progress->checkpoint();
    return computation;
  };
  std::function<void(Result<ReplaceAllComputation>)> completion =
      [this, run](Result<ReplaceAllComputation> result) {
        if (!result.isOk()) return abandonPromptReplaceAll(*run, result.error());
        if (!window_) return endBusyStatus();
        finishPromptReplaceAll(*run, std::move(result.value()));
      };
  runInBackground(platform_.executor, std::move(work), guarded(std::move(completion)));
}

void HexWindowController::finishPromptReplaceAll(const PromptedRun& run,
                                                 ReplaceAllComputation computation) {
  const std::int64_t count = computation.replacements;
  // The questions have moved them; undo leads back to where they were before.
  moveCaret(run.caretOffset, run.selection);
  const auto installed = resultOf([&] {
    installReplaceAll(std::move(computation));
    return Done{};
  });
  endBusyStatus();
  if (failed(installed, kReplaceAllFailed)) return;
  if (run.replacing.stoppedAtGrowthLimit()) {
    alert(kReplaceAll,
          "Replacement stopped before the document could grow beyond the safe limit of " +
              std::to_string(run.maximumGrowth) + " additional bytes for the current document.");
  }
  showReplacedCount(count);
}

/// Ends a run that was stopped or failed: nothing is replaced.
void HexWindowController::abandonPromptReplaceAll(const PromptedRun& run, const Error& error) {
  moveCaret(run.caretOffset, run.selection);
  endBusyStatus();
  showFailure(error, kReplaceAllFailed);
}

}  // namespace quillmor
