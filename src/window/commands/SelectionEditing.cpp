#include "window/commands/SelectionEditing.h"

#include <utility>

namespace quillmor {

void SelectionEditing::run(Transform transform, std::function<void()> done) {
  const std::string misfitTitle =
      transform.misfitTitle.empty() ? transform.title : transform.misfitTitle;
  runBackgroundSelectionMutationTask(
      transform.statusText, transform.range, std::move(transform.work),
      [this, title = transform.title, range = transform.range, misfitTitle,
       done = std::move(done)](const Result<SelectionMutation>& result) {
        const bool isApplied = applyCompletedSelectionMutation(result, range, title, misfitTitle);
        if (isApplied && context_.hasWindow() && done) done();
      });
}

void SelectionEditing::runBackgroundSelectionMutationTask(const std::string& statusText,
                                                          HexSelection selection, MutationWork work,
                                                          MutationCompletion completion) {
  auto mutate = [work = std::move(work)](const ByteBuffer& bytes, HexSelection range,
                                         TaskProgress& progress) {
    auto newBytes = work(bytes.span(range.start, range.length), progress);
    if (newBytes.size() != range.length) throw rangeChangedError();
    return prepareMutation(bytes, range, std::move(newBytes), progress);
  };
  const HexSelection range = selection.normalized(context_.session().byteCount());
  context_.runSnapshotTaskFrom(backgroundEditThresholdBytes, range.length, statusText, range,
                               std::move(mutate), std::move(completion));
}

bool SelectionEditing::applyCompletedSelectionMutation(const Result<SelectionMutation>& result,
                                                       HexSelection originalSelection,
                                                       const std::string& actionName,
                                                       const std::string& misfitTitle) {
  const std::string failureTitle = actionName + " Failed";
  if (context_.messages().failed(result, failureTitle)) return false;
  const SelectionMutation& mutation = result.value();
  const std::int64_t byteCount = context_.session().byteCount();
  const HexSelection range = originalSelection.normalized(byteCount);
  const bool stillFits = range.length == mutation.bytes.size() &&
                         (!mutation.document || mutation.document->size() == byteCount);
  if (!stillFits) {
    context_.messages().alert(misfitTitle, rangeChangedError().message());
    return false;
  }
  if (mutation.changesNothing) {
    context_.updateStatus();
    return false;
  }
  return !context_.messages().attempt(failureTitle, [&] { write(mutation, range, actionName); });
}

void SelectionEditing::write(const SelectionMutation& mutation, HexSelection range,
                             const std::string& actionName) {
  RangeEdit edit{.range = range,
                 .actionName = actionName,
                 .after = {.caretOffset = range.start, .selection = range},
                 .removed = mutation.before};
  if (mutation.document) {
    context_.session().installPrepared(std::move(edit), *mutation.document);
  } else {
    context_.session().replaceRange(std::move(edit), mutation.bytes.span());
  }
}

}  // namespace quillmor
