#include "window/commands/ReplaceCommands.h"

#include <algorithm>

#include "base/HexText.h"
#include "search/PromptedReplaceAll.h"
#include "search/SearchAnswers.h"
#include "search/SearchCandidates.h"
#include "search/Searching.h"
#include "search/typed/TypedInput.h"

namespace quillmor {

namespace {

constexpr const char* kReplaceFailed = "Replace Failed";
constexpr const char* kReplaceAll = "Replace All";
constexpr const char* kReplaceAllFailed = "Replace All Failed";
constexpr const char* kReplacingAll = "Replacing all…";

}  // namespace

/// A Replace All that asks about every match, and where the editor stood before it.
struct ReplaceCommands::PromptedRun {
  PromptedReplaceAll replacing;
  std::int64_t maximumGrowth;
  EditPlace place;
  BusyScope busy = {};
};

void ReplaceCommands::performReplace(const SearchRequest& request) {
  messages_.clearNotice();
  if (context_.refuseWhileBusy("Replace")) return;
  messages_.attempt(kReplaceFailed, [&] { replaceAndFindNext(request); });
}

void ReplaceCommands::replaceAndFindNext(const SearchRequest& request) {
  const auto candidateList = candidates(request);
  if (candidateList.empty()) return messages_.refuse(refusalOfSearch(request));
  bool advances = session_.selectedRange().length > 0;
  if (const auto match = selectionMatch(session_.bytes().span(), session_.selectedRange(), request,
                                        candidateList)) {
    const auto replacement = replacementBytes(request, match->candidate);
    if (!replacement) return messages_.refuse(refusalOfReplacement(request.mode));
    if (!applyReplacement(*match, *replacement)) return;
    // Going forward, what a deleted match leaves at the caret may itself begin the next match.
    advances =
        session_.selectedRange().length > 0 || request.direction == SearchDirection::backward;
  }
  searching_.setLastSearchRequest(request);
  searching_.search(request, advances, kReplaceFailed);
}

/// Puts `replacement` in the place of `match`; false when the document may not grow so far.
bool ReplaceCommands::applyReplacement(const SearchMatch& match,
                                       std::span<const std::uint8_t> replacement) {
  const std::int64_t length = std::ssize(match.bytes);
  const HexSelection matched{match.offset, length};
  if (std::ranges::equal(match.bytes, replacement)) {
    session_.moveCaret({match.offset + length, matched});
    return true;
  }
  if (!session_.editor().canApplyEdit(length, std::ssize(replacement))) return false;
  session_.moveCaret({match.offset, matched});
  session_.editor().replaceSelection(replacement);
  return true;
}

void ReplaceCommands::performReplaceAll(const SearchRequest& request) {
  messages_.clearNotice();
  if (context_.refuseWhileBusy(kReplaceAll)) return;
  messages_.attempt(kReplaceAllFailed, [&] { startReplaceAll(request); });
}

void ReplaceCommands::startReplaceAll(const SearchRequest& request) {
  auto candidateList = candidates(request);
  if (candidateList.empty()) return messages_.refuse(refusalOfSearch(request));
  auto table = replacementTable(request, candidateList);
  if (!table) return messages_.refuse(refusalOfReplacement(request.mode));
  searching_.setLastSearchRequest(request);
  const std::int64_t room =
      std::max<std::int64_t>(session_.editor().maximumByteCount() - session_.byteCount(), 0);
  const std::int64_t maximumGrowth = std::min(room, maxGeneratedInputBytes);
  if (request.promptOnReplace) {
    return performReplaceAllWithPrompt(std::shared_ptr<PromptedRun>(new PromptedRun{
        .replacing = {session_.bytes(), request, std::move(candidateList), *std::move(table),
                      session_.bookmarks().offsets(), maximumGrowth},
        .maximumGrowth = maximumGrowth,
        .place = session_.place()}));
  }
  auto work = [request, candidateList = std::move(candidateList), table = *std::move(table),
               bookmarks = session_.bookmarks().offsets(),
               maximumGrowth](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return computeReplaceAll(bytes, request, candidateList, table, bookmarks, maximumGrowth,
                             progress);
  };
  auto completion = [this](Result<ReplaceAllComputation> result) {
    if (messages_.failed(result, kReplaceAllFailed)) return;
    const std::int64_t count = result.value().replacements;
    const auto install = [&] { installReplaceAll(std::move(result.value())); };
    if (!messages_.attempt(kReplaceAllFailed, install)) showReplacedCount(count);
  };
  context_.runBackgroundSnapshotTask(kReplacingAll, {}, std::move(work), std::move(completion));
}

/// Makes the result the document, as one step of undo.
void ReplaceCommands::installReplaceAll(ReplaceAllComputation computation) {
  if (computation.replacements < 1) return;
  const std::int64_t caret = std::min(computation.lastCaret, computation.bytes.size());
  session_.installDocument(std::move(computation.bytes), std::move(computation.bookmarks),
                           kReplaceAll, {.caretOffset = caret, .selection = {}});
}

void ReplaceCommands::showReplacedCount(std::int64_t count) {
  searching_.showCount(count, kReplaceAll, replacedText(count));
}

void ReplaceCommands::performReplaceAllWithPrompt(const std::shared_ptr<PromptedRun>& run) {
  run->busy =
      context_.frame().beginBusyStatus(kReplacingAll, BackgroundTaskFrame::Stopping::allowed);
  if (run->busy) offerNextOccurrence(run);
}

/// Looks for the next match off the main thread, asks about it, and goes on.
void ReplaceCommands::offerNextOccurrence(const std::shared_ptr<PromptedRun>& run) {
  auto work = [run, progress = context_.frame().progress()] {
    auto match = run->replacing.findNext(*progress);
    progress->checkpoint();
    return match;
  };
  using Match = std::optional<SearchMatch>;
  auto completion = [this, run](Result<Match> result) {
    if (!result.isOk()) return abandonPromptReplaceAll(*run, result.error());
    if (!context_.hasWindow()) return run->busy.end();
    const auto goesOn =
        resultOf([&] { return result.value() && takeDecision(*run, *result.value()); });
    if (!goesOn.isOk()) return abandonPromptReplaceAll(*run, goesOn.error());
    // The question ran the event loop.
    if (!context_.hasWindow()) return run->busy.end();
    const auto begun = resultOf([&] {
      goesOn.value() ? offerNextOccurrence(run) : computePromptReplaceAll(run);
      return Done();
    });
    if (!begun.isOk()) abandonPromptReplaceAll(*run, begun.error());
  };
  runInBackground(context_.platform().executor, std::move(work),
                  context_.guarded<Match>(std::move(completion)));
}

/// Asks about one match; false when the run ends with it.
bool ReplaceCommands::takeDecision(PromptedRun& run, const SearchMatch& match) {
  searching_.selectMatch(match);
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

ReplaceCommands::ReplaceDecision ReplaceCommands::promptForReplace(const SearchMatch& match) {
  const auto response = context_.platform().alerts.runModal(
      {.messageText = "Replace This Occurrence?",
       .informativeText = "Offset: 0x" + uppercaseHex(match.offset, 8) +
                          "\nMatch length: " + std::to_string(match.bytes.size()) + " bytes",
       .buttons = {"Replace", "Skip", "Cancel"}});
  if (response.button == 0) return ReplaceDecision::replace;
  return response.button == 1 ? ReplaceDecision::skip : ReplaceDecision::cancel;
}

void ReplaceCommands::computePromptReplaceAll(const std::shared_ptr<PromptedRun>& run) {
  auto work = [run, progress = context_.frame().progress()] {
    auto computation = run->replacing.finish(*progress);
    progress->checkpoint();
    return computation;
  };
  auto completion = [this, run](Result<ReplaceAllComputation> result) {
    if (!result.isOk()) return abandonPromptReplaceAll(*run, result.error());
    if (!context_.hasWindow()) return run->busy.end();
    finishPromptReplaceAll(*run, std::move(result.value()));
  };
  runInBackground(context_.platform().executor, std::move(work),
                  context_.guarded<ReplaceAllComputation>(std::move(completion)));
}

void ReplaceCommands::finishPromptReplaceAll(PromptedRun& run, ReplaceAllComputation computation) {
  const std::int64_t count = computation.replacements;
  // The questions have moved them; undo leads back to where they were before.
  session_.moveCaret(run.place);
  const auto installed = resultOf([&] {
    installReplaceAll(std::move(computation));
    return Done{};
  });
  run.busy.end();
  if (messages_.failed(installed, kReplaceAllFailed)) return;
  if (run.replacing.stoppedAtGrowthLimit()) {
    messages_.alert(kReplaceAll,
                    "Replacement stopped before the document could grow beyond the safe limit of " +
                        std::to_string(run.maximumGrowth) +
                        " additional bytes for the current document.");
  }
  showReplacedCount(count);
}

/// Ends a run that was stopped or failed: nothing is replaced.
void ReplaceCommands::abandonPromptReplaceAll(PromptedRun& run, const Error& error) {
  session_.moveCaret(run.place);
  run.busy.end();
  messages_.showFailure(error, kReplaceAllFailed);
}

}  // namespace quillmor
