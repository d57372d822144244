#include "document/UndoManager.h"

#include <iterator>
#include <utility>

#include "base/ByteUnits.h"
#include "base/Check.h"

namespace quillmor {

UndoManager::PreparedStep UndoManager::prepareUndo(const void* target, Handler handler,
                                                   std::string actionName) const {
  PreparedStep prepared;
  if (!isUndoRegistrationEnabled()) return prepared;
  if (running_ != Running::nothing) actionName = runningName_;
  prepared.step_.push_back({target, std::move(handler), std::move(actionName)});
  return prepared;
}

void UndoManager::registerUndo(const void* target, Handler handler) {
  commit(prepareUndo(target, std::move(handler)));
}

void UndoManager::commit(PreparedStep prepared) {
  if (prepared.step_.empty()) return;
  if (running_ != Running::nothing) {
    Steps& inverse = isUndoing() ? redoSteps_ : undoSteps_;
    inverse.splice(inverse.end(), prepared.step_);
    ++inverses_;
    return;
  }
  undoSteps_.splice(undoSteps_.end(), prepared.step_);
  trim(undoSteps_);
  redoSteps_.clear();
  notify(Event::didRegister);
}

void UndoManager::setActionName(std::string name) {
  if (!isUndoRegistrationEnabled()) return;
  if (running_ != Running::nothing && inverses_ == 0) return;
  Steps& steps = isUndoing() ? redoSteps_ : undoSteps_;
  if (!steps.empty()) steps.back().actionName = std::move(name);
}

std::string UndoManager::undoActionName() const {
  return canUndo() ? undoSteps_.back().actionName : std::string();
}

std::string UndoManager::redoActionName() const {
  return canRedo() ? redoSteps_.back().actionName : std::string();
}

void UndoManager::undo() {
  checkPrecondition(running_ == Running::nothing, "no undo or redo while one is running");
  if (!canUndo()) return;
  run(Running::undo, undoSteps_, redoSteps_);
  notify(Event::didUndo);
}

void UndoManager::redo() {
  checkPrecondition(running_ == Running::nothing, "no undo or redo while one is running");
  if (!canRedo()) return;
  run(Running::redo, redoSteps_, undoSteps_);
  notify(Event::didRedo);
}

void UndoManager::run(Running direction, Steps& from, Steps& to) {
  runningName_ = from.back().actionName;
  Steps step;
  step.splice(step.end(), from, std::prev(from.end()));
  running_ = direction;
  inverses_ = 0;
  const auto stopped = [&] {
    running_ = Running::nothing;
    runningName_.clear();
  };
  try {
    step.front().handler();
  } catch (...) {
    // Memory can run out before bytes are put back: the step stays where it was.
    stopped();
    for (; inverses_ > 0 && !to.empty(); --inverses_) to.pop_back();
    from.splice(from.end(), step);
    throw;
  }
  stopped();
  if (inverses_ == 0) to.clear();
  trim(to);
}

void UndoManager::removeAllActions() {
  undoSteps_.clear();
  redoSteps_.clear();
}

void UndoManager::removeAllActions(const void* target) {
  const auto belongsToTarget = [target](const Step& step) { return step.target == target; };
  std::erase_if(undoSteps_, belongsToTarget);
  std::erase_if(redoSteps_, belongsToTarget);
}

void UndoManager::setLevelsOfUndo(int levels) {
  checkPrecondition(levels >= 0, "undo levels not negative");
  levels_ = levels;
  trim(undoSteps_);
  trim(redoSteps_);
}

void UndoManager::enableUndoRegistration() {
  checkPrecondition(disabledCount_ > 0, "undo registration was disabled before it is enabled");
  --disabledCount_;
}

void UndoManager::trim(Steps& steps) const {
  if (levels_ == 0) return;
  while (steps.size() > static_cast<std::size_t>(levels_)) steps.pop_front();
}

void UndoManager::notify(Event event) const {
  if (observer_) observer_(event);
}

int undoLevelCap(std::int64_t maximumDocumentByteCount) {
  if (maximumDocumentByteCount >= kGiB) return 16;
  if (maximumDocumentByteCount >= 256 * kMiB)
    return static_cast<int>(maximumDocumentByteCount / (64 * kMiB));
  return 4;
}

}  // namespace quillmor
