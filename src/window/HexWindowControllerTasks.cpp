// Background transforms of the selection, and the checks that commands make before they start.

#include "window/HexWindowController.h"
#include "window/commands/UtilityReport.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {

void HexWindowController::runBackgroundSelectionMutationTask(const std::string& statusText,
                                                             HexSelection selection,
                                                             MutationWork work,
                                                             MutationCompletion completion) {
  auto mutate = [work = std::move(work)](const ByteBuffer& bytes, HexSelection range,
                                         TaskProgress& progress) {
    auto newBytes = work(bytes.span(range.start, range.length), progress);
    if (newBytes.size() != range.length) throw rangeChangedError();
    return prepareMutation(bytes, range, std::move(newBytes), progress);
  };
  runSelectionTask(statusText, selection, std::move(mutate), std::move(completion));
}

bool HexWindowController::applyCompletedSelectionMutation(const Result<SelectionMutation>& result,
                                                          HexSelection originalSelection,
                                                          const std::string& actionName) {
  return applyCompletedSelectionMutation(result, originalSelection, actionName, actionName);
}

bool HexWindowController::applyCompletedSelectionMutation(const Result<SelectionMutation>& result,
                                                          HexSelection originalSelection,
                                                          const std::string& actionName,
                                                          const std::string& misfitTitle) {
  const std::string failureTitle = actionName + " Failed";
  if (failed(result, failureTitle)) return false;
  const SelectionMutation& mutation = result.value();
  const HexSelection range = originalSelection.normalized(byteCount());
  const bool stillFits = range.length == mutation.bytes.size() &&
                         (!mutation.document || mutation.document->size() == byteCount());
  if (!stillFits) {
    alert(misfitTitle, rangeChangedError().message());
    return false;
  }
  if (mutation.changesNothing) {
    updateStatus();
    return false;
  }
  return !attempt(failureTitle, [&] { writeMutation(mutation, range, actionName); });
}

void HexWindowController::writeMutation(const SelectionMutation& mutation, HexSelection range,
                                        const std::string& actionName) {
  HexStorage& storage = *hexDocument_->storage();
  // After the change is recorded nothing is allocated.
  if (!mutation.document) storage.bytes.mutableSpan();
  const bool registered =
      registerUndoEdit(range.start, range.length, range.length, actionName, mutation.before);
  if (mutation.document) {
    storage.bytes = *mutation.document;
  } else {
    storage.bytes.replace(range.start, range.length, mutation.bytes.span());
  }
  markManualEdit(range.start, range, registered);
}

std::optional<HexSelection> HexWindowController::activeSelectionOrAlert(const std::string& title) {
  if (refuseWhileBusy(title)) return std::nullopt;
  const HexSelection range = selectedRange();
  if (range.length < 1) {
    alert(title, "Select one or more bytes first.");
    return std::nullopt;
  }
  if (alertRefusal(refusalOfEditing(range.length), title)) return std::nullopt;
  return range;
}

bool HexWindowController::validateGeneratedByteCount(std::int64_t count, const std::string& title) {
  return !alertRefusal(refusalOfGenerating(count), title);
}

bool HexWindowController::validateResultingDocumentByteCount(std::int64_t removing,
                                                             std::int64_t inserting,
                                                             const std::string& title) {
  return !alertRefusal(
      refusalOfResult(byteCount(), removing, inserting, editor_.maximumByteCount()), title);
}

void HexWindowController::showUtilityReport(const std::string& title, const std::string& report) {
  if (window_) window_->openReportWindow(title, truncatedUtilityReport(report));
}

}  // namespace quillmor
